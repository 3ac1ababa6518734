#include "tests/soak/SoakEcu.h"

#include "sim/XcpEcuCodes.h"

#include <algorithm>
#include <utility>

namespace soak {
namespace {

constexpr std::uint16_t kFastEvent = 0;
constexpr std::uint16_t kSlowEvent = 1;
constexpr std::uint16_t kPollMs = 100;
const std::vector<std::string> kPolled = {"polled.first", "polled.second"};

constexpr std::uint8_t kXcpSetCalPage = 0xEB;
constexpr std::uint8_t kCcpSelectCalPage = 0x11;
/// Ahead of the identifiers of CCP ECUs, so that on each bus the ECU that is polled comes last: while a bus
/// moves on for the answers of polls alone, an ECU behind it would never get a frame through.
constexpr unsigned kFirstXcpId = 0x200;
constexpr std::uint16_t kStatusPeriodMs = 500;
constexpr std::size_t kPageHead = 16;  ///< bytes by which pages are told apart

/// The library warns of variables outside of all data segments of the host.
mcMemoryInfo segmentWithoutPages(std::uint32_t base, std::uint32_t size) {
    mcMemoryInfo segment;
    segment.address = base;
    segment.length = size;
    segment.programType = 1;
    return segment;
}

bool isPolled(const std::string& name) {
    return std::find(kPolled.begin(), kPolled.end(), name) != kPolled.end();
}

std::vector<mcMeasureVariable> variablesOf(const systemtest::EcuPair& pair) {
    std::vector<mcMeasureVariable> variables;
    for (const sim::Signal& signal : pair.ecu.signals) {
        variables.push_back(
            variableOf(pair, signal.name, isPolled(signal.name) ? kPollMs : std::uint16_t{0}));
    }
    return variables;
}

systemtest::EcuPair xcpPair(const std::string& name, unsigned number, bool fd) {
    systemtest::EcuPair pair = systemtest::memoryEcu(fd, fd);
    pair.cfg.ecuName = pair.ecu.name = name;
    pair.cfg.canIdMaster = pair.ecu.masterId = kFirstXcpId + 2 * number;
    pair.cfg.canIdSlave = pair.ecu.slaveId = kFirstXcpId + 1 + 2 * number;
    pair.cfg.canChannel = fd ? 1 : 0;
    pair.cfg.xcp.statusPeriodMs = kStatusPeriodMs;
    addLock(pair, sim::xcp::kDaq, 4);
    return pair;
}

Bytes headOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.begin() + kPageHead};
}

}  // namespace

void addSoakSignals(systemtest::EcuPair& pair, const SoakSignals& signals) {
    const auto signalBytes = static_cast<std::uint32_t>(pair.ecu.memory[0].pages[0].bytes.size());
    pair.cfg.dataSegments.push_back(segmentWithoutPages(systemtest::kSignalBase, signalBytes));
    pair.cfg.dataSegments.push_back(segmentWithoutPages(systemtest::kScratchBase, systemtest::kScratchSize));
    pair.ecu.daq.events = {{.name = "10 ms", .cycle = 10}, {.name = "100 ms", .cycle = 100}};
    for (unsigned number = 0; number < signals.groups; ++number) {
        addSignals(pair, kFastEvent, "fast" + std::to_string(number));
    }
    if (signals.slowGroup) {
        addSignals(pair, kSlowEvent, "slow");
    }
    if (signals.polled) {
        for (const std::string& name : kPolled) {
            addCounter(pair, name, kFastEvent);
        }
    }
}

SoakEcu::SoakEcu(const systemtest::EcuPair& pair) : m_cfg(pair.cfg), m_variables(variablesOf(pair)) {}

EcuProtoCfg SoakEcu::flashCfg() const {
    EcuProtoCfg cfg = m_cfg;
    cfg.supportedCmds.erase(isCcp() ? kCcpSelectCalPage : kXcpSetCalPage);
    cfg.xcp.statusPeriodMs = 0;
    cfg.ccp.statusPeriodMs = 0;
    return cfg;
}

const char* SoakEcu::pageRefusal() const {
    return isCcp() ? "SELECT_CAL_PAGE not supported" : "SET_CAL_PAGE not supported";
}

std::vector<std::string> SoakEcu::polledNames() const {
    std::vector<std::string> names;
    for (const mcMeasureVariable& variable : m_variables) {
        if (isPolled(variable.name)) {
            names.push_back(variable.name);
        }
    }
    return names;
}

bool SoakEcu::takesWrites() const {
    return isCcp() || polledNames().empty();
}

XcpSoakEcu::XcpSoakEcu(systemtest::BusHost& host, const systemtest::EcuPair& pair)
    : SoakEcu(pair), m_ecu(host.addEcu(pair)) {}

Bytes XcpSoakEcu::read(std::uint32_t address, std::size_t size) {
    return m_ecu.read(address, 0, size);
}

Bytes XcpSoakEcu::code() {
    return m_ecu.readPage(systemtest::kCodeSegment, systemtest::kRamPage);
}

bool XcpSoakEcu::shows(bool workingPage) {
    const systemtest::EcuPage page = workingPage ? systemtest::kRamPage : systemtest::kFlashPage;
    return read(systemtest::kDataBase, kPageHead) == headOf(m_ecu.readPage(systemtest::kDataSegment, page));
}

CcpSoakEcu::CcpSoakEcu(systemtest::BusHost& host, sim::VirtualBus& bus, const systemtest::CcpPair& pair)
    : SoakEcu(pair.twin), m_station(host, bus, pair) {}

Bytes CcpSoakEcu::read(std::uint32_t address, std::size_t size) {
    return m_station.ecu.read(address, 0, size);
}

Bytes CcpSoakEcu::code() {
    return read(systemtest::kCodeBase, systemtest::kCodeSize);
}

bool CcpSoakEcu::shows(bool workingPage) {
    const std::uint32_t page = workingPage ? systemtest::kCcpWorkingPage : systemtest::kCcpReferencePage;
    const auto active = m_station.ecu.activePage();
    return active && active->address == page;
}

std::vector<std::unique_ptr<SoakEcu>> makeSoakEcus(systemtest::BusHost& host, sim::VirtualBus& classicBus) {
    systemtest::EcuPair xcp = xcpPair("can xcp", 0, false);
    addSoakSignals(xcp, {.groups = 12, .slowGroup = true});
    systemtest::EcuPair fd = xcpPair("fd", 1, true);
    addSoakSignals(fd, {.groups = 66, .slowGroup = true});
    systemtest::EcuPair bigEndian = xcpPair("fd big endian", 2, true);
    setByteOrder(bigEndian, sim::ByteOrder::motorola);
    addSoakSignals(bigEndian, {.groups = 48, .polled = true});
    systemtest::CcpPair ccp = systemtest::ccpMemoryEcu("ccp");
    ccp.twin.cfg.ccp.statusPeriodMs = kStatusPeriodMs;
    addLock(ccp, sim::ccp::kDaq);
    addSoakSignals(ccp.twin, {.groups = 5, .polled = true});

    std::vector<std::unique_ptr<SoakEcu>> ecus;
    for (const systemtest::EcuPair* pair : {&xcp, &fd, &bigEndian}) {
        ecus.push_back(std::make_unique<XcpSoakEcu>(host, *pair));
    }
    ecus.push_back(std::make_unique<CcpSoakEcu>(host, classicBus, ccp));
    return ecus;
}

}  // namespace soak
