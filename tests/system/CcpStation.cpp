#include "tests/system/CcpStation.h"

#include <gtest/gtest.h>

#include <utility>

namespace systemtest {
namespace {

constexpr std::uint8_t kGetSStatus = 0x0D;
constexpr std::uint8_t kSetSStatus = 0x0C;
constexpr std::uint8_t kShortUp = 0x0F;
constexpr std::uint8_t kStartStopAll = 0x08;

void addLists(CcpPair& pair) {
    for (std::uint8_t number = 0; number < kCcpLists; ++number) {
        const auto firstPid = static_cast<std::uint8_t>(number * 0x20);
        pair.ecu.lists.push_back({.odts = kCcpListOdts, .firstPid = firstPid});
        CcpDaqListCfg& list = pair.twin.cfg.ccp.daqLists[number];
        list.listNumber = number;
        list.odtCount = kCcpListOdts;
        list.firstPid = firstPid;
    }
    pair.twin.cfg.ccp.daqListLimit = kCcpLists;
    pair.ecu.cutsLastOdt = true;  // the library prepares a list with the PID of its last ODT
}

}  // namespace

CcpPair ccpEcu(const std::string& name, unsigned number) {
    CcpPair pair;
    pair.twin = classicEcu(name);
    pair.twin.ecu.masterId = 0x500 + 2 * number;  // nobody uses these
    pair.twin.ecu.slaveId = 0x501 + 2 * number;
    EcuProtoCfg cfg;
    cfg.ecuName = pair.ecu.name = name;
    cfg.protoType = 0;
    cfg.canIdMaster = pair.ecu.croId = 0x300 + 2 * number;
    cfg.canIdSlave = pair.ecu.dtoId = 0x301 + 2 * number;
    cfg.ccp.stationAddress = pair.ecu.stationAddress = static_cast<std::uint16_t>(0x0101 + number);
    cfg.supportedCmds = {kShortUp, kGetSStatus, kSetSStatus, kStartStopAll};
    cfg.ccp.packMode = 0;
    cfg.ccp.unlockMask = sim::ccp::kAllResources;
    pair.twin.cfg = cfg;
    pair.ecu.id = name;
    pair.ecu.memory = {sim::plainSegment(kSignalBase, pair.twin.ecu.memory[0].pages[0].bytes.size()),
                       sim::plainSegment(kScratchBase, kScratchSize)};
    addLists(pair);
    setPatience(pair, std::chrono::seconds(20), 0);
    return pair;
}

/// The library never swaps the prescaler.
void setByteOrder(CcpPair& pair, sim::ByteOrder order) {
    const bool swapped = order == sim::ByteOrder::motorola;
    setByteOrder(pair.twin, order);
    pair.ecu.byteOrder = order;
    pair.twin.cfg.ccp.byteOrder = swapped ? 1 : 0;
    pair.twin.cfg.ccp.prescaler = swapped ? 0x0100 : 0x0001;
}

void setPatience(CcpPair& pair, std::chrono::milliseconds timeout, std::int32_t retryCount) {
    pair.twin.cfg.ccp.timeoutMs = static_cast<std::uint16_t>(timeout.count());
    pair.twin.cfg.ccp.retryCount = retryCount;
}

void addLock(CcpPair& pair, std::uint8_t resource) {
    pair.twin.cfg.seedkey_path = kKeyLibrary;
    pair.ecu.locks.push_back({.resource = resource});
}

void giveListsOwnIds(CcpPair& pair, unsigned number) {
    for (std::uint8_t list = 1; list < kCcpLists; ++list) {
        const std::uint32_t id = 0x380 + 0x10 * number + list;
        pair.twin.cfg.ccp.daqLists[list].canId = id;
        pair.ecu.lists[list].canId = sim::CcpCanId{.id = id};
        pair.ecu.lists[list].idRule = sim::CcpIdRule::kept;
    }
}

sim::CcpEcuConfig ecuOf(const CcpPair& pair) {
    sim::CcpEcuConfig config = pair.ecu;
    config.signals = pair.twin.ecu.signals;
    config.events.clear();
    for (const sim::XcpEventConfig& event : pair.twin.ecu.daq.events) {
        config.events.push_back({.name = event.name, .period = event.periodNs()});
    }
    return config;
}

/// The twin is switched on first, so that it has had every value that the ECU can have.
CcpStation::CcpStation(BusHost& host, sim::VirtualBus& bus, const CcpPair& pair)
    : CcpStation((host.addEcu(pair.twin), host), bus, ecuOf(pair)) {}

CcpStation::CcpStation(BusHost& host, sim::VirtualBus& bus, sim::CcpEcuConfig config)
    : ecu(std::move(config)), m_host(host), m_port(bus.attach(ecu)) {
    ecu.powerOn(*m_port);
    host.proofOf(ecu.config().name).startsLater(bus.now());
}

CcpStation::~CcpStation() {
    m_host.forgetResults();
    EXPECT_EQ(m_host.disconnects(), 0) << "at the end of " << ecu.config().name;
    ecu.powerOff();
}

}  // namespace systemtest
