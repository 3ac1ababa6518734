// Event channels and DAQ lists of an ECU.
#include "host/ConfigEcu.h"
#include "host/ConfigWords.h"
#include "host/DaqPids.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace host {
namespace {

constexpr NumberRange kByte{0, 0xFF};

// Event channels have numbers of 8 bits in CCP and of 16 bits in the library's record of XCP. The record of a
// list has 8 bits for the channel that it is predefined for, and 255 stands for none.
constexpr std::size_t kMostCcpEvents = 256;
constexpr std::size_t kMostXcpEvents = 65535;
constexpr std::size_t kMostFixedEvent = 254;

std::uint64_t periodNs(const EventRecord& event) {
    std::uint64_t period = event.cycle;
    for (unsigned decade = 0; decade < event.unit; ++decade) {
        period *= 10;
    }
    return period;
}

std::vector<std::uint32_t> readIds(ConfigTable& table, const std::string& key, bool extended) {
    std::vector<std::uint32_t> ids;
    for (const std::int64_t id : table.numbers(key, {0, 0xFFFFFFFF})) {
        ids.push_back(checkedId(table, key, id, extended));
    }
    return ids;
}

EventRecord readEvent(ConfigTable& table, const EcuRecord& ecu) {
    EventRecord event;
    event.place = table.place();
    event.name = table.text("name");
    event.cycle = table.as<std::uint8_t>("cycle", kByte);
    event.unit = readWire(table, "unit", kCycleUnits);
    if (!ecu.ccp) {
        event.priority = table.as<std::uint8_t>("priority", kByte, 0);
        event.maxLists = table.as<std::uint8_t>("max_lists", kByte, event.maxLists);
        event.ids = readIds(table, "ids", ecu.extended);
    }
    table.finish();
    event.periodNs = periodNs(event);
    return event;
}

/// The first bytes of CCP packets end with those of responses and events.
DaqListRecord readCcpList(ConfigTable& table, const EcuRecord& ecu) {
    DaqListRecord list;
    list.place = table.place();
    list.odts = table.as<std::uint8_t>("odts", {1, kCcpPidEnd});
    list.firstPid = table.as<std::uint8_t>("first_pid", {0, kCcpPidEnd - 1});
    if (table.has("id")) {
        list.id = readId(table, "id", ecu.extended);
    }
    for (const std::size_t event : table.chosen("events", eventNames(ecu))) {
        list.events.push_back(static_cast<std::uint8_t>(event));
    }
    table.finish();
    return list;
}

std::uint8_t readXcpPid(ConfigTable& table) {
    const auto pid = table.as<std::uint8_t>("first_pid", {0, kXcpPidEnd}, 0);
    if (pid == kXcpPidEnd) {
        table.fail("first_pid",
                   fmt::format("found {}, which the library takes for no packet; give {} or less", pid,
                               kXcpPidEnd - 1));
    }
    return pid;
}

std::uint8_t readFixedEvent(ConfigTable& table, const EcuRecord& ecu) {
    const std::size_t event = table.word("fixed_event", eventNames(ecu));
    if (event > kMostFixedEvent) {
        table.fail("fixed_event", fmt::format("found event channel {}; allowed are 0 to {}, by their names",
                                              event, kMostFixedEvent));
    }
    return static_cast<std::uint8_t>(event);
}

DaqListRecord readXcpList(ConfigTable& table, const EcuRecord& ecu) {
    DaqListRecord list;
    list.place = table.place();
    list.odts = table.as<std::uint8_t>("odts", {0, kXcpPidEnd}, 0);
    list.odtBytes = table.as<std::uint8_t>("odt_bytes", {0, 63}, 0);
    list.firstPid = readXcpPid(table);
    if (table.has("id")) {
        list.id = readId(table, "id", ecu.extended);
    }
    if (table.has("fixed_event")) {
        list.fixedEvent = readFixedEvent(table, ecu);
    }
    table.finish();
    return list;
}

void readLists(ConfigTable& table, const EcuRecord& ecu, DaqRecord& daq) {
    for (ConfigTable& list : table.tables("list")) {
        daq.lists.push_back(ecu.ccp ? readCcpList(list, ecu) : readXcpList(list, ecu));
    }
}

std::uint8_t sizeAmong(ConfigTable& table, const std::string& key, std::uint8_t most,
                       const std::string& allowed, std::uint8_t fallback) {
    const auto size = table.as<std::uint8_t>(key, {0, most}, fallback);
    if ((size & (size - 1)) != 0) {
        table.fail(key, fmt::format("found {}; allowed are {}", size, allowed));
    }
    return size;
}

void readTimestamps(ConfigTable& table, DaqRecord& daq) {
    daq.timestampSize = sizeAmong(table, "timestamp_size", 4, "0, 1, 2 and 4", daq.timestampSize);
    daq.timestampUnit = readWire(table, "timestamp_unit", kTimestampUnits, daq.timestampUnit);
    daq.timestampTicks = table.as<std::uint16_t>("timestamp_ticks", {1, 0xFFFF}, daq.timestampTicks);
    daq.timestampFixed = table.flag("timestamp_fixed", false);
    daq.timestamps = table.flag("timestamp", daq.timestampSize > 0);
    if (daq.timestamps && daq.timestampSize == 0) {
        table.fail("timestamp", "is set, but timestamp_size is 0; give a size, or leave timestamp out");
    }
    if (daq.timestampFixed && !daq.timestamps) {
        table.fail("timestamp_fixed",
                   "is set, so packets have timestamps; leave timestamp out, and give "
                   "timestamp_size");
    }
}

/// Sizes of entries. Both are for a check here: an ECU refuses what does not fit, entry by entry.
void readEntries(ConfigTable& table, const EcuRecord& ecu, DaqRecord& daq) {
    daq.entryGranularity = sizeAmong(table, "entry_granularity", 8, "1, 2, 4 and 8", ecu.addressGranularity);
    daq.maxEntrySize = table.as<std::uint8_t>("max_entry_size", {1, 63}, daq.maxEntrySize);
    if (daq.entryGranularity < ecu.addressGranularity) {
        table.fail("entry_granularity", fmt::format("found {}; give the address_granularity, {}, or more",
                                                    daq.entryGranularity, ecu.addressGranularity));
    }
    if (daq.maxEntrySize % daq.entryGranularity != 0) {
        table.fail("max_entry_size", fmt::format("found {}; give a multiple of the entry_granularity, {}",
                                                 daq.maxEntrySize, daq.entryGranularity));
    }
}

/// What both protocols have.
void readCommon(ConfigTable& table, DaqRecord& daq) {
    daq.packMode = readWire(table, "packing", kPackModes, daq.packMode);
    daq.prescaler = table.as<std::uint8_t>("prescaler", {1, 0xFF}, daq.prescaler);
    daq.pollPeriodMs = table.as<std::uint16_t>("poll_period_ms", {0, 60'000}, daq.pollPeriodMs);
}

DaqRecord readXcpDaq(ConfigTable table, const EcuRecord& ecu) {
    DaqRecord daq;
    readCommon(table, daq);
    readEntries(table, ecu, daq);
    readTimestamps(table, daq);
    daq.idField = readWire(table, "identification", kIdFields, daq.idField);
    daq.maxOdts = table.as<std::uint16_t>("max_odts", {1, 0xFFFF}, daq.maxOdts);
    daq.maxEntries = table.as<std::uint16_t>("max_entries", {1, 0xFFFF}, daq.maxEntries);
    daq.counter = table.flag("counter", daq.counter);
    daq.dynamic = table.flag("dynamic", daq.dynamic);
    readLists(table, ecu, daq);
    if (!daq.dynamic && daq.lists.empty()) {
        table.fail("list", "is missing; give at least one, or leave out dynamic = false");
    }
    // The lists of such an ECU are there from the start, and there are no others.
    const std::size_t lists = daq.dynamic ? 0 : daq.lists.size();
    // The library plans with numbers of lists in 8 bits, whatever its record has.
    daq.minLists = table.as<std::uint16_t>("min_lists", kByte, daq.minLists);
    daq.maxLists = table.as<std::uint16_t>("max_lists", kByte, static_cast<std::int64_t>(lists));
    table.finish();
    return daq;
}

DaqRecord readCcpDaq(ConfigTable table, const EcuRecord& ecu) {
    constexpr std::uint8_t kBytes = 1;  // the library's own default for CCP
    DaqRecord daq;
    daq.packMode = kBytes;
    readCommon(table, daq);
    daq.querySizes = table.flag("query_daq_sizes", daq.querySizes);
    readLists(table, ecu, daq);
    if (daq.lists.empty()) {
        table.fail("list", "is missing; give at least one");
    }
    const auto last = static_cast<std::int64_t>(daq.lists.size()) - 1;
    daq.firstList = table.as<std::uint16_t>("first_list", {0, last}, daq.firstList);
    table.finish();
    return daq;
}

}  // namespace

Words eventNames(const EcuRecord& ecu) {
    Words names;
    std::transform(ecu.events.begin(), ecu.events.end(), std::back_inserter(names),
                   [](const EventRecord& event) { return event.name; });
    return names;
}

std::vector<EventRecord> readEvents(ConfigTable& ecuTable, const EcuRecord& ecu) {
    std::vector<EventRecord> events;
    for (ConfigTable& table : ecuTable.tables("event")) {
        EventRecord event = readEvent(table, ecu);
        const bool taken = std::any_of(events.begin(), events.end(), [&event](const EventRecord& other) {
            return other.name == event.name;
        });
        if (taken) {
            table.fail("name",
                       fmt::format("\"{}\" is the name of another event; give each its own", event.name));
        }
        events.push_back(std::move(event));
    }
    if (const std::size_t most = ecu.ccp ? kMostCcpEvents : kMostXcpEvents; events.size() > most) {
        ecuTable.fail("event", fmt::format("found {} of them; allowed are up to {}", events.size(), most));
    }
    return events;
}

DaqRecord readDaq(ConfigTable table, const EcuRecord& ecu) {
    return ecu.ccp ? readCcpDaq(std::move(table), ecu) : readXcpDaq(std::move(table), ecu);
}

}  // namespace host
