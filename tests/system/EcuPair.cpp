#include "tests/system/EcuPair.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace systemtest {
namespace {

constexpr std::uint8_t kDynamicDaq = 0x01;     ///< bit of DAQ_PROPERTIES
constexpr std::uint8_t kTimestampMode = 0x10;  ///< bit of the mode of a DAQ list
constexpr std::size_t kSignalMemory = 0x1000;  ///< bytes

/// GET_COMM_MODE_INFO, SHORT_UPLOAD, and of the DAQ commands those that a host may leave out.
const std::set<std::uint8_t> kSupported = {0xFB, 0xF4, 0xE0, 0xDC, 0xDA, 0xD9, 0xD7};
constexpr std::uint8_t kGetSeed = 0xF8;
constexpr std::uint8_t kUnlock = 0xF7;

std::uint32_t nextAddress(const EcuPair& pair) {
    if (pair.ecu.signals.empty()) {
        return kSignalBase;
    }
    const sim::Signal& last = pair.ecu.signals.back();
    const std::size_t elements = (sim::signalSize(last) + pair.ecu.granularity - 1) / pair.ecu.granularity;
    return last.address + static_cast<std::uint32_t>(elements);
}

mcMeasureVariable variableOf(const sim::Signal& signal) {
    mcMeasureVariable variable;
    variable.name = signal.name;
    variable.size = static_cast<std::uint32_t>(sim::signalSize(signal));
    variable.address = signal.address;
    variable.addressExtension = signal.extension;
    variable.event = signal.event;
    return variable;
}

}  // namespace

EcuPair classicEcu(const std::string& name, unsigned number) {
    EcuPair pair;
    pair.cfg.ecuName = pair.ecu.name = name;
    pair.cfg.canIdMaster = pair.ecu.masterId = 0x600 + 2 * number;
    pair.cfg.canIdSlave = pair.ecu.slaveId = 0x601 + 2 * number;
    pair.cfg.supportedCmds = kSupported;
    pair.cfg.xcp.daqListPrescaler = 1;
    pair.cfg.xcp.packMode = 0;
    setPatience(pair, std::chrono::seconds(20), 0);
    pair.ecu.daq.maxEntrySize = 7;
    pair.ecu.daq.events = {{.name = "10 ms", .cycle = 10}, {.name = "100 ms", .cycle = 100}};
    pair.ecu.memory = {sim::plainSegment(kSignalBase, kSignalMemory),
                       sim::plainSegment(kScratchBase, kScratchSize)};
    return pair;
}

EcuPair fdEcu(const std::string& name, std::uint8_t frameSize, unsigned number) {
    EcuPair pair = classicEcu(name, number);
    pair.cfg.masterFd = pair.cfg.slaveFd = 1;
    pair.cfg.masterBrs = pair.cfg.slaveBrs = 1;
    pair.cfg.maxCto = frameSize;
    pair.cfg.maxDto = frameSize;
    pair.ecu.fd = pair.ecu.brs = true;
    pair.ecu.maxCto = frameSize;
    pair.ecu.maxDto = frameSize;
    pair.ecu.daq.maxEntrySize = static_cast<std::uint8_t>(frameSize - 1);
    return pair;
}

void setByteOrder(EcuPair& pair, sim::ByteOrder order) {
    pair.cfg.xcp.byteOrder = order == sim::ByteOrder::motorola ? 1 : 0;
    pair.ecu.byteOrder = order;
}

void setGranularity(EcuPair& pair, std::uint8_t granularity) {
    pair.cfg.xcp.addressGranularity = granularity;
    pair.ecu.granularity = granularity;
}

void setPatience(EcuPair& pair, std::chrono::milliseconds timeout, std::int32_t retryCount) {
    XcpCfg& xcp = pair.cfg.xcp;
    xcp.t1 = static_cast<std::uint16_t>(timeout.count());
    xcp.t2 = xcp.t3 = xcp.t4 = xcp.t5 = xcp.t6 = xcp.t7 = xcp.t1;
    xcp.retryCount = retryCount;
}

void addLock(EcuPair& pair, std::uint8_t resource, std::uint8_t seedLength) {
    pair.cfg.seedkey_path = kKeyLibrary;
    pair.cfg.supportedCmds.insert({kGetSeed, kUnlock});
    pair.ecu.locks.push_back({.resource = resource, .seedLength = seedLength});
}

