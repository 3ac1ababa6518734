#include "tests/sweep/CcpSeedBench.h"

#include <gtest/gtest.h>

namespace sweep {
namespace {

/// The twin speaks XCP, on identifiers of its own.
systemtest::EcuPair twinOf(const systemtest::CcpPair& pair) {
    systemtest::EcuPair twin = systemtest::classicEcu(pair.ecu.name);
    twin.ecu = pair.twin.ecu;
    twin.cfg.canIdMaster = twin.ecu.masterId;
    twin.cfg.canIdSlave = twin.ecu.slaveId;
    return twin;
}

}  // namespace

CcpSeedBench::CcpSeedBench(const systemtest::CcpPair& pair, const sim::VirtualBusConfig& busConfig)
    : MemoryBench(twinOf(pair), busConfig), m_station(host, bus, systemtest::ecuOf(pair)) {
    host.configure(pair.twin.cfg);
    EXPECT_EQ(connects(), 0);
}

}  // namespace sweep
