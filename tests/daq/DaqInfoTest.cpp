#include "TalvexPlan.h"

#include "tests/daq/DaqTestSupport.h"

#include <gtest/gtest.h>

namespace {

using daq_test::copied;
using daq_test::text;
using daq_test::variable;

EcuProtoCfg configOf(std::uint32_t protoType) {
    EcuProtoCfg cfg;
    cfg.protoType = protoType;
    cfg.xcp.daqListInfo[0].maxOdt = 1;
    cfg.xcp.daqListInfo[0].maxOdtEntries = 7;
    cfg.ccp.daqLists[0].odtCount = 2;
    return cfg;
}

TEST(DaqInfo, OfNoVariablesIsThreeEmptyContainersForBothProtocols) {
    for (const std::uint32_t protoType : {0U, 1U}) {
        const DaqInfo info = getDaqInfo(configOf(protoType), {}, false);
        EXPECT_TRUE(info.daqLists.empty());
        EXPECT_TRUE(info.pollVars.empty());
        EXPECT_TRUE(info.finishedNames.empty());
    }
}

TEST(DaqInfo, PlansForXcpIfTheProtocolIsOne) {
    const DaqInfo info = getDaqInfo(configOf(1), {variable("a", 4, 3), variable("b", 4, 3)}, false);
    ASSERT_EQ(info.daqLists.size(), 1U);
    EXPECT_EQ(text(info.daqLists.at(0).odts), "a@0:4");
    EXPECT_EQ(text(info.finishedNames.at(3).at(0)), "a");
    EXPECT_EQ(text(info.pollVars), "b:4");
    EXPECT_EQ(copied(info.pollVars[0].period), 100);
}

TEST(DaqInfo, UnlimitedLiftsTheOdtLimitForXcp) {
    const DaqInfo info = getDaqInfo(configOf(1), {variable("a", 4, 3), variable("b", 4, 3)}, true);
    EXPECT_EQ(text(info.daqLists.at(0).odts), "a@0:4 b@4:3 | b#1@0:1");
    EXPECT_TRUE(info.pollVars.empty());
}

TEST(DaqInfo, PlansForCcpWithAnyOtherProtocol) {
    for (const std::uint32_t protoType : {0U, 2U, 0xFFFFFFFFU}) {
        for (const bool unlimited : {false, true}) {
            const DaqInfo info =
                getDaqInfo(configOf(protoType), {variable("a", 2, 3), variable("b", 13, 3)}, unlimited);
            ASSERT_EQ(info.daqLists.size(), 1U);
            EXPECT_EQ(text(info.daqLists.at(0).odts),
                      "a@0:1 a#1@1:1 b@2:1 b#1@3:1 b#2@4:1 b#3@5:1 b#4@6:1 | "
                      "b#5@0:1 b#6@1:1 b#7@2:1 b#8@3:1 b#9@4:1 b#10@5:1 b#11@6:1");
            EXPECT_EQ(text(info.finishedNames.at(3).at(0)), "a");
            EXPECT_EQ(text(info.pollVars), "b:1");
        }
    }
}

TEST(DaqInfo, AVariableWithAPeriodIsPolledOnly) {
    for (const std::uint32_t protoType : {0U, 1U}) {
        const DaqInfo info = getDaqInfo(configOf(protoType), {variable("a", 4, 3, 50)}, false);
        EXPECT_TRUE(info.daqLists.empty());
        EXPECT_TRUE(info.finishedNames.empty());
        ASSERT_EQ(info.pollVars.size(), 1U);
        EXPECT_EQ(copied(info.pollVars[0].period), 50);
    }
}

TEST(DaqInfo, DoesNotCheckVariablesAgainstTheMemoryOfTheEcu) {
    EcuProtoCfg cfg = configOf(1);
    cfg.dataSegments.push_back({});
    cfg.xcp.rejectZeroAddress = 1;
    mcMeasureVariable stray = variable("stray", 4, 3);
    stray.address = 0;
    EXPECT_EQ(text(getDaqInfo(cfg, {stray}, false).daqLists.at(0).odts), "stray@0:4");
}

}  // namespace
