/// @file
/// Variables of connected ECUs, one at a time.
#pragma once

#include "host/ConfigRecords.h"
#include "host/HostError.h"
#include "host/Link.h"
#include "host/LinkOptions.h"
#include "host/VariableName.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// The most bytes that the library writes at once.
inline constexpr std::uint32_t kMostWrittenBytes = 255;

/// Reads and writes. One thread.
class VariableAccess {
public:
    /// Connects @p ecus of @p config, which must outlive the object.
    /// @throws HostError
    VariableAccess(const Config& config, const std::vector<std::size_t>& ecus, const LinkOptions& options);

    /// The bytes of @p variable.
    /// @throws HostError with what the ECU answered, if they did not come
    [[nodiscard]] std::vector<std::uint8_t> read(const NamedVariable& variable);

    /// Sends @p bytes, at most `kMostWrittenBytes`. The library does not tell whether they were taken.
    /// @return what the ECU had against it, if anything; to read back tells more
    /// @throws HostError if the bus is down, or for an interrupt
    [[nodiscard]] std::optional<HostError> write(const NamedVariable& variable,
                                                 const std::vector<std::uint8_t>& bytes);

private:
    void take(const ValueDelivery& delivery);
    [[nodiscard]] std::optional<HostError> failure(const NamedVariable& variable, const std::string& what);
    void revive();

    const Config& m_config;
    bool m_lost = false;                ///< the library gave the link up behind a refusal
    std::mutex m_mutex;                 ///< guards the bytes; nothing else is locked while it is held
    std::vector<std::uint8_t> m_bytes;  ///< of the last value that came
    Link m_link;                        ///< last, so that nothing comes in that has no place
};

}  // namespace host
