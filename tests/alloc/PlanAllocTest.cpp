// The planners while memory runs out.
#include "tests/alloc/EveryNew.h"

#include <TalvexPlan.h>

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

namespace alloc {
namespace {

std::string show(const DaqInfo& info) {
    std::ostringstream text;
    for (const auto& [number, list] : info.daqLists) {
        text << "list " << number << " event " << list.event << " pids " << int{list.firstPid} << "-"
             << int{list.lastPid} << "\n";
        for (const DaqOdtPlan& odt : list.odts) {
            text << " odt " << int{odt.size};
            for (const DaqOdtEntry& entry : odt.entries) {
                text << " " << entry.name << "@" << entry.address << "+" << entry.size << "/"
                     << int{entry.fragment};
            }
            text << "\n";
        }
    }
    for (const mcMeasureVariable& variable : info.pollVars) {
        text << "poll " << variable.name << "\n";
    }
    for (const auto& [event, lists] : info.finishedNames) {
        for (const auto& [list, names] : lists) {
            text << "finished " << event << " " << list << testing::PrintToString(names) << "\n";
        }
    }
    return text.str();
}

/// Three events, of which one is not there; sizes from 1 to 20; every fifth is polled. The names are too long
/// to stand in a string itself.
std::vector<mcMeasureVariable> variables() {
    std::vector<mcMeasureVariable> made(30);
    for (std::size_t i = 0; i < made.size(); ++i) {
        made[i].name = "a variable with a long name " + std::to_string(i);
        made[i].size = static_cast<std::uint32_t>(1 + i % 20);
        made[i].address = static_cast<std::uint32_t>(0x1000 + 0x20 * i);
        made[i].event = static_cast<std::uint16_t>(i % 3);
        made[i].period = i % 5 == 0 ? 10 : 0;
    }
    return made;
}

struct Plan {
    const char* name;
    EcuProtoCfg (*cfg)();
    bool unlimited;
};

void PrintTo(const Plan& plan, std::ostream* out) {
    *out << plan.name;
}

EcuProtoCfg xcp(std::uint32_t packMode) {
    EcuProtoCfg cfg;
    cfg.xcp.daqProperties = 1;
    cfg.xcp.maxDaq = 4;
    cfg.xcp.maxOdtEntrySizeDaq = 7;
    cfg.xcp.packMode = packMode;
    for (std::uint16_t event = 0; event < 2; ++event) {
        cfg.xcp.events[event].maxDaqList = 2;
    }
    return cfg;
}

EcuProtoCfg xcpStatic() {
    EcuProtoCfg cfg = xcp(1);
    cfg.xcp.daqProperties = 0;
    for (std::uint16_t list = 0; list < 4; ++list) {
        cfg.xcp.daqListInfo[list].listNumber = list;
        cfg.xcp.daqListInfo[list].maxOdt = 3;
        cfg.xcp.daqListInfo[list].fixedEvent = list == 0 ? 1 : 255;
    }
    return cfg;
}

EcuProtoCfg ccp() {
    EcuProtoCfg cfg;
    cfg.protoType = 0;
    cfg.ccp.daqListLimit = 3;
    for (std::uint16_t list = 0; list < 3; ++list) {
        cfg.ccp.daqLists[list].listNumber = list;
        cfg.ccp.daqLists[list].odtCount = 5;
        cfg.ccp.daqLists[list].firstPid = static_cast<std::uint8_t>(list * 0x20);
    }
    cfg.ccp.daqLists[0].events = {1};
    return cfg;
}

class PlanWithoutMemory : public testing::TestWithParam<Plan> {};

INSTANTIATE_TEST_SUITE_P(All, PlanWithoutMemory,
                         testing::Values(Plan{"XcpPackMode0", [] { return xcp(0); }, false},
                                         Plan{"XcpPackMode1", [] { return xcp(1); }, false},
                                         Plan{"XcpPackMode2", [] { return xcp(2); }, false},
                                         Plan{"XcpUnlimited", [] { return xcp(0); }, true},
                                         Plan{"XcpStaticLists", xcpStatic, false}, Plan{"Ccp", ccp, false}),
                         [](const testing::TestParamInfo<Plan>& tested) {
                             return std::string(tested.param.name);
                         });

TEST_P(PlanWithoutMemory, IsMadeOrThrows) {
    const EcuProtoCfg cfg = GetParam().cfg();
    const std::vector<mcMeasureVariable> wanted = variables();
    const DaqInfo info = getDaqInfo(cfg, wanted, GetParam().unlimited);
    EXPECT_FALSE(info.daqLists.empty());
    EXPECT_FALSE(info.pollVars.empty());
    const auto plan = [&] { return getDaqInfo(cfg, wanted, GetParam().unlimited); };
    const std::size_t count = expectCleanAtEveryNew(plan, show);
    EXPECT_GT(count, 50U);
    std::cout << count << " times new\n";
}

}  // namespace
}  // namespace alloc
