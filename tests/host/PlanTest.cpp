// What a measurement will be, and what it takes of the bus. Bits of frames are worked by hand: a classic
// frame with an identifier of 11 bits and n bytes has 47 + 8 n bits, and at most (33 + 8 n) / 4 stuff bits.

#include "host/MeasurePlan.h"
#include "host/PlanPrint.h"
#include "host/PollTraffic.h"
#include "tests/host/ConfigTesting.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using host_test::load;
using host_test::replaced;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const std::string kXcp = R"(schema = 1
[[bus]]
name = "one"
channel = 0
nominal_rate = 500_000
[[ecu]]
name = "x"
bus = "one"
command_id = 0x600
response_id = 0x601
byte_order = "little"
reject_zero_address = true
commands = [0xF4]
timeouts = { status_period_ms = 0 }
event = [{ name = "cycle", cycle = 10, unit = "ms" }, { name = "once", cycle = 0, unit = "ms" }]
daq = { packing = "fill" }
variables = [
    { name = "a", address = 0x10, type = "u32", event = "cycle" },
    { name = "b", address = 0x14, type = "u32", event = "cycle" },
    { name = "c", address = 0x18, type = "u16", event = "cycle" },
]
)";

const std::string kCcp = R"(schema = 1
[[bus]]
name = "one"
channel = 0
nominal_rate = 500_000
[[ecu]]
name = "x"
protocol = "ccp"
bus = "one"
command_id = 0x600
response_id = 0x601
byte_order = "little"
commands = [0x0F]
event = [{ name = "fast", cycle = 10, unit = "ms" }, { name = "slow", cycle = 20, unit = "ms" }]
daq = { packing = "whole", list = [{ odts = 1, first_pid = 0, events = ["fast"], id = 0x610 }] }
variables = [
    { name = "a", address = 0x10, type = "u32", event = "fast" },
    { name = "b", address = 0x14, type = "u32", event = "fast" },
    { name = "c", address = 0x18, type = "u16", event = "slow" },
    { name = "d", address = 0x1A, size = 7, event = "fast" },
]
)";

host::EcuPlan planOf(const std::string& content) {
    const host::Config config = load(content);
    return host::planMeasurement(config, 0, config.ecus[0].variables, false);
}

host::EcuPlan planWith(const std::string& content, const std::string& what, const std::string& with) {
    return planOf(replaced(content, what, with));
}

TEST(BusLoad, WorstFrameHasAllStuffBits) {
    const host::Config config = load(kXcp);
    const sim::Frame frame = host::frameShape(config.ecus[0], 0x601, 8);
    const host::BusShare share = host::shareOf(frame, 100.0, config.buses[0]);
    EXPECT_NEAR(share.worstPercent, 2.7, 1e-9);  // 111 and 24 bits, 100 times, of 500,000
    EXPECT_GT(share.averagePercent, 2.22) << "without stuff bits";
    EXPECT_LT(share.averagePercent, 2.5);
    EXPECT_EQ(share.framesPerSecond, 100.0);
}

TEST(BusLoad, FramesAreNotLongerThanTheBusTakes) {
    const host::Config config = load(kXcp);
    EXPECT_EQ(host::frameShape(config.ecus[0], 0x601, 20).length, 8);
    EXPECT_EQ(host::frameShape(config.ecus[0], 0x601, 5).length, 5);
}

TEST(MeasurePlan, ListTellsPacketsBytesAndLoad) {
    const host::EcuPlan plan = planOf(kXcp);
    ASSERT_THAT(plan.lists, SizeIs(1));
    const host::PlannedList& list = plan.lists[0];
    EXPECT_EQ(list.eventName, "cycle");
    EXPECT_EQ(list.periodNs, 10'000'000U);
    EXPECT_EQ(list.id, 0x601U);
    EXPECT_EQ(list.odts, 2U);
    EXPECT_EQ(list.bytes, 10U);
    EXPECT_THAT(list.names, ElementsAre("a", "b", "c"));
    EXPECT_EQ(list.share.framesPerSecond, 200.0);
    EXPECT_NEAR(list.share.worstPercent, 4.6, 1e-9);  // 6 bytes of a list at most: 7 and 5, 125 and 105 bits
    EXPECT_THAT(plan.polled, IsEmpty());
    EXPECT_THAT(plan.rejected, IsEmpty());
    EXPECT_EQ(plan.keepAlive.framesPerSecond, 0.0);
}

