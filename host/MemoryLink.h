/// @file
/// One ECU whose memory is moved, with progress.
#pragma once

#include "host/Link.h"
#include "host/MemoryPrint.h"

#include <TalvexSDK.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <vector>

namespace host {

/// Operations on the memory of one ECU. All throw HostError as `Link` does. One thread.
class MemoryLink {
public:
    /// Connects. All of the arguments must outlive the object.
    MemoryLink(const Config& config, std::size_t ecu, const LinkOptions& options, MemoryPrint& print);

    MemoryLink(const MemoryLink&) = delete;
    MemoryLink& operator=(const MemoryLink&) = delete;

    /// Reads all that @p type reaches.
    /// @return one entry for each of `partsReached`, complete
    [[nodiscard]] std::vector<mcMemoryData> upload(mcMemOperType type);

    /// Erases all flash segments. The ECU is connected again if that ended its session.
    void erase();

    /// Programs @p image, which lies in the flash segments. Connected again likewise.
    void program(const std::list<mem_buf>& image);

    /// Checksums of @p image, which lies in what @p type reaches; in steps as the configuration has them.
    [[nodiscard]] std::vector<mcMemoryData> check(const std::list<mem_buf>& image, mcMemOperType type);

    /// Reads all of a range, as long as an ordinary command goes.
    /// @param segment  of the configuration, that it lies in
    [[nodiscard]] std::vector<std::uint8_t> read(std::size_t segment, std::uint32_t address,
                                                 std::uint32_t size);

    /// Whether its flash may have been changed since the object was made.
    [[nodiscard]] bool hasChanged() const { return m_changed; }

    /// Selects the working (true) or the reference page (false).
    void selectPage(bool working);

private:
    [[nodiscard]] const EcuRecord& ecu() const { return m_config.ecus[m_ecu]; }
    /// One operation of the library.
    struct Operation {
        std::uint32_t command;  ///< as in `command`
        const char* what;       ///< "erase"
        const char* done;       ///< "erased"
        std::uint64_t bytes;
    };

    /// Runs an operation whose progress the library tells, and tells what it took.
    MemoryResult counted(const Operation& operation, const std::function<void()>& order);

    /// Runs one whose progress nobody knows.
    MemoryResult uncounted(const Operation& operation, const std::function<void()>& order);

    void tell(const Operation& operation, std::chrono::steady_clock::time_point begin,
              const MemoryResult& result);
    void take(const ValueDelivery& delivery);
    void reconnect();

    const Config& m_config;
    const std::size_t m_ecu;
    MemoryPrint& m_print;

    bool m_changed = false;  ///< by erasing

    std::mutex m_mutex;                ///< guards the one below; nothing else is locked while it is held
    std::vector<std::uint8_t> m_read;  ///< by the last `read`

    Link m_link;  ///< last, so that it calls nothing that is gone
};

}  // namespace host
