// Host threads that call whatever they like while ECUs are measured.
#include "tests/support/TestHost.h"
#include "tests/system/BusHost.h"
#include "tests/system/EcuPair.h"

#include <TalvexSDK.h>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace systemtest {
namespace {

using support::waitFor;
using Random = std::mt19937;

constexpr std::chrono::seconds kDuration{10};
constexpr int kThreads = 4;

std::vector<std::uint8_t> someBytes(Random& random) {
    std::vector<std::uint8_t> bytes(random() % 70);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    return bytes;
}

/// The world of the calls: two ECUs, and names of more.
struct World {
    EcuPair first = classicEcu("first", 0);
    EcuPair second = classicEcu("second", 1);

    World() {
        for (EcuPair* pair : {&first, &second}) {
            addSignals(*pair, 0, "fast");
            addSignals(*pair, 1, "slow");
            setPatience(*pair, std::chrono::milliseconds(200), 0);
            pair->cfg.xcp.statusPeriodMs = 20;
            mcMemoryInfo segment;
            segment.address = kScratchBase;
            segment.length = kScratchSize;
            pair->cfg.codeSegments = pair->cfg.dataSegments = {segment};
        }
    }

    [[nodiscard]] std::string name(Random& random) const {
        const char* const names[] = {"first", "second", "nobody"};
        return names[random() % 3];
    }

    [[nodiscard]] mcMeasureVariable scratch(Random& random) const {
        mcMeasureVariable variable;
        variable.name = "scratch";
        variable.address = kScratchBase + random() % 16;
        variable.size = random() % 32;
        return variable;
    }

    [[nodiscard]] std::vector<mcMeasureVariable> variables(Random& random) const {
        std::vector<mcMeasureVariable> all = allVariables(first);
        for (mcMeasureVariable& variable : all) {
            variable.period = random() % 4 == 0 ? 10 : 0;
        }
        return all;
    }
};

using Call = std::function<void(const World& world, Random& random)>;

/// Every export of a session but `setLogBackFuns`, which is to be called ahead of everything else, and of the
/// others those that take a session's records.
std::vector<Call> makeCalls() {
    return {
        [](const World& world, Random&) {
            setProtoCfgs({world.first.cfg, world.second.cfg});
        },
        [](const World& world, Random&) { setProtoCfg("first", world.first.cfg); },
        [](const World&, Random&) { EXPECT_EQ(getProtoCfg().size(), 2U); },
        [](const World&, Random&) { setCallBackFuns(BusHost::callBacks()); },
        [](const World& world, Random& random) { static_cast<void>(isEcuConnect(world.name(random))); },
        [](const World&, Random&) { static_cast<void>(isConnectEcu()); },
        [](const World&, Random&) { static_cast<void>(isMeasureing()); },
        [](const World&, Random& random) {
            EXPECT_FALSE(getErrorString(static_cast<std::int32_t>(random() % 100)).empty());
        },
        [](const World&, Random&) {
            EcuConnect({"first", "second"});
        },
        [](const World& world, Random& random) { EcuConnect({world.name(random)}); },
        [](const World&, Random&) { EcuDisconnect(); },
        [](const World& world, Random& random) {
            StartMeasurement({{"first", world.variables(random)}, {"second", world.variables(random)}});
        },
        [](const World& world, Random& random) {
            StartMeasurement({{world.name(random), world.variables(random)}});
        },
        [](const World&, Random&) { StopMeasurement(); },
        [](const World& world, Random& random) { MeasureVars(world.name(random), {world.scratch(random)}); },
        [](const World& world, Random& random) {
            CalibrationVar(world.name(random), world.scratch(random), someBytes(random));
        },
        [](const World& world, Random& random) { SetCalPage(world.name(random), random() % 2 == 0); },
        [](const World& world, Random& random) { UploadFromEcuMem(world.name(random), random() % 8); },
        [](const World& world, Random& random) {
            DownToEcuMem(world.name(random), random() % 8, {mem_buf{kScratchBase, someBytes(random)}});
        },
        [](const World& world, Random& random) { ForceDataDownToEcu(world.name(random), "no file.hex"); },
        [](const World& world, Random& random) { EarseEcu(world.name(random), random() % 8); },
        [](const World& world, Random& random) {
            CheckEcuMemory(world.name(random), {mem_buf{kScratchBase, someBytes(random)}}, random() % 8);
        },
        [](const World& world, Random& random) { EcuCopyRefeToWork(world.name(random)); },
        [](const World&, Random& random) {
            const std::vector<std::uint8_t> bytes = someBytes(random);
            recvCanMsg(random(), random(), static_cast<std::uint8_t>(random() % 2), 0x600 + random() % 4,
                       static_cast<std::uint16_t>(bytes.size()), bytes.data());
        },
        [](const World& world, Random& random) {
            static_cast<void>(getDaqInfo(world.first.cfg, world.variables(random), random() % 2 == 0));
        },
        [](const World&, Random&) { stopAllTask(); },
    };
}

/// Calls at random until the time is over. The pauses leave the library a chance to get somewhere: without
/// them the queue would lose nearly every command to the next.
void callAtRandom(const World& world, std::uint32_t seed) {
    const std::vector<Call> calls = makeCalls();
    const auto end = std::chrono::steady_clock::now() + kDuration;
    Random random(seed);
    while (std::chrono::steady_clock::now() < end) {
        calls[random() % calls.size()](world, random);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20'000));
    }
}

/// Waits until the library has done all that was queued. A command of a page for an unknown ECU leaves a line
/// in the log; if a disconnect throws it away, the next one follows.
bool isIdle(const BusHost& host) {
    return waitFor(
        [&host] {
            SetCalPage("-- end of the calls", true);
            return waitFor([&] { return host.logCount(3, "Can't find task ecu-- end of the calls)") > 0; },
                           std::chrono::seconds(1));
        },
        kPatience);
}

TEST(HostThreads, MayCallEveryExportAtAnyTimeWhileEcusMeasure) {
    const World world;
    const std::uint32_t seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    BusHost host;
    host.addBus(realTimeBus());
    host.addEcu(world.first);
    host.addEcu(world.second);
    for (const char* const name : {"first", "second"}) {
        host.proofOf(name).expect(Expected::anything);
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back(callAtRandom, std::cref(world), seed + static_cast<std::uint32_t>(i));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_GT(host.resultCount(kConnect), 0U);
    EXPECT_GT(host.resultCount(kStart), 0U);

    stopAllTask();
    EcuDisconnect();
    ASSERT_TRUE(isIdle(host));
    EXPECT_FALSE(isConnectEcu());
    EXPECT_FALSE(isMeasureing());
    host.forgetResults();
    for (const char* const name : {"first", "second"}) {
        host.proofOf(name).expect(Expected::everyCycle);
    }
    ASSERT_EQ(host.connects({"first", "second"}), 0);
    const std::vector<mcMeasureVariable> variables = allVariables(world.first);
    ASSERT_EQ(host.starts({{"first", variables}, {"second", variables}}), 0);
    for (const char* const name : {"first", "second"}) {
        EXPECT_TRUE(waitFor([&] { return host.proofOf(name).fewestSampled(variables) >= 5; }, kPatience));
    }
    EXPECT_EQ(host.stops(), 0);
}

}  // namespace
}  // namespace systemtest