TEST(MeasurePlan, PrescalerLengthensTheCycle) {
    const host::EcuPlan plan = planWith(kXcp, "packing = \"fill\"", "packing = \"fill\", prescaler = 4");
    EXPECT_EQ(plan.lists.at(0).periodNs, 40'000'000U);
    EXPECT_EQ(plan.lists.at(0).share.framesPerSecond, 50.0);
}

TEST(MeasurePlan, TimestampAndListNumberTakeRoomOfThePackets) {
    const host::EcuPlan plan =
        planWith(kXcp, "packing = \"fill\"",
                 "packing = \"fill\", timestamp_size = 4, identification = \"relative byte\"");
    EXPECT_EQ(plan.lists.at(0).odts, 3U) << "2 bytes, 6 bytes, 2 bytes";
    EXPECT_NEAR(plan.lists.at(0).share.worstPercent, 7.3, 1e-9);  // 8, 8 and 4 bytes: 135, 135 and 95 bits
}

TEST(MeasurePlan, ChannelThatIsNotCyclicHasNoLoad) {
    const host::EcuPlan plan =
        planWith(kXcp, "type = \"u32\", event = \"cycle\"", "type = \"u32\", event = \"once\"");
    ASSERT_THAT(plan.lists, SizeIs(2));
    EXPECT_EQ(plan.lists[1].eventName, "once");
    EXPECT_EQ(plan.lists[1].periodNs, 0U);
    EXPECT_EQ(plan.lists[1].odts, 1U);
    EXPECT_EQ(plan.lists[1].share.framesPerSecond, 0.0);
}

TEST(MeasurePlan, PeriodIsAReasonToPoll) {
    const host::EcuPlan plan = planWith(kXcp, "type = \"u16\", event = \"cycle\"",
                                        "type = \"u16\", event = \"cycle\", period_ms = 50");
    ASSERT_THAT(plan.polled, SizeIs(1));
    EXPECT_EQ(plan.polled[0].name, "c");
    EXPECT_EQ(plan.polled[0].periodMs, 50);
    EXPECT_EQ(plan.polled[0].reason, "a period is given");
    EXPECT_EQ(plan.polled[0].share.framesPerSecond, 40.0) << "a command and an answer, 20 times";
}

TEST(MeasurePlan, MissingEventIsAReasonToPoll) {
    const host::EcuPlan plan = planWith(kXcp, "type = \"u16\", event = \"cycle\"", "type = \"u16\"");
    ASSERT_THAT(plan.polled, SizeIs(1));
    EXPECT_EQ(plan.polled[0].name, "c");
    EXPECT_EQ(plan.polled[0].periodMs, 1000);
    EXPECT_EQ(plan.polled[0].reason, "no event channel is given");
}

TEST(MeasurePlan, VariablesOfAPredefinedListThatTheLibraryDoesNotDeliverAreMarked) {
    const std::string lists =
        "packing = \"fill\", dynamic = false, list = [{ odts = 1 }, { first_pid = 1, odts = "
        "3, fixed_event = \"once\" }]";
    const std::string content = replaced(replaced(kXcp, "packing = \"fill\"", lists),
                                         "address = 0x18, type = \"u16\", event = \"cycle\"",
                                         "address = 0x18, type = \"u16\", event = \"once\"");
    // One list is taken as the second is planned: its number is the one that the library counts with.
    EXPECT_THAT(planWith(content, "address = 0x14, type = \"u32\", event = \"cycle\"",
                         "address = 0x14, type = \"u8\", event = \"cycle\"")
                    .undelivered,
                IsEmpty());
    const host::Config config = load(content);
    const std::vector<host::VariableRecord> last{config.ecus[0].variables[2]};
    const host::EcuPlan plan = host::planMeasurement(config, 0, last, false);
    ASSERT_THAT(plan.lists, SizeIs(1));
    EXPECT_EQ(plan.lists[0].number, 1);
    ASSERT_THAT(plan.undelivered, SizeIs(1));
    EXPECT_EQ(plan.undelivered[0].name, "c");
    EXPECT_EQ(plan.undelivered[0].reason,
              "the library delivers nothing of the predefined list 1; leave its fixed_event out");
    EXPECT_THAT(host::planLines(config, {plan}), ::testing::Contains("  not delivered"));
}

