#include "host/ConfigEcu.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace host {
namespace {

constexpr NumberRange kByte{0, 0xFF};
constexpr NumberRange kMilliseconds{1, 60'000};
constexpr std::int64_t kMostId = 0x1FFFFFFF;
constexpr std::int64_t kMostStandardId = 0x7FF;
constexpr std::uint64_t kShortestPeriodNs = 100'000;
/// First bytes of CCP packets that name an ODT; the two behind them are responses and events.
constexpr std::int64_t kMostPids = 254;

/// A word of the file and the number that it stands for on the wire.
struct WireWord {
    const char* word;
    std::uint8_t code;
};

constexpr WireWord kXcpResources[] = {
    {"calibration", 0x01}, {"daq", 0x04}, {"stim", 0x08}, {"programming", 0x10}};
constexpr WireWord kCcpResources[] = {{"calibration", 0x01}, {"daq", 0x02}, {"programming", 0x40}};
constexpr WireWord kCycleUnits[] = {{"us", 3},   {"10us", 4},  {"100us", 5}, {"ms", 6},
                                    {"10ms", 7}, {"100ms", 8}, {"s", 9}};
constexpr WireWord kIdFields[] = {
    {"absolute", 0}, {"relative byte", 1}, {"relative word", 2}, {"relative word aligned", 3}};
constexpr WireWord kPackModes[] = {{"whole", 0}, {"bytes", 1}, {"fill", 2}};
constexpr WireWord kChecksums[] = {{"add11", 1}, {"add12", 2}, {"add14", 3},       {"add22", 4}, {"add24", 5},
                                   {"add44", 6}, {"crc16", 7}, {"crc16 ccitt", 8}, {"crc32", 9}};

/// Reads a word of @p rows and gives its number.
template <std::size_t N>
std::uint8_t readWire(ConfigTable& table, const std::string& key, const WireWord (&rows)[N]) {
    Words words;
    std::transform(std::begin(rows), std::end(rows), std::back_inserter(words),
                   [](const WireWord& row) { return row.word; });
    return rows[table.word(key, words)].code;
}

template <std::size_t N>
std::uint8_t readWire(ConfigTable& table, const std::string& key, const WireWord (&rows)[N],
                      std::uint8_t fallback) {
    return table.has(key) ? readWire(table, key, rows) : fallback;
}

std::uint32_t readId(ConfigTable& table, const std::string& key, bool extended) {
    const std::int64_t id = table.number(key, {0, 0xFFFFFFFF});
    if (id > kMostId) {
        table.fail(key,
                   fmt::format("found 0x{:X}; an identifier has 29 bits at most, flags do not belong in it "
                               "(give extended = true instead)",
                               id));
    }
    if (!extended && id > kMostStandardId) {
        table.fail(
            key,
            fmt::format("found 0x{:X}; without extended = true an identifier has 11 bits, up to 0x7FF", id));
    }
    return static_cast<std::uint32_t>(id);
}

std::size_t readBusIndex(ConfigTable& table, const std::vector<BusRecord>& buses) {
    Words names;
    std::transform(buses.begin(), buses.end(), std::back_inserter(names),
                   [](const BusRecord& bus) { return bus.name; });
    return table.word("bus", names);
}

TimeoutRecord readTimeouts(ConfigTable table, bool ccp) {
    TimeoutRecord timeouts;
    timeouts.commandMs = table.as<std::uint16_t>("command_ms", kMilliseconds, timeouts.commandMs);
    if (!ccp) {
        timeouts.longMs = table.as<std::uint16_t>("long_ms", kMilliseconds, timeouts.longMs);
    }
    timeouts.retries = table.as<std::int32_t>("retries", {0, 100}, timeouts.retries);
    timeouts.retryDelayMs = table.as<std::uint32_t>("retry_delay_ms", {0, 10'000}, timeouts.retryDelayMs);
    timeouts.statusPeriodMs =
        table.as<std::uint32_t>("status_period_ms", {0, 60'000}, timeouts.statusPeriodMs);
    table.finish();
    return timeouts;
}

SecurityRecord readSecurity(ConfigTable table, bool ccp) {
    SecurityRecord security;
    security.seedKey = table.text("seed_key", "");
    for (ConfigTable& lockTable : table.tables("lock")) {
        LockRecord lock;
        lock.resource = ccp ? readWire(lockTable, "resource", kCcpResources)
                            : readWire(lockTable, "resource", kXcpResources);
        if (!ccp) {
            lock.seedLength = lockTable.as<std::uint8_t>("seed_length", {1, 124});
        }
        lockTable.finish();
        security.locks.push_back(lock);
    }
    table.finish();
    return security;
}

DaqRecord readXcpDaq(ConfigTable table) {
    DaqRecord daq;
    daq.idField = readWire(table, "identification", kIdFields, daq.idField);
    daq.maxEntrySize = table.as<std::uint8_t>("max_entry_size", {1, 63}, daq.maxEntrySize);
    daq.maxOdts = table.as<std::uint16_t>("max_odts", {1, 0xFFFF}, daq.maxOdts);
    daq.maxEntries = table.as<std::uint16_t>("max_entries", {1, 0xFFFF}, daq.maxEntries);
    daq.timestampSize = table.as<std::uint8_t>("timestamp_size", {0, 4}, daq.timestampSize);
    if (daq.timestampSize == 3) {
        table.fail("timestamp_size", "found 3; allowed are 0, 1, 2 and 4");
    }
    daq.packMode = readWire(table, "packing", kPackModes, daq.packMode);
    table.finish();
    return daq;
}

EventRecord readEvent(ConfigTable& table, bool ccp) {
    EventRecord event;
    event.name = table.text("name");
    event.cycle = table.as<std::uint8_t>("cycle", {1, 0xFF});
    event.unit = readWire(table, "unit", kCycleUnits);
    if (!ccp) {
        event.priority = table.as<std::uint8_t>("priority", kByte, 0);
    }
    table.finish();
    event.periodNs = event.cycle;
    for (unsigned decade = 0; decade < event.unit; ++decade) {
        event.periodNs *= 10;
    }
    if (event.periodNs < kShortestPeriodNs) {
        table.fail("cycle", fmt::format("is a period of {} ns; give 100 us or more", event.periodNs));
    }
    return event;
}

std::vector<EventRecord> readEvents(ConfigTable& ecuTable, bool ccp) {
    std::vector<EventRecord> events;
    for (ConfigTable& table : ecuTable.tables("event")) {
        EventRecord event = readEvent(table, ccp);
        const bool taken = std::any_of(events.begin(), events.end(), [&event](const EventRecord& other) {
            return other.name == event.name;
        });
        if (taken) {
            table.fail("name",
                       fmt::format("\"{}\" is the name of another event; give each its own", event.name));
        }
        events.push_back(std::move(event));
    }
    return events;
}

DaqListRecord readList(ConfigTable& table, const EcuRecord& ecu) {
    DaqListRecord list;
    list.odts = table.as<std::uint8_t>("odts", {1, kMostPids});
    list.firstPid = table.as<std::uint8_t>("first_pid", {0, kMostPids - 1});
    if (table.has("id")) {
        list.id = readId(table, "id", ecu.extended);
    }
    for (const std::size_t event : table.chosen("events", eventNames(ecu))) {
        list.events.push_back(static_cast<std::uint8_t>(event));
    }
    table.finish();
    return list;
}

/// The DAQ of a CCP ECU, whose events have been read.
DaqRecord readCcpDaq(ConfigTable table, const EcuRecord& ecu) {
    DaqRecord daq;
    daq.packMode = readWire(table, "packing", kPackModes, daq.packMode);
    for (ConfigTable& list : table.tables("list")) {
        daq.lists.push_back(readList(list, ecu));
    }
    if (daq.lists.empty()) {
        table.fail("list", "is missing; give at least one");
    }
    table.finish();
    return daq;
}

void readIdentity(ConfigTable& table, EcuRecord& ecu, const std::vector<BusRecord>& buses) {
    ecu.name = table.text("name");
    ecu.place = table.place();
    ecu.bus = readBusIndex(table, buses);
    ecu.ccp = table.word("protocol", {"xcp", "ccp"}, 0) == 1;
    ecu.extended = table.flag("extended", false);
    ecu.commandId = readId(table, "command_id", ecu.extended);
    ecu.responseId = readId(table, "response_id", ecu.extended);
}

/// What only an XCP ECU has.
void readXcp(ConfigTable& table, EcuRecord& ecu, const std::vector<BusRecord>& buses) {
    ecu.fd = table.flag("fd", false);
    if (ecu.fd && !buses[ecu.bus].dataRate) {
        table.fail("fd", fmt::format("is set, but bus \"{}\" has no data_rate; give it one, or leave fd out",
                                     buses[ecu.bus].name));
    }
    const std::int64_t mostFrame = ecu.fd ? 64 : 8;
    ecu.maxCto = table.as<std::uint8_t>("max_cto", {8, mostFrame}, 8);
    ecu.maxDto = table.as<std::uint16_t>("max_dto", {8, mostFrame}, 8);
    ecu.blockMode = table.flag("block_mode", false);
}

void readProtocol(ConfigTable& table, EcuRecord& ecu, const std::vector<BusRecord>& buses) {
    ecu.byteOrder =
        table.word("byte_order", {"little", "big"}) == 0 ? sim::ByteOrder::intel : sim::ByteOrder::motorola;
    ecu.rejectZeroAddress = table.flag("reject_zero_address", false);
    for (const std::int64_t code : table.numbers("commands", {0x01, 0xFF})) {
        ecu.commands.push_back(static_cast<std::uint8_t>(code));
    }
    ecu.checksum = readWire(table, "checksum", kChecksums, ecu.checksum);
    if (ecu.ccp) {
        ecu.stationAddress = table.as<std::uint16_t>("station_address", {0, 0xFFFF}, ecu.stationAddress);
    } else {
        readXcp(table, ecu, buses);
    }
}

}  // namespace

Words eventNames(const EcuRecord& ecu) {
    Words names;
    std::transform(ecu.events.begin(), ecu.events.end(), std::back_inserter(names),
                   [](const EventRecord& event) { return event.name; });
    return names;
}

EcuRecord readEcu(ConfigTable& table, const std::vector<BusRecord>& buses) {
    EcuRecord ecu;
    readIdentity(table, ecu, buses);
    readProtocol(table, ecu, buses);
    ecu.timeouts = readTimeouts(table.table("timeouts"), ecu.ccp);
    ecu.security = readSecurity(table.table("security"), ecu.ccp);
    ecu.events = readEvents(table, ecu.ccp);
    ecu.daq = ecu.ccp ? readCcpDaq(table.table("daq"), ecu) : readXcpDaq(table.table("daq"));
    ecu.flash = readFlash(table.table("flash"));
    ecu.segments = readSegments(table, ecu);
    ecu.parameters = readParameters(table, ecu);
    ecu.signals = readSignals(table, ecu);
    ecu.variables = readVariables(table, ecu);
    table.finish();
    return ecu;
}

}  // namespace host
