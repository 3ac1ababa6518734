// Every export from eight threads at once while four ECUs are measured and one comes and goes.
//
//   TALVEX_STRESS_SECONDS=60   how long; 5 s without it
//   TALVEX_SEED=123            draws the same calls again
#include "tests/stress/Settings.h"
#include "tests/stress/StressCalls.h"
#include "tests/stress/StressWorld.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <set>
#include <thread>

namespace stress {
namespace {

using std::chrono::milliseconds;
using support::waitFor;
using systemtest::kPatience;

constexpr std::uint32_t kThreads = 8;
constexpr std::uint32_t kSeldom = 20;
constexpr std::uint32_t kLongestPauseUs = 10'000;
constexpr std::uint64_t kProof = 5;  ///< cycles that show that an ECU is measured

std::vector<Call> allCalls() {
    std::vector<Call> calls = sessionCalls();
    for (auto make : {pureCalls, channelCalls}) {
        for (Call& call : make()) {
            calls.push_back(std::move(call));
        }
    }
    return calls;
}

std::set<std::string> exportedNames() {
    std::ifstream file(TALVEX_SOURCE_DIR "/cmake/TalvexSDK.exports");
    std::set<std::string> names;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line[0] != '#') {
            names.insert(line);
        }
    }
    return names;
}

TEST(StressCalls, AreAllExportsButTheOneThatComesAheadOfEverything) {
    std::set<std::string> names = exportedNames();
    EXPECT_EQ(names.erase("setLogBackFuns"), 1U);
    std::set<std::string> called;
    for (const Call& call : allCalls()) {
        EXPECT_TRUE(called.insert(call.name).second) << call.name;
    }
    EXPECT_EQ(called, names);
}

/// Eight threads that call, and one that lets the guest come and go.
class Crowd {
public:
    /// @param enough  what has to have happened, however slow the machine is; any thread asks it
    Crowd(StressWorld& world, std::uint64_t seed, std::function<bool()> enough)
        : m_world(world), m_enough(std::move(enough)), m_counts(m_calls.size()) {
        for (std::uint32_t number = 0; number < kThreads; ++number) {
            m_threads.emplace_back([this, number, seed] {
                call({m_world, number, sweep::Draw(seed + number)});
            });
        }
        m_threads.emplace_back([this] { movesGuest(); });
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;
    ~Crowd() { ends(); }

    /// Whether the time is over and enough has happened, or will not happen any more.
    [[nodiscard]] bool isOver() const {
        const auto now = std::chrono::steady_clock::now();
        return now >= m_end && ((m_visits > 0 && m_enough()) || now >= m_end + kPatience);
    }

    void ends() {
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        m_threads.clear();
    }

    /// Holds that every export was called, and that the guest came and went.
    void expectAllCalled() const {
        std::uint64_t sum = 0;
        for (std::size_t i = 0; i < m_calls.size(); ++i) {
            EXPECT_EQ(m_counts[i] > 0, mayRun(m_calls[i])) << m_calls[i].name;
            sum += m_counts[i];
        }
        EXPECT_GT(m_visits, 0U);
        std::cout << sum << " calls, " << m_visits << " visits of the guest\n";
    }

private:
    [[nodiscard]] bool mayRun(const Call& call) const {
        return call.share != Share::disturbs || m_world.mood == Mood::rough;
    }

    /// First the thread's part of all calls, each once; then at random. The pauses leave the library a chance
    /// to get somewhere: without them the queue would lose nearly every command to the next.
    void call(Caller caller) {
        for (std::size_t i = caller.number; i < m_calls.size(); i += kThreads) {
            run(i, caller);
        }
        while (!isOver()) {
            const std::size_t drawn = caller.draw.below(static_cast<std::uint32_t>(m_calls.size()));
            const Share share = m_calls[drawn].share;
            if (share == Share::often || (share != Share::once && caller.draw.oneIn(kSeldom))) {
                run(drawn, caller);
            }
            std::this_thread::sleep_for(std::chrono::microseconds(caller.draw.below(kLongestPauseUs)));
        }
        for (const char* const ending : {".hex", ".s19"}) {
            std::filesystem::remove(caller.file() + ending);
        }
    }

    void run(std::size_t number, Caller& caller) {
        if (mayRun(m_calls[number])) {
            m_calls[number].run(caller);
            ++m_counts[number];
        }
    }

    /// Stays until it answered somebody, and away until somebody missed it.
    void movesGuest() {
        while (!isOver()) {
            awaitsCommands(3);
            m_world.guest.goes();
            awaitsCommands(3);
            m_world.guest.comes();
            ++m_visits;
        }
    }

    void awaitsCommands(std::uint64_t count) const {
        const std::uint64_t before = m_world.guest.commands();
        waitFor([&] { return isOver() || m_world.guest.commands() >= before + count; }, milliseconds(500));
    }

    StressWorld& m_world;
    const std::function<bool()> m_enough;
    const std::vector<Call> m_calls = allCalls();
    const std::chrono::steady_clock::time_point m_end = std::chrono::steady_clock::now() + callTime();
    std::vector<std::atomic<std::uint64_t>> m_counts;  ///< by call
    std::atomic<std::uint64_t> m_visits = 0;
    std::vector<std::thread> m_threads;
};

class EveryExport : public testing::Test {
protected:
    struct Mark {
        std::uint64_t cycles = 0;
        std::uint64_t polls = 0;
    };
    using Marks = std::map<std::string, Mark>;