TEST(MeasurePlan, VariableThatGoesOnInAFurtherListIsDelivered) {
    const host::EcuPlan plan =
        planWith(kXcp, "packing = \"fill\"",
                 "packing = \"fill\", dynamic = false, list = [{ odts = 1 }, { first_pid = 1, odts = 1 }]");
    EXPECT_THAT(plan.lists, SizeIs(2));
    EXPECT_THAT(plan.undelivered, IsEmpty());
}

TEST(MeasurePlan, ConfigurationCanHaveEverythingPolled) {
    const host::EcuPlan plan =
        planWith(kXcp, "packing = \"fill\"", "packing = \"fill\", poll_period_ms = 100");
    EXPECT_THAT(plan.lists, IsEmpty());
    ASSERT_THAT(plan.polled, SizeIs(3));
    EXPECT_EQ(plan.polled[2].periodMs, 100);
    EXPECT_EQ(plan.polled[2].reason, "the configuration polls everything");
}

TEST(MeasurePlan, VariableThatIsTooLargeAloneIsPolled) {
    const host::EcuPlan plan = planWith(replaced(kXcp, "packing = \"fill\"", "packing = \"whole\""),
                                        "type = \"u16\", event", "size = 12, event");
    ASSERT_THAT(plan.polled, SizeIs(1));
    EXPECT_EQ(plan.polled[0].name, "c");
    EXPECT_EQ(plan.polled[0].periodMs, 10) << "the cycle of its event channel";
    EXPECT_EQ(plan.polled[0].reason, "its 12 bytes do not fit into a DAQ list, even alone");
}

TEST(MeasurePlan, ChannelWithoutListsIsAReasonToPoll) {
    const host::EcuPlan plan =
        planWith(kXcp, "cycle = 10, unit = \"ms\"", "cycle = 10, unit = \"ms\", max_lists = 0");
    EXPECT_THAT(plan.lists, IsEmpty());
    ASSERT_THAT(plan.polled, SizeIs(3));
    EXPECT_EQ(plan.polled[0].reason, "its event channel drives no DAQ list");
}

TEST(MeasurePlan, FullListsAreAReasonToPollAndUnlimitedOnesAreNot) {
    const std::string small =
        replaced(kXcp, "packing = \"fill\"", "packing = \"whole\", dynamic = false, list = [{ odts = 1 }]");
    const host::EcuPlan plan = planOf(small);
    ASSERT_THAT(plan.polled, SizeIs(2)) << "an ODT ends with the first variable that has no room";
    EXPECT_EQ(plan.polled[0].name, "b");
    EXPECT_EQ(plan.polled[0].reason, "the DAQ lists are full");
    EXPECT_EQ(plan.polled[1].reason, "the DAQ lists are full");
    const host::Config config = load(small);
    EXPECT_THAT(host::planMeasurement(config, 0, config.ecus[0].variables, true).polled, IsEmpty());
}

TEST(MeasurePlan, VariableAtAddressZeroIsRejectedNotPolled) {
    const host::EcuPlan plan = planWith(kXcp, "address = 0x18", "address = 0");
    ASSERT_THAT(plan.rejected, SizeIs(1));
    EXPECT_EQ(plan.rejected[0].name, "c");
    EXPECT_EQ(plan.rejected[0].reason, "it is at address 0, and reject_zero_address is set");
    EXPECT_THAT(plan.polled, IsEmpty());
}

