#include "host/ConfigEcu.h"

#include "host/ConfigWords.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace host {
namespace {

constexpr NumberRange kByte{0, 0xFF};
constexpr NumberRange kMilliseconds{1, 60'000};
constexpr NumberRange kPeriod{0, 60'000};
constexpr std::int64_t kMostId = 0x1FFFFFFF;
constexpr std::int64_t kMostStandardId = 0x7FF;
std::size_t readBusIndex(ConfigTable& table, const std::vector<BusRecord>& buses) {
    Words names;
    std::transform(buses.begin(), buses.end(), std::back_inserter(names),
                   [](const BusRecord& bus) { return bus.name; });
    return table.word("bus", names);
}

/// t1 to t7 of an XCP ECU, each as the general ones say where the file says nothing.
void readXcpTimeouts(ConfigTable& table, TimeoutRecord& timeouts) {
    static const Words kKeys{"t1_ms", "t2_ms", "t3_ms", "t4_ms", "t5_ms", "t6_ms", "t7_ms"};
    timeouts.longMs = table.as<std::uint16_t>("long_ms", kMilliseconds, timeouts.longMs);
    for (std::size_t i = 0; i < kKeys.size(); ++i) {
        if (table.has(kKeys[i])) {
            timeouts.xcpMs[i] = table.as<std::uint16_t>(kKeys[i], kMilliseconds);
        }
    }
    timeouts.synchPeriodMs = table.as<std::uint32_t>("synch_period_ms", kPeriod, timeouts.synchPeriodMs);
}

TimeoutRecord readTimeouts(ConfigTable table, bool ccp) {
    TimeoutRecord timeouts;
    timeouts.commandMs = table.as<std::uint16_t>("command_ms", kMilliseconds, timeouts.commandMs);
    if (!ccp) {
        readXcpTimeouts(table, timeouts);
    }
    timeouts.retries = table.as<std::int32_t>("retries", {0, 100}, timeouts.retries);
    timeouts.retryDelayMs = table.as<std::uint32_t>("retry_delay_ms", {0, 10'000}, timeouts.retryDelayMs);
    timeouts.statusPeriodMs = table.as<std::uint32_t>("status_period_ms", kPeriod, timeouts.statusPeriodMs);
    table.finish();
    return timeouts;
}

void readIdentity(ConfigTable& table, EcuRecord& ecu, const std::vector<BusRecord>& buses) {
    ecu.name = table.text("name");
    ecu.place = table.place();
    ecu.bus = readBusIndex(table, buses);
    ecu.ccp = table.word("protocol", {"xcp", "ccp"}, 0) == 1;
    ecu.extended = table.flag("extended", false);
    ecu.commandId = readId(table, "command_id", ecu.extended);
    ecu.responseId = readId(table, "response_id", ecu.extended);
    if (table.has("broadcast_id")) {
        ecu.broadcastId = readId(table, "broadcast_id", ecu.extended);
    }
}

void readFrames(ConfigTable& table, EcuRecord& ecu, const std::vector<BusRecord>& buses) {
    ecu.fd = table.flag("fd", false);
    if (ecu.fd && !buses[ecu.bus].dataRate) {
        table.fail("fd", fmt::format("is set, but bus \"{}\" has no data_rate; give it one, or leave fd out",
                                     buses[ecu.bus].name));
    }
    ecu.bitRateSwitch = table.flag("bit_rate_switch", ecu.fd);
    if (ecu.bitRateSwitch && !ecu.fd) {
        table.fail("bit_rate_switch", "is set, but only CAN FD frames have it; give fd = true as well");
    }
    const std::int64_t mostFrame = ecu.fd ? 64 : 8;
    ecu.maxCto = table.as<std::uint8_t>("max_cto", {8, mostFrame}, 8);
    ecu.maxDto = table.as<std::uint16_t>("max_dto", {8, mostFrame}, 8);
    ecu.acceptLimits = table.flag("accept_limits", false);
    ecu.padByte = table.as<std::uint8_t>("pad_byte", kByte, 0);
}

void readBlockMode(ConfigTable& table, EcuRecord& ecu) {
    ecu.blockMode = table.flag("block_mode", false);
    ecu.masterBlockMode = table.flag("master_block_mode", false);
    ecu.maxBs = table.as<std::uint8_t>("max_bs", kByte, 0);
    ecu.minSt = table.as<std::uint8_t>("min_st", kByte, 0);
    if (ecu.masterBlockMode && ecu.maxBs == 0) {
        table.fail("max_bs", "is 0; master_block_mode needs the frames of a block, 1 to 255");
    }
}

/// What only an XCP ECU has.
void readXcp(ConfigTable& table, EcuRecord& ecu, const std::vector<BusRecord>& buses) {
    readFrames(table, ecu, buses);
    readBlockMode(table, ecu);
    ecu.addressGranularity = table.as<std::uint8_t>("address_granularity", {1, 4}, 1);
    if (ecu.addressGranularity == 3) {
        table.fail("address_granularity", "found 3; allowed are 1, 2 and 4");
    }
}

void readProtocol(ConfigTable& table, EcuRecord& ecu, const std::vector<BusRecord>& buses) {
    ecu.byteOrder =
        table.word("byte_order", {"little", "big"}) == 0 ? sim::ByteOrder::intel : sim::ByteOrder::motorola;
    ecu.rejectZeroAddress = table.flag("reject_zero_address", false);
    ecu.padFrames = table.flag("pad_frames", false);
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

std::uint32_t checkedId(const ConfigTable& table, const std::string& key, std::int64_t id, bool extended) {
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

std::uint32_t readId(ConfigTable& table, const std::string& key, bool extended) {
    return checkedId(table, key, table.number(key, {0, 0xFFFFFFFF}), extended);
}

EcuRecord readEcu(ConfigTable& table, const std::vector<BusRecord>& buses) {
    EcuRecord ecu;
    readIdentity(table, ecu, buses);
    readProtocol(table, ecu, buses);
    ecu.timeouts = readTimeouts(table.table("timeouts"), ecu.ccp);
    ecu.security = readSecurity(table.table("security"), ecu.ccp);
    ecu.events = readEvents(table, ecu);
    ecu.daq = readDaq(table.table("daq"), ecu);
    ecu.flash = readFlash(table.table("flash"));
    ecu.segments = readSegments(table, ecu);
    ecu.parameters = readParameters(table, ecu);
    ecu.signals = readSignals(table, ecu);
    ecu.variables = readVariables(table, ecu);
    table.finish();
    return ecu;
}

}  // namespace host
