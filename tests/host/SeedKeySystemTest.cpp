// Simulated ECUs, unlocked through the shared library with seed and key libraries in the helper.

#include "host/SeedKeyLoader.h"
#include "host/Session.h"
#include "sim/BusPort.h"
#include "sim/CcpEcu.h"
#include "sim/CcpEcuCodes.h"
#include "sim/VirtualBus.h"
#include "sim/XcpEcu.h"
#include "sim/XcpEcuCodes.h"
#include "tests/host/Places.h"
#include "tests/host/SeedKeyTesting.h"

#include <TalvexSDK.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using host::SeedKeySource;
using host_test::Complaints;
using host_test::faulty;
using host_test::sourceOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr std::uint16_t kTimeoutMs = 20'000;
constexpr std::chrono::minutes kPatience{4};

// The host's own place on the bus.
class Receiver final : public sim::Node {
    void onFrame(const sim::Frame& frame, sim::Time end) override {
        recvCanMsg(0, end / 1'000, 0, frame.id, frame.length, frame.data.data());
    }
};

sim::Frame frameOf(const host::OutgoingFrame& sent) {
    sim::Frame frame;
    frame.id = sent.id;
    frame.length = sent.length;
    std::copy_n(sent.data, sent.length, frame.data.begin());
    return frame;
}

int codeOf(const std::optional<host::TaskResult>& result) {
    return result ? result->code : -1;
}

// Connects and disconnects the ECU. Gives the result of the connect.
template <class Ecu>
int connects(
    Ecu& ecu, EcuProtoCfg cfg, const SeedKeySource& source, Complaints& complaints,
    const std::function<void()>& afterLoading = [] {}) {
    sim::VirtualBusConfig pace;
    pace.spin = 0;
    sim::VirtualBus bus(pace);
    Receiver receiver;
    const std::unique_ptr<sim::BusPort> ecuPort = bus.attach(ecu);
    const std::unique_ptr<sim::BusPort> hostPort = bus.attach(receiver);
    ecu.powerOn(*ecuPort);
    host::SessionHandlers handlers;
    handlers.send = [&](const host::OutgoingFrame& frame) { hostPort->send(frameOf(frame)); };
    handlers.values = [](const host::ValueDelivery&) {};
    handlers.loadSeedKey = [&](const std::string&, bool) {
        SeedKeyFun function = host::loadSeedKey(source, complaints.taker());
        afterLoading();
        return function;
    };
    host::Session session(handlers);
    cfg.ecuName = "engine";
    cfg.seedkey_path = source.path;
    setProtoCfgs({cfg});
    EcuConnect({"engine"});
    const int result = codeOf(session.waitResult(host::command::kConnect, kPatience, [] { return false; }));
    EcuDisconnect();
    EXPECT_EQ(codeOf(session.waitResult(host::command::kDisconnect, kPatience, [] { return false; })), 0);
    ecu.powerOff();
    return result;
}

// Calibration behind a seed of one frame, DAQ behind one of two.
sim::XcpEcu xcpEcu() {
    sim::XcpEcuConfig config;
    config.locks = {{.resource = sim::xcp::kCalPag, .seedLength = 4},
                    {.resource = sim::xcp::kDaq, .seedLength = 10}};
    return sim::XcpEcu(config);
}

EcuProtoCfg xcpCfg() {
    EcuProtoCfg cfg;
    cfg.canIdMaster = 0x600;
    cfg.canIdSlave = 0x601;
    cfg.supportedCmds = {0xFB, 0xF8, 0xF7};  // GET_COMM_MODE_INFO, GET_SEED, UNLOCK
    cfg.xcp.t1 = cfg.xcp.t2 = cfg.xcp.t3 = cfg.xcp.t4 = cfg.xcp.t5 = cfg.xcp.t6 = cfg.xcp.t7 = kTimeoutMs;
    return cfg;
}

sim::CcpEcu ccpEcu() {
    sim::CcpEcuConfig config;
    config.croId = 0x300;
    config.dtoId = 0x301;
    config.stationAddress = 0x0101;
    config.locks = {{.resource = sim::ccp::kDaq}};
    return sim::CcpEcu(config);
}

EcuProtoCfg ccpCfg() {
    EcuProtoCfg cfg;
    cfg.protoType = 0;
    cfg.canIdMaster = 0x300;
    cfg.canIdSlave = 0x301;
    cfg.ccp.stationAddress = 0x0101;
    cfg.ccp.unlockMask = sim::ccp::kAllResources;
    cfg.ccp.timeoutMs = kTimeoutMs;
    return cfg;
}

TEST(AnXcpEcu, IsUnlockedByTheExampleLibrary) {
    sim::XcpEcu ecu = xcpEcu();
    Complaints complaints;
    EXPECT_EQ(connects(ecu, xcpCfg(), sourceOf(host_test::kSeedKeyXcp), complaints), 0);
    EXPECT_EQ(ecu.counters().unlocks, 2U);
    EXPECT_THAT(complaints.texts(), IsEmpty());
}

TEST(ACcpEcu, IsUnlockedByTheExampleLibrary) {
    sim::CcpEcu ecu = ccpEcu();
    Complaints complaints;
    EXPECT_EQ(connects(ecu, ccpCfg(), sourceOf(host_test::kSeedKeyCcp, "", true), complaints), 0);
    EXPECT_EQ(ecu.counters().unlocks, 1U);
    EXPECT_THAT(complaints.texts(), IsEmpty());
}

TEST(AnXcpEcu, StaysLockedWhenTheLibraryCrashes) {
    sim::XcpEcu ecu = xcpEcu();
    Complaints complaints;
    EXPECT_EQ(connects(ecu, xcpCfg(), faulty("Crash"), complaints), 11);
    EXPECT_EQ(ecu.counters().unlocks, 0U);
    EXPECT_THAT(complaints.texts(),
                ElementsAre(StartsWith("seed and key: " + host_test::badLibrary("faults") +
                                       ": Crash crashed (Segmentation fault); ")));
}

TEST(AnXcpEcu, StaysLockedWhenTheLibraryIsMissing) {
    sim::XcpEcu ecu = xcpEcu();
    Complaints complaints;
    EXPECT_EQ(connects(ecu, xcpCfg(), sourceOf("/nowhere/keys.so"), complaints), 10);
    EXPECT_EQ(ecu.counters().unlocks, 0U);
    EXPECT_EQ(complaints.texts().size(), 1U);
}

TEST(ACcpEcu, StaysLockedWhenTheLibraryHangs) {
    sim::CcpEcu ecu = ccpEcu();
    Complaints complaints;
    SeedKeySource source = faulty("Hang", true);
    std::atomic<bool> loaded{false};  // which may take as long as it likes
    source.stop = [&loaded] { return loaded.load(); };
    EXPECT_EQ(connects(ecu, ccpCfg(), source, complaints, [&loaded] { loaded = true; }), 8);
    EXPECT_EQ(ecu.counters().unlocks, 0U);
    EXPECT_THAT(complaints.texts(),
                ElementsAre("seed and key: " + host_test::badLibrary("faults") + ": Hang was interrupted"));
}

}  // namespace
