// Row P9: planning.

#include "TalvexPlan.h"
#include "bench/Harness.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kMany = 100'000;
constexpr std::size_t kFew = 10'000;
constexpr std::uint16_t kEvents = 4;

std::vector<mcMeasureVariable> makeVariables(std::size_t count) {
    std::vector<mcMeasureVariable> variables(count);
    for (std::size_t i = 0; i < count; ++i) {
        variables[i].name = "engine.signal." + std::to_string(i);
        variables[i].size = static_cast<std::uint32_t>(1 + i % 8);
        variables[i].address = static_cast<std::uint32_t>(0x40000000 + 8 * i);
        variables[i].event = static_cast<std::uint16_t>(i % kEvents);
    }
    return variables;
}

/// An ECU whose lists take all there is, so that all of it is planned.
EcuProtoCfg xcpConfig() {
    EcuProtoCfg cfg;
    cfg.maxDto = 64;
    cfg.xcp.maxDaq = 0;
    cfg.xcp.maxOdtEntrySizeDaq = 63;
    for (std::uint16_t event = 0; event < kEvents; ++event) {
        cfg.xcp.events[event].maxDaqList = 1;
    }
    return cfg;
}

/// CCP lists are small: most of it ends in polling.
EcuProtoCfg ccpConfig() {
    EcuProtoCfg cfg;
    cfg.protoType = 0;
    cfg.ccp.packMode = 2;
    cfg.ccp.daqListLimit = 100;
    for (std::uint16_t list = 0; list < cfg.ccp.daqListLimit; ++list) {
        cfg.ccp.daqLists[list].odtCount = 100;
    }
    return cfg;
}

bench::Block planBlock(const EcuProtoCfg& cfg, const std::vector<mcMeasureVariable>& variables) {
    return bench::wallBlock(1, [&] { benchmark::DoNotOptimize(getDaqInfo(cfg, variables, false)); });
}

bench::Figure planManyAndFew(const EcuProtoCfg& cfg) {
    const std::vector<mcMeasureVariable> many = makeVariables(kMany);
    const std::vector<mcMeasureVariable> few = makeVariables(kFew);
    return bench::compareInterleaved(planBlock(cfg, many), planBlock(cfg, few));
}

bench::Figure planAndCopy(const EcuProtoCfg& cfg) {
    const std::vector<mcMeasureVariable> many = makeVariables(kMany);
    const bench::Block copy = bench::wallBlock(1, [&] {
        const std::vector<mcMeasureVariable> copied = many;
        benchmark::DoNotOptimize(copied.data());
    });
    return bench::compareInterleaved(planBlock(cfg, many), copy);
}

[[maybe_unused]] const bool kAdded[] = {
    bench::addRow({"P9", "getDaqInfo of 100,000 variables, XCP", "of 10,000", "ns", bench::atMost(18.0),
                   [] { return planManyAndFew(xcpConfig()); }}),
    bench::addRow({"P9", "getDaqInfo of 100,000 variables, XCP", "copy of the input", "ns",
                   bench::atMost(20.0), [] { return planAndCopy(xcpConfig()); }}),
    bench::addRow({"P9", "getDaqInfo of 100,000 variables, CCP", "of 10,000", "ns", bench::atMost(18.0),
                   [] { return planManyAndFew(ccpConfig()); }}),
    bench::addRow({"P9", "getDaqInfo of 100,000 variables, CCP", "copy of the input", "ns",
                   bench::atMost(20.0), [] { return planAndCopy(ccpConfig()); }}),
};

}  // namespace
