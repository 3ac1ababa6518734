/// @file
/// The DAQ processor of a simulated XCP ECU: lists, their set-up, and the packets of a sample.
#pragma once

#include "sim/Memory.h"
#include "sim/XcpEcuCodes.h"
#include "sim/XcpEcuConfig.h"
#include "sim/XcpEcuPacket.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace sim {

/// What SET_DAQ_LIST_MODE sets.
struct XcpDaqListMode {
    std::uint8_t flags = 0;  ///< of kListStim, kListCounter, kListTimestamp, kListPidOff
    std::uint16_t event = 0;
    std::uint8_t prescaler = 1;
    std::uint8_t priority = 0;
};

struct XcpDaqList {
    std::vector<std::vector<XcpDaqEntry>> odts;
    bool predefined = false;
    std::optional<std::uint16_t> fixedEvent;
    std::uint32_t canId = 0;
    bool canIdFixed = true;
    bool ownCanId = false;
    XcpDaqListMode mode;
    bool modeSet = false;  ///< the list is on an event channel
    bool selected = false;
    bool running = false;
    std::uint8_t firstPid = 0;
    std::uint64_t events = 0;  ///< events since its start
    std::uint8_t counter = 0;  ///< samples since its start
};

/// A DAQ packet on its way.
struct XcpDto {
    std::uint32_t canId;
    XcpPacket packet;
};

/// Start, stop or select of one list.
enum class XcpListAction : std::uint8_t { stop = 0, start = 1, select = 2 };

/// Start or stop of many lists.
enum class XcpSynchAction : std::uint8_t { stopAll = 0, startSelected = 1, stopSelected = 2 };

/// `number` is the number of a list. The set-up commands return an error code, `none` for success, and change
/// nothing on an error.
///
/// Dynamic lists are made in the order FREE_DAQ, ALLOC_DAQ, ALLOC_ODT, ALLOC_ODT_ENTRY; each step may
/// be repeated for other lists but ALLOC_DAQ, and only FREE_DAQ leads back. Holds no lock.
class XcpDaqProcessor {
public:
    /// @param config, memory  must outlive the object
    XcpDaqProcessor(const XcpEcuConfig& config, const Memory& memory);

    /// Stops everything and goes back to the lists of the configuration.
    void reset();

    [[nodiscard]] XcpError clearList(std::uint16_t number);
    [[nodiscard]] XcpError setPointer(std::uint16_t number, std::uint8_t odt, std::uint8_t entry);
    [[nodiscard]] XcpError writeEntry(const XcpDaqEntry& entry);
    [[nodiscard]] XcpError readEntry(XcpDaqEntry& entry);
    [[nodiscard]] XcpError setListMode(std::uint16_t number, const XcpDaqListMode& mode);
    [[nodiscard]] XcpError startStop(std::uint16_t number, XcpListAction action);
    [[nodiscard]] XcpError startStopSynch(XcpSynchAction action);
    [[nodiscard]] XcpError setCanId(std::uint16_t number, std::uint32_t canId);

    void freeLists();
    [[nodiscard]] XcpError allocLists(std::uint16_t count);
    [[nodiscard]] XcpError allocOdts(std::uint16_t number, std::uint8_t count);
    [[nodiscard]] XcpError allocEntries(std::uint16_t number, std::uint8_t odt, std::uint8_t count);

    /// The list of that number, or null.
    [[nodiscard]] const XcpDaqList* list(std::uint16_t number) const;
    [[nodiscard]] std::uint16_t listCount() const { return static_cast<std::uint16_t>(m_lists.size()); }
    [[nodiscard]] std::uint8_t predefinedCount() const;

    /// Whether any list runs.
    [[nodiscard]] bool running() const;
    /// Whether a list runs on event channel @p event.
    [[nodiscard]] bool running(std::uint16_t event) const;

    /// Counts an event of channel @p event and packs what the lists on it send now: lists of higher
    /// priority first, then by number.
    /// @param clock  ticks for the timestamp
    [[nodiscard]] std::vector<XcpDto> sample(std::uint16_t event, std::uint64_t clock);

    /// The top bit of the next packet's identifier tells of a lost sample.
    void markOverload() { m_overloadMark = true; }

private:
    enum class Stage : std::uint8_t { none, freed, lists, odts, entries };
    struct Pointer {
        std::uint16_t list;
        std::uint8_t odt;
        std::size_t entry;
    };

    [[nodiscard]] XcpDaqList* find(std::uint16_t number);
    [[nodiscard]] XcpDaqList* findDynamic(std::uint16_t number);
    [[nodiscard]] XcpDaqEntry* pointed();
    [[nodiscard]] XcpError checkEntry(const XcpDaqEntry& entry) const;
    [[nodiscard]] XcpError checkExtension(const XcpDaqList& list, std::size_t odt,
                                          const XcpDaqEntry& entry) const;
    [[nodiscard]] bool fitsOdt(const XcpDaqList& list, std::size_t odt, std::uint8_t flags) const;
    [[nodiscard]] XcpError checkMode(const XcpDaqList& list, const XcpDaqListMode& mode) const;
    [[nodiscard]] XcpError checkStart(const XcpDaqList& list, std::uint16_t alreadyOnEvent) const;
    [[nodiscard]] std::uint16_t runningOn(std::uint16_t event) const;
    [[nodiscard]] XcpError startSelected();
    static bool isEmpty(const std::vector<XcpDaqEntry>& odt);
    static void start(XcpDaqList& list);
    void numberOdts();
    void remakeOrder();
    [[nodiscard]] std::size_t odtCount(const XcpDaqList* without) const;
    [[nodiscard]] std::size_t entryCount(const std::vector<XcpDaqEntry>* without) const;
    [[nodiscard]] unsigned odtLimit() const;

    void packList(std::size_t number, std::uint64_t clock, std::vector<XcpDto>& out);
    void putHeader(XcpPacket& packet, std::size_t number, std::size_t odt, std::uint64_t clock);
    void putIdField(XcpPacket& packet, std::size_t number, std::size_t odt);
    void putEntry(XcpPacket& packet, const XcpDaqEntry& entry) const;

    const XcpEcuConfig& m_config;
    const Memory& m_memory;
    std::vector<XcpDaqList> m_lists;
    std::vector<std::vector<std::size_t>> m_order;  ///< running lists by event channel, in sending order
    std::optional<Pointer> m_pointer;
    Stage m_stage = Stage::none;
    bool m_overloadMark = false;
};

}  // namespace sim