void setIdField(EcuPair& pair, sim::XcpIdField field) {
    pair.cfg.xcp.daqKeyByte = static_cast<std::uint8_t>(static_cast<unsigned>(field) << 6);
    pair.ecu.daq.idField = field;
}

void setTimestamp(EcuPair& pair, std::uint8_t size) {
    pair.cfg.xcp.daqListMode = size > 0 ? kTimestampMode : std::uint8_t{0};
    pair.ecu.daq.timestampSize = size;
}

void useStaticLists(EcuPair& pair, std::uint16_t lists, std::uint8_t odts, std::uint8_t entries) {
    pair.ecu.daq.dynamic = false;
    pair.ecu.daq.lists.assign(lists, sim::XcpDaqListConfig{.odts = odts, .entriesPerOdt = entries});
    for (std::uint16_t list = 0; list < lists; ++list) {
        pair.cfg.xcp.daqListInfo[list].maxOdt = odts;
    }
}

void tellDaqFacts(EcuPair& pair) {
    for (const int asking : {0xDA, 0xD9, 0xD7}) {
        pair.cfg.supportedCmds.erase(static_cast<std::uint8_t>(asking));
    }
    XcpCfg& xcp = pair.cfg.xcp;
    xcp.daqProperties = pair.ecu.daq.dynamic ? kDynamicDaq : std::uint8_t{0};
    xcp.maxDaq = static_cast<std::uint16_t>(pair.ecu.daq.lists.size());
    xcp.maxOdtEntrySizeDaq = pair.ecu.daq.maxEntrySize;
    xcp.timestampMode = pair.ecu.daq.timestampSize;
    for (std::uint16_t number = 0; number < pair.ecu.daq.events.size(); ++number) {
        const sim::XcpEventConfig& event = pair.ecu.daq.events[number];
        xcp.events[number].maxDaqList = event.maxLists;
        xcp.events[number].timeCycle = event.cycle;
        xcp.events[number].timeUnit = event.unit;
    }
}

void addSignal(EcuPair& pair, sim::Signal signal) {
    signal.address = nextAddress(pair);
    signal.byteOrder = pair.ecu.byteOrder;
    pair.ecu.signals.push_back(std::move(signal));
}

void addCounter(EcuPair& pair, const std::string& name, std::uint16_t event) {
    addSignal(pair, {.name = name, .event = event});
}

void addSignals(EcuPair& pair, std::uint16_t event, const std::string& prefix) {
    addCounter(pair, prefix + ".count", event);
    addSignal(pair,
              {.name = prefix + ".wheel", .type = sim::SignalType::u16, .event = event, .phase = 65'500});
    addSignal(pair, {.name = prefix + ".wave",
                     .type = sim::SignalType::f32,
                     .kind = sim::SignalKind::sine,
                     .event = event,
                     .offset = 10,
                     .amplitude = 5,
                     .length = 50});
    addSignal(pair, {.name = prefix + ".steps",
                     .type = sim::SignalType::i16,
                     .kind = sim::SignalKind::ramp,
                     .event = event,
                     .offset = -20,
                     .step = 3,
                     .length = 40});
    addSignal(pair, {.name = prefix + ".tag",
                     .type = sim::SignalType::u8,
                     .kind = sim::SignalKind::constant,
                     .event = event,
                     .offset = 0x5A});
}

mcMeasureVariable variableOf(const EcuPair& pair, const std::string& name, std::uint16_t periodMs) {
    const auto found = std::find_if(pair.ecu.signals.begin(), pair.ecu.signals.end(),
                                    [&name](const sim::Signal& signal) { return signal.name == name; });
    if (found == pair.ecu.signals.end()) {
        throw std::invalid_argument("no signal " + name);
    }
    mcMeasureVariable variable = variableOf(*found);
    variable.period = periodMs;
    return variable;
}

std::vector<mcMeasureVariable> allVariables(const EcuPair& pair) {
    std::vector<mcMeasureVariable> variables;
    for (const sim::Signal& signal : pair.ecu.signals) {
        variables.push_back(variableOf(signal));
    }
    return variables;
}

}  // namespace systemtest
