/// @file
/// The DAQ processor of a simulated CCP ECU: lists, their set-up, and the packets of a sample.
#pragma once

#include "sim/CcpEcuCodes.h"
#include "sim/CcpEcuConfig.h"
#include "sim/Memory.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace sim {

/// An element of an ODT.
struct CcpDaqElement {
    std::uint8_t size = 0;  ///< bytes; 0: not in use, and takes no room in the packet
    std::uint8_t extension = 0;
    std::uint32_t address = 0;
};

/// Start, stop or preparation of a list.
enum class CcpListAction : std::uint8_t { stop = 0, start = 1, prepare = 2 };

/// What START_STOP tells of a list.
struct CcpListMode {
    std::uint8_t lastOdt = 0;
    std::uint8_t event = 0;
    std::uint16_t prescaler = 1;
};

struct CcpDaqList {
    std::vector<std::vector<CcpDaqElement>> odts;
    std::uint8_t firstPid = 0;
    CcpCanId canId;
    CcpListMode mode;
    bool prepared = false;  ///< waits for START_STOP_ALL
    bool running = false;
    std::uint64_t events = 0;  ///< events since its start
};

/// A DAQ packet on its way.
struct CcpDto {
    CcpCanId canId;
    std::array<std::uint8_t, ccp::kFrameSize> bytes{};
};

/// `number` is the number of a list. The set-up commands return a return code and change nothing on an
/// error. Holds no lock.
class CcpDaqProcessor {
public:
    /// @param config, memory  must outlive the object
    CcpDaqProcessor(const CcpEcuConfig& config, const Memory& memory);

    /// Stops and empties all lists, and gives them the identifiers of the configuration.
    void reset();

    /// GET_DAQ_SIZE: stops and empties a list that is there, and gives it an identifier.
    [[nodiscard]] CcpReturn clearList(std::uint8_t number, const CcpCanId& canId);
    [[nodiscard]] CcpReturn setPointer(std::uint8_t number, std::uint8_t odt, std::uint8_t element);
    /// Stores where the pointer stands; the pointer stays.
    [[nodiscard]] CcpReturn writeElement(const CcpDaqElement& element);
    [[nodiscard]] CcpReturn startStop(CcpListAction action, std::uint8_t number, CcpListMode mode);
    void startPrepared();
    void stopAll();

    /// The list of that number, or null.
    [[nodiscard]] const CcpDaqList* list(std::uint8_t number) const;

    /// Whether any list runs.
    [[nodiscard]] bool running() const;
    /// Whether a list runs on event channel @p event.
    [[nodiscard]] bool running(std::uint8_t event) const;

    /// Counts an event of channel @p event and packs what the lists on it send now, by their number.
    [[nodiscard]] std::vector<CcpDto> sample(std::uint8_t event);

private:
    struct Pointer {
        std::uint8_t list;
        std::uint8_t odt;
        std::uint8_t element;
    };

    void clear(CcpDaqList& list) const;
    static void start(CcpDaqList& list);
    [[nodiscard]] CcpReturn checkElement(const CcpDaqElement& element) const;
    [[nodiscard]] bool fitsOdt(const CcpDaqElement& element) const;
    [[nodiscard]] CcpReturn checkMode(std::uint8_t number, const CcpListMode& mode) const;
    void packList(const CcpDaqList& list, std::vector<CcpDto>& out) const;

    const CcpEcuConfig& m_config;
    const Memory& m_memory;
    std::vector<CcpDaqList> m_lists;
    std::optional<Pointer> m_pointer;
};

}  // namespace sim