    [[nodiscard]] static Marks marks(const StressWorld& world) {
        Marks marks;
        for (const char* const ecu : kMeasured) {
            marks[ecu] = {world.cycles(ecu), world.polls(ecu)};
        }
        return marks;
    }

    /// Whether every ECU has delivered more than at @p before, by DAQ and by polling.
    [[nodiscard]] static bool allMoved(const StressWorld& world, const Marks& before) {
        return std::all_of(kMeasured.begin(), kMeasured.end(), [&](const char* ecu) {
            const Mark& mark = before.at(ecu);
            return world.cycles(ecu) >= mark.cycles + kProof && world.polls(ecu) >= mark.polls + kProof;
        });
    }

    /// Whether every ECU has delivered a cycle since @p before.
    [[nodiscard]] static bool allDelivered(const StressWorld& world, const Marks& before) {
        return std::all_of(kMeasured.begin(), kMeasured.end(),
                           [&](const char* ecu) { return world.cycles(ecu) > before.at(ecu).cycles; });
    }

    static std::vector<std::string> measured() { return {kMeasured.begin(), kMeasured.end()}; }

    /// Connects all and measures, once as `world` begins and once when all is over.
    static void measures(StressWorld& world) {
        ASSERT_EQ(world.host.connects(measured()), 0);
        ASSERT_EQ(world.host.starts(world.variables()), 0);
        const Marks before = marks(world);
        ASSERT_TRUE(waitFor([&] { return allMoved(world, before); }, kPatience));
    }

    /// Everything is still alive: the measurement can be ended, each ECU is connected, measured, written to
    /// and read, the guest too.
    static void expectAllAlive(StressWorld& world) {
        world.host.forgetResults();
        ASSERT_EQ(world.host.stops(), 0);
        ASSERT_EQ(world.host.disconnects(), 0);
        EXPECT_FALSE(isConnectEcu());
        EXPECT_FALSE(isMeasureing());
        for (const char* const ecu : {kGuest, kBench}) {
            EXPECT_EQ(world.host.connects({ecu}), 0) << ecu;
            EXPECT_TRUE(isEcuConnect(ecu));
        }
        measures(world);
        EXPECT_EQ(world.host.stops(), 0);  // a poll could move the address that a write goes to
        for (std::uint8_t number = 0; number < kMeasured.size(); ++number) {
            const std::vector<std::uint8_t> bytes = {number, 2, 3, 4};
            CalibrationVar(kMeasured.at(number), StressWorld::written(0), bytes);
            EXPECT_EQ(world.host.awaitResult(systemtest::kCalibrate).result, 0);
            EXPECT_EQ(world.memoryOf(kMeasured.at(number), StressWorld::written(0)), bytes);
        }
        EXPECT_EQ(world.host.disconnects(), 0);
    }

    void SetUp() override { std::cout << "TALVEX_SEED=" << m_seed << "\n"; }

    const std::uint64_t m_seed = callSeed();
};

TEST_F(EveryExport, LeavesAMeasurementWholeThatNobodyEnds) {
    StressWorld world(Mood::calm);
    ASSERT_NO_FATAL_FAILURE(measures(world));
    {
        Crowd crowd(world, m_seed, [&] { return world.reads() > 0; });
        crowd.ends();
        crowd.expectAllCalled();
    }
    ASSERT_TRUE(world.isIdle());
    EXPECT_EQ(world.host.resultCount(systemtest::kLinkLost), 0U);
    EXPECT_EQ(world.host.resultCount(systemtest::kMeasurementBegins), 1U);
    EXPECT_TRUE(isMeasureing());
    const Marks before = marks(world);
    EXPECT_TRUE(waitFor([&] { return allMoved(world, before); }, kPatience)) << "no more values";
    for (const auto& [ecu, mark] : before) {
        std::cout << ecu << ": " << mark.cycles << " cycles, " << mark.polls << " polls\n";
        EXPECT_EQ(world.host.proofOf(ecu).faults(), std::vector<std::string>());
    }
    EXPECT_GT(world.reads(), 0U);
    expectAllAlive(world);
}

TEST_F(EveryExport, MayBeCalledAtAnyTime) {
    StressWorld world(Mood::rough);
    ASSERT_NO_FATAL_FAILURE(measures(world));
    const Marks before = marks(world);
    std::uint64_t measurements = 0;
    {
        Crowd crowd(world, m_seed, [&] { return world.reads() > 0 && allDelivered(world, before); });
        while (!crowd.isOver()) {
            EcuConnect(measured());
            StartMeasurement(world.variables());
            const Marks begun = marks(world);
            waitFor([&] { return crowd.isOver() || allMoved(world, begun); }, std::chrono::seconds(2));
            measurements += allMoved(world, begun);
            waitFor([&] { return crowd.isOver() || !isMeasureing(); }, milliseconds(500));
        }
        crowd.ends();
        crowd.expectAllCalled();
    }
    EXPECT_GT(world.reads(), 0U);
    EXPECT_TRUE(allDelivered(world, before));
    for (const char* const ecu : kMeasured) {
        std::cout << ecu << ": " << world.cycles(ecu) << " cycles\n";
    }
    std::cout << measurements << " measurements, " << world.host.resultCount(systemtest::kLinkLost)
              << " times a link was lost\n";
    stopAllTask();
    ASSERT_TRUE(world.isIdle());
    world.becomesPatient();
    expectAllAlive(world);
}

}  // namespace
}  // namespace stress
