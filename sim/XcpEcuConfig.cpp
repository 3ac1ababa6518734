#include "sim/XcpEcuConfig.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace sim {
namespace {

void require(bool holds, const char* reason) {
    if (!holds) {
        throw std::invalid_argument(reason);
    }
}

void checkSizes(const XcpEcuConfig& config) {
    const unsigned limit = config.fd ? 64 : 8;
    require(config.maxCto >= 8 && config.maxCto <= limit, "MAX_CTO must be 8, or up to 64 with CAN FD");
    require(config.maxDto >= 8 && config.maxDto <= limit, "MAX_DTO must be 8, or up to 64 with CAN FD");
    require(config.padLength <= limit, "padding must fit into a frame");
}

void checkProgram(const XcpEcuConfig& config, Memory& trial) {
    const XcpProgramConfig& program = config.program;
    require(program.maxCto == 0 || (program.maxCto >= 8 && program.maxCto <= config.maxCto),
            "MAX_CTO_PGM must be 8 to MAX_CTO");
    require(program.answer != XcpFlashAnswer::pending || program.pendingPeriod > 0,
            "EV_CMD_PENDING needs a period");
    require(program.flash.sectors.size() <= 0xFF, "more sectors than numbers");
    const Flash flash(program.flash, config.memory, trial);
    for (const FlashSector& sector : flash.sectors()) {
        require(sector.name.size() <= 0xFF, "a sector name must have at most 255 bytes");
        require(sector.size % config.granularity == 0, "a sector must have whole elements");
    }
}

void checkLocks(const XcpEcuConfig& config) {
    for (const XcpLock& lock : config.locks) {
        const bool oneBit = lock.resource != 0 && (lock.resource & (lock.resource - 1)) == 0;
        require(oneBit && (lock.resource & config.resources) != 0, "a lock needs one resource of the ECU");
        require(lock.seedLength > 0 && lock.key, "a lock needs a seed and a key function");
    }
}

void checkEvents(const XcpDaqConfig& daq) {
    constexpr Time kShortestPeriod = 100'000;
    for (const XcpEventConfig& event : daq.events) {
        require(event.unit <= 9, "an event unit must be 0 to 9");
        require(event.cycle == 0 || event.periodNs() >= kShortestPeriod, "an event period is below 100 us");
        require(event.name.size() <= 255, "an event name must have at most 255 bytes");
    }
}

void checkTimestamp(const XcpDaqConfig& daq) {
    const std::uint8_t size = daq.timestampSize;
    require(size == 0 || size == 1 || size == 2 || size == 4, "timestamps must have 0, 1, 2 or 4 bytes");
    require(daq.timestampUnit <= 9 && daq.timestampTicks > 0, "the timestamp tick is not a time");
    require(size > 0 || !daq.timestampFixed, "a fixed timestamp needs a size");
}

void checkLists(const XcpDaqConfig& daq) {
    const auto predefined = [](const XcpDaqListConfig& list) { return !list.content.empty(); };
    require(std::is_partitioned(daq.lists.begin(), daq.lists.end(), predefined),
            "predefined lists must come first");
    require(!daq.dynamic || std::all_of(daq.lists.begin(), daq.lists.end(), predefined),
            "with dynamic lists the given ones must be predefined");
    std::size_t odts = 0;
    for (const XcpDaqListConfig& list : daq.lists) {
        odts += predefined(list) ? list.content.size() : list.odts;
        require(!list.fixedEvent || *list.fixedEvent < daq.events.size(), "a fixed event is not there");
    }
    const unsigned limit =
        daq.overload == XcpOverload::msb ? xcp::kMaxOdtNumbersOverload : xcp::kMaxOdtNumbers;
    require(odts <= limit, "more ODTs than identifiers");
}

void checkDaq(const XcpDaqConfig& daq) {
    const std::uint8_t grain = daq.entryGranularity;
    require(grain == 1 || grain == 2 || grain == 4 || grain == 8,
            "the entry granularity must be 1, 2, 4 or 8");
    require(daq.addressExtension <= 3 && daq.addressExtension != 2, "the address extension rule is not one");
    checkEvents(daq);
    checkTimestamp(daq);
    checkLists(daq);
}

}  // namespace

Time xcpUnitNs(std::uint8_t unit) {
    constexpr Time kUnits[] = {1,       10,        100,        1'000,       10'000,
                               100'000, 1'000'000, 10'000'000, 100'000'000, 1'000'000'000};
    return unit < std::size(kUnits) ? kUnits[unit] : 0;
}

void XcpEcuConfig::check() const {
    checkSizes(*this);
    checkLocks(*this);
    checkDaq(daq);
    Memory trial(memory, granularity);
    checkProgram(*this, trial);
    for (const Signal& signal : signals) {
        const std::vector<std::uint8_t> bytes = signalBytes(signal, 0);
        require(trial.poke(MemoryView::ecu, signal.address, signal.extension, bytes) == MemoryResult::ok,
                "a signal lies outside the memory");
    }
}

}  // namespace sim
