// Row P13: the command queue.

#include "TalvexSDK.h"
#include "bench/Harness.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::uint32_t kQueued = 100;
constexpr std::size_t kStartsPerBlock = 4;
constexpr std::size_t kVariables = 10'000;

using Variables = std::map<std::string, std::vector<mcMeasureVariable>>;

std::atomic<std::uint32_t> g_results = 0;

void countResult(std::uint32_t command, std::uint8_t, const std::vector<std::string>*) {
    g_results += command == 4 ? 0U : 1U;  // a start has a notification of its own
}

void countResults() {
    CallBackFuns callBacks;
    callBacks.taskResultFun = countResult;
    setCallBackFuns(callBacks);
}

void awaitResults(std::uint32_t count) {
    while (g_results < count) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    g_results = 0;
}

bench::Figure queuedCommands() {
    countResults();
    const bench::Block commands = bench::wallBlock(1, [] {
        for (std::uint32_t i = 0; i < kQueued; ++i) {
            MeasureVars("nobody", {});
        }
        awaitResults(kQueued);
    });
    const bench::Block sleeps = bench::wallBlock(1, [] {
        for (std::uint32_t i = 0; i < kQueued; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    return bench::compareInterleaved(commands, sleeps);
}

Variables makeVariables() {
    Variables variables;
    std::vector<mcMeasureVariable>& ofEcu = variables["engine"];
    ofEcu.resize(kVariables);
    for (std::size_t i = 0; i < kVariables; ++i) {
        ofEcu[i].name = "engine.signal." + std::to_string(i);
        ofEcu[i].size = 4;
    }
    return variables;
}

/// The cost of the caller alone: what the worker does with the command is not counted.
bench::Figure queuedStart() {
    countResults();
    const Variables variables = makeVariables();
    const auto start = bench::processorBlock(kStartsPerBlock, [&] { StartMeasurement(variables); });
    std::vector<Variables> copies;
    const auto copy = bench::processorBlock(kStartsPerBlock, [&] { copies.push_back(variables); });
    const bench::Figure figure = bench::compareInterleaved(
        [&] {
            const double cost = start();
            awaitResults(kStartsPerBlock);
            return cost;
        },
        [&] {
            copies.reserve(kStartsPerBlock);
            const double cost = copy();
            copies.clear();
            return cost;
        });
    StopMeasurement();
    awaitResults(1);
    return figure;
}

[[maybe_unused]] const bool kAdded[] = {
    bench::addRow({"P13", "100 queued commands without an ECU", "100 sleeps of 1 ms", "ns",
                   bench::atMost(1.2), queuedCommands}),
    bench::addRow({"P13", "queueing a start with 10,000 variables", "copy of its map", "ns",
                   bench::atMost(2.5), queuedStart}),
};

}  // namespace
