// The library is loaded, measures, and is unloaded without a disconnect, a thousand times in one process.
//
//   TALVEX_STRESS_ROUNDS=100   so many times
#include "tests/stress/LoadedCopy.h"
#include "tests/stress/Settings.h"
#include "tests/support/TestHost.h"
#include "tests/support/ThreadCount.h"
#include "tests/support/YesHost.h"

#include <TalvexSDK.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <malloc.h>
#include <unistd.h>

namespace stress {
namespace {

using support::threadCount;
using support::waitFor;
using support::YesHost;

/// A round takes a sanitizer tens of times as long.
constexpr std::uint64_t kRounds = kSanitized ? 150 : 1'000;
/// By then whatever is made once has been made.
constexpr std::uint64_t kWarmRounds = 100;
/// What the allocator keeps for threads that end moves by a few kB; a lost byte a round is 900.
constexpr std::int64_t kMostHeapGrowth = 16 * 1024;
constexpr std::int64_t kMostResidentGrowth = 1024 * 1024;

constexpr std::uint8_t kValue = 0x11;
constexpr std::uint8_t kShortUpload = 0xF4;

std::atomic<int> g_calls = 0;
std::atomic<int> g_connects = 0;
std::atomic<int> g_polled = 0;
std::atomic<int> g_cycles = 0;
std::atomic<int> g_wrong = 0;
std::atomic<decltype(&recvCanMsg)> g_receive = nullptr;

void takeLog(std::uint32_t /*level*/, std::uint64_t /*timeMs*/, const std::string& /*text*/) {
    ++g_calls;
}

/// An ECU that says yes to everything, reads one value, and sends a DAQ frame with each answer.
std::uint32_t send(std::uint8_t channel, std::uint32_t /*id*/, std::uint8_t /*flags*/,
                   std::uint8_t /*length*/, const std::uint8_t* data) {
    ++g_calls;
    const std::uint8_t read = data[0] == kShortUpload ? kValue : std::uint8_t{0};
    const std::uint8_t positive[8] = {0xFF, read, read};
    const std::uint8_t dto[3] = {0x00, kValue, kValue};
    const auto receive = g_receive.load();
    receive(0, 1, channel, 2, 8, positive);
    receive(0, 2, channel, 2, 3, dto);
    return 0;
}

void takeResult(std::uint32_t command, std::uint8_t result, const std::vector<std::string>* /*details*/) {
    ++g_calls;
    g_connects += command == 1 && result == 0;
}

void takeValues(const std::string& /*ecu*/, std::int32_t kind,
                const std::vector<mcMeasureVariableValue>& values,
                const std::vector<std::string>& /*rejected*/) {
    ++g_calls;
    g_polled += kind == 1;
    g_cycles += kind == 2;
    const std::vector<std::uint8_t> right = {kValue, kValue};
    for (const mcMeasureVariableValue& value : values) {  // a read that the end cuts off has no bytes
        g_wrong += value.data != right && !value.data.empty();
    }
}

void connectsAndMeasures(LoadedCopy& library) {
    g_connects = g_polled = g_cycles = 0;
    g_receive = library.exported(&recvCanMsg);
    CallBackFuns table;
    table.sndFun = send;
    table.taskResultFun = takeResult;
    table.measureFun = takeValues;
    library.exported (&setLogBackFuns)(takeLog);
    library.exported (&setCallBackFuns)(table);
    library.exported (&setProtoCfgs)({YesHost::configuration()});
    library.exported (&EcuConnect)({"a"});
    ASSERT_TRUE(waitFor([] { return g_connects == 1; }));
    library.exported (&StartMeasurement)({{"a", YesHost::variables(2)}});
    ASSERT_TRUE(waitFor([] { return g_polled > 1 && g_cycles > 1; }));
    EXPECT_TRUE(library.exported(&isMeasureing)());
}

std::int64_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::int64_t all = 0;
    std::int64_t resident = 0;
    file >> all >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

std::int64_t heapBytes() {
    return static_cast<std::int64_t>(mallinfo2().uordblks);
}

TEST(ALibraryThatMeasures, IsUnloadedAThousandTimesAndLeavesNothing) {
    const std::uint64_t rounds = numberFrom("TALVEX_STRESS_ROUNDS", kRounds);
    LoadedCopy library;
    const std::size_t threads = threadCount();
    ASSERT_GT(threads, 0U);
    std::int64_t resident = 0;
    std::int64_t heap = 0;
    for (std::uint64_t round = 1; round <= rounds && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(library.loads());
        ASSERT_NO_FATAL_FAILURE(connectsAndMeasures(library));
        ASSERT_TRUE(library.unloads());
        const int calls = g_calls;
        EXPECT_TRUE(waitFor([&] { return threadCount() == threads; })) << "threads are left";
        EXPECT_EQ(g_calls, calls) << "called behind the end";
        EXPECT_EQ(g_wrong, 0) << "wrong values";
        if (round == std::min(kWarmRounds, rounds)) {
            resident = residentBytes();
            heap = heapBytes();
        }
    }
    const std::int64_t residentGrowth = residentBytes() - resident;
    const std::int64_t heapGrowth = heapBytes() - heap;
    std::cout << rounds << " rounds, " << g_calls << " callbacks; behind round " << kWarmRounds
              << " the resident size grew by " << residentGrowth << " bytes, the heap by " << heapGrowth
              << "\n";
    if (!kSanitized) {  // a sanitizer looks for what is lost itself, and keeps what was given back
        EXPECT_LE(residentGrowth, kMostResidentGrowth);
        EXPECT_LE(heapGrowth, kMostHeapGrowth);
    }
}

#if TALVEX_STRESS_SANITIZED
TEST(ALibraryThatMeasures, DoesNotGrowFromRoundToRound) {
    GTEST_SKIP() << "the memory of a program with a sanitizer tells nothing; the release build holds this";
}
#endif

}  // namespace
}  // namespace stress