TEST(MeasurePlan, CcpPlansIntoTheListsThatSuitTheEvent) {
    const host::EcuPlan plan = planOf(kCcp);
    ASSERT_THAT(plan.lists, SizeIs(1));
    EXPECT_EQ(plan.lists[0].id, 0x610U);
    EXPECT_THAT(plan.lists[0].names, ElementsAre("a"));
    EXPECT_NEAR(plan.lists[0].share.worstPercent, 2.7, 1e-9)
        << "packets of CCP have 8 bytes, whatever is in them";
    ASSERT_THAT(plan.polled, SizeIs(3));
    std::vector<std::string> reasons;
    for (const host::PolledVariable& variable : plan.polled) {
        reasons.push_back(variable.name + ": " + variable.reason);
    }
    EXPECT_THAT(reasons, ::testing::UnorderedElementsAre(
                             "b: the DAQ lists are full", "c: its event channel drives no DAQ list",
                             "d: its 7 bytes do not fit into a DAQ list, even alone"));
}

TEST(PollTraffic, FramesAreThoseOfTheCommandsThatTheLibraryReadsWith) {
    struct Row {
        bool ccp;
        bool shortUpload;
        bool blockMode;
        std::uint32_t size;
        double frames;
    };
    const std::vector<Row> rows = {
        {false, true, false, 4, 2},   // SHORT_UPLOAD
        {false, true, false, 5, 4},   // SET_MTA, UPLOAD of 5
        {false, false, false, 2, 4},  // SET_MTA, UPLOAD of 2
        {false, true, false, 14, 6},  // SET_MTA, two UPLOAD of 7
        {false, true, true, 15, 6},   // SET_MTA, one UPLOAD with three answers
        {true, true, false, 5, 2},    // SHORT_UP
        {true, true, false, 6, 6},    // SET_MTA, UPLOAD of 5 and of 1
        {true, false, false, 1, 4},   // SET_MTA, UPLOAD of 1
    };
    const host::BusRecord bus = load(kXcp).buses[0];
    for (const Row& row : rows) {
        host::EcuRecord ecu = load(row.ccp ? kCcp : kXcp).ecus[0];
        ecu.blockMode = row.blockMode;
        if (!row.shortUpload) {
            ecu.commands.clear();
        }
        EXPECT_EQ(host::readShare(ecu, bus, row.size, 1.0).framesPerSecond, row.frames)
            << (row.ccp ? "CCP " : "XCP ") << row.size;
    }
}

TEST(PollTraffic, KeepAliveIsACommandAndAnAnswerPerPeriod) {
    const host::BusRecord bus = load(kXcp).buses[0];
    host::EcuRecord xcp = load(kXcp).ecus[0];
    xcp.timeouts.statusPeriodMs = 200;
    xcp.timeouts.synchPeriodMs = 500;
    EXPECT_EQ(host::keepAliveShare(xcp, bus).framesPerSecond, 14.0);
    host::EcuRecord ccp = load(kCcp).ecus[0];
    EXPECT_EQ(host::keepAliveShare(ccp, bus).framesPerSecond, 0.0) << "it has no GET_S_STATUS";
    ccp.commands.push_back(0x0D);
    EXPECT_EQ(host::keepAliveShare(ccp, bus).framesPerSecond, 2.0);
}

TEST(PlanPrint, TableNamesListsPolledVariablesAndBuses) {
    const host::Config config = load(kCcp);
    const std::vector<std::string> lines =
        host::planLines(config, {host::planMeasurement(config, 0, config.ecus[0].variables, false)});
    ASSERT_THAT(lines, SizeIs(10));
    EXPECT_EQ(lines[0], "x: CCP on one");
    EXPECT_EQ(lines[1], "  event               cycle  list  ODTs  bytes   frames/s     load");
    EXPECT_THAT(lines[2],
                ::testing::StartsWith("  fast                10 ms     0     1      4      100.0    2."));
    EXPECT_EQ(lines[3], "      a");
    EXPECT_EQ(lines[4], "  polled");
    EXPECT_THAT(lines[9], ::testing::StartsWith("one: "));
    EXPECT_THAT(lines[9], HasSubstr(" frames/s"));
}

}  // namespace
