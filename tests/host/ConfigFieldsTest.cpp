// What a configuration says of an ECU beside the things that every one needs.

#include "tests/host/ConfigTesting.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace {

using host_test::kGood;
using host_test::load;
using host_test::replaced;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

host::EcuRecord ecuWith(std::size_t index, const std::string& what, const std::string& with) {
    return load(replaced(kGood, what, with)).ecus.at(index);
}

TEST(ConfigFields, BusIsSimulatedUnlessItHasAUrl) {
    const host::Config config = load(replaced(kGood, "channel = 3", "channel = 3\nurl = \"socketcan:can0\""));
    EXPECT_EQ(config.buses[0].url, "socketcan:can0");
    EXPECT_EQ(config.buses[1].url, "sim:");
}

TEST(ConfigFields, DemoIsOptional) {
    EXPECT_TRUE(load(kGood).hasDemo);
    EXPECT_FALSE(load(replaced(kGood, "[demo]\nseconds = 2\nsilenced = \"b\"\n", "")).hasDemo);
}

TEST(ConfigFields, SingleTimeoutsStandBesideTheGeneralOnes) {
    const host::TimeoutRecord timeouts =
        ecuWith(0, "command_ms = 50", "command_ms = 50, t3_ms = 5000, t7_ms = 70, synch_period_ms = 300")
            .timeouts;
    EXPECT_THAT(timeouts.xcpMs, ElementsAre(0, 0, 5000, 0, 0, 0, 70));
    EXPECT_EQ(timeouts.synchPeriodMs, 300U);
    EXPECT_THAT(load(kGood).ecus[0].timeouts.xcpMs, ElementsAre(0, 0, 0, 0, 0, 0, 0));
}

TEST(ConfigFields, FramesAreAsTheEcuWantsThem) {
    const host::EcuRecord plain = load(kGood).ecus[1];
    EXPECT_TRUE(plain.bitRateSwitch) << "as fd";
    EXPECT_FALSE(plain.padFrames);
    EXPECT_FALSE(plain.broadcastId.has_value());
    const host::EcuRecord ecu = ecuWith(
        1, "fd = true",
        "fd = true\nbit_rate_switch = false\npad_frames = true\npad_byte = 0xAA\naccept_limits = true\n"
        "broadcast_id = 0x18DA00FF");
    EXPECT_FALSE(ecu.bitRateSwitch);
    EXPECT_TRUE(ecu.padFrames);
    EXPECT_EQ(ecu.padByte, 0xAA);
    EXPECT_TRUE(ecu.acceptLimits);
    EXPECT_EQ(ecu.broadcastId, 0x18DA00FFU);
}

TEST(ConfigFields, BlockModesAndGranularity) {
    const host::EcuRecord ecu = ecuWith(
        1, "block_mode = true", "master_block_mode = true\nmax_bs = 12\nmin_st = 3\naddress_granularity = 2");
    EXPECT_FALSE(ecu.blockMode);
    EXPECT_TRUE(ecu.masterBlockMode);
    EXPECT_EQ(ecu.maxBs, 12);
    EXPECT_EQ(ecu.minSt, 3);
    EXPECT_EQ(ecu.addressGranularity, 2);
    EXPECT_EQ(ecu.daq.entryGranularity, 2) << "as the addresses";
}

TEST(ConfigFields, DaqDefaultsAreThoseOfAnEcuThatMakesItsLists) {
    const host::DaqRecord daq = load(kGood).ecus[1].daq;
    EXPECT_TRUE(daq.dynamic);
    EXPECT_EQ(daq.maxLists, 0);
    EXPECT_EQ(daq.maxEntrySize, 6);
    EXPECT_EQ(daq.packMode, 2);
    EXPECT_EQ(daq.prescaler, 1);
    EXPECT_FALSE(daq.timestamps);
}

TEST(ConfigFields, PackingOfCcpIsByBytesUnlessTheFileSaysOtherwise) {
    EXPECT_EQ(ecuWith(2, "packing = \"bytes\", ", "").daq.packMode, 1);
}

TEST(ConfigFields, TimestampsAreAskedForIfThereAreAnyUnlessTheFileSaysOtherwise) {
    EXPECT_TRUE(load(kGood).ecus[0].daq.timestamps);
    const host::DaqRecord daq =
        ecuWith(0, "timestamp_size = 2",
                "timestamp_size = 2, timestamp = false, timestamp_unit = \"100us\", "
                "timestamp_ticks = 5, counter = true, prescaler = 4, poll_period_ms = 30")
            .daq;
    EXPECT_FALSE(daq.timestamps);
    EXPECT_EQ(daq.timestampUnit, 5);
    EXPECT_EQ(daq.timestampTicks, 5);
    EXPECT_TRUE(daq.counter);
    EXPECT_EQ(daq.prescaler, 4);
    EXPECT_EQ(daq.pollPeriodMs, 30);
}

TEST(ConfigFields, TimestampsGoFromPicosecondsToSeconds) {
    const std::vector<std::pair<std::string, int>> rows = {
        {"ps", 10}, {"100ps", 12}, {"ns", 0}, {"10ns", 1}, {"100ns", 2}, {"us", 3}, {"s", 9}};
    for (const auto& [word, code] : rows) {
        EXPECT_EQ(ecuWith(0, "timestamp_size = 2", "timestamp_size = 2, timestamp_unit = \"" + word + "\"")
                      .daq.timestampUnit,
                  code)
            << word;
    }
}

TEST(ConfigFields, EventsOfARealEcuCanBeFasterThanThoseOfASimulatedOne) {
    EXPECT_EQ(ecuWith(1, "cycle = 100, unit = \"us\"", "cycle = 50, unit = \"us\"").events[0].periodNs,
              50'000U);
}

TEST(ConfigFields, FlashOfARealEcuCanHaveManySectorsAndSegments) {
    EXPECT_EQ(
        ecuWith(2, "address = 0x8000, size = 0x400", "address = 0x8000, size = 0x10000").segments[2].size,
        0x10000U);
    const host::EcuRecord ecu =
        ecuWith(2, "address = 0x8000, size = 0x400 }",
                "address = 0x8000, size = 0x400 }, { kind = \"flash\", address = 0x9000, size = 0x100 }");
    EXPECT_EQ(ecu.segments[3].kind, host::SegmentKind::flash);
}

TEST(ConfigFields, PagesOfAnXcpSegmentCanBeBeyondSelection) {
    const std::string segment =
        "{ address = 0x2000, size = 0x10 }, { kind = \"calibration\", address = 0x3000, "
        "size = 8";
    EXPECT_TRUE(ecuWith(0, "{ address = 0x2000, size = 0x10 }", segment + " }").segments[2].paged);
    EXPECT_FALSE(
        ecuWith(0, "{ address = 0x2000, size = 0x10 }", segment + ", paged = false }").segments[2].paged);
}

TEST(ConfigFields, ListsThatAreAlwaysThereAreCounted) {
    EXPECT_EQ(load(kGood).ecus[0].daq.minLists, 0);
    EXPECT_EQ(ecuWith(0, "packing = \"whole\"", "packing = \"whole\", min_lists = 3").daq.minLists, 3);
}

TEST(ConfigFields, EcusMayListenToOneBroadcast) {
    const std::string both =
        host_test::replaced(kGood, "response_id = 0x601", "response_id = 0x601\nbroadcast_id = 0x7F0");
    EXPECT_EQ(
        load(host_test::replaced(both, "response_id = 0x701", "response_id = 0x701\nbroadcast_id = 0x7F0"))
            .ecus[2]
            .broadcastId,
        0x7F0U);
}

TEST(ConfigFields, StaticListsOfXcpAreAllThereAre) {
    const host::DaqRecord daq =
        ecuWith(
            0, "identification = \"relative word\"",
            "dynamic = false, list = [{ odts = 3, odt_bytes = 5, first_pid = 4, id = 0x610, fixed_event = "
            "\"slow\" }, { odts = 2, first_pid = 7 }]")
            .daq;
    EXPECT_FALSE(daq.dynamic);
    EXPECT_EQ(daq.maxLists, 2);
    ASSERT_EQ(daq.lists.size(), 2U);
    EXPECT_EQ(daq.lists[0].odts, 3);
    EXPECT_EQ(daq.lists[0].odtBytes, 5);
    EXPECT_EQ(daq.lists[0].firstPid, 4);
    EXPECT_EQ(daq.lists[0].id, 0x610U);
    EXPECT_EQ(daq.lists[0].fixedEvent, 1);
    EXPECT_FALSE(daq.lists[1].fixedEvent.has_value());
}

TEST(ConfigFields, ListsOfCcpCanBeLeftUnusedAndUnasked) {
    const host::DaqRecord daq =
        ecuWith(2, "packing = \"bytes\"", "first_list = 1, query_daq_sizes = false, prescaler = 3").daq;
    EXPECT_EQ(daq.firstList, 1);
    EXPECT_FALSE(daq.querySizes);
    EXPECT_EQ(daq.prescaler, 3);
    EXPECT_TRUE(load(kGood).ecus[2].daq.querySizes);
}

TEST(ConfigFields, EventsThatAreNotCyclicHaveNoPeriod) {
    const host::EventRecord event = ecuWith(0, "cycle = 5, unit = \"ms\", priority = 9",
                                            "cycle = 0, unit = \"ms\", max_lists = 2, ids = [0x610, 0x611]")
                                        .events[0];
    EXPECT_EQ(event.periodNs, 0U);
    EXPECT_EQ(event.maxLists, 2);
    EXPECT_THAT(event.ids, ElementsAre(0x610, 0x611));
    EXPECT_EQ(load(kGood).ecus[0].events[0].maxLists, 0xFF);
}

TEST(ConfigFields, SegmentsHaveExtensionsPagesAndChecksums) {
    const std::vector<host::SegmentRecord> segments =
        ecuWith(0, "{ address = 0x2000, size = 0x10 }",
                "{ address = 0x2000, size = 0x10, extension = 3, checksum = \"none\", checksum_block = 64 }, "
                "{ address = 0x2000, size = 0x10 }, { kind = \"calibration\", address = 0x3000, size = 0x20, "
                "number = 4, working_page = 1, reference_page = 2 }")
            .segments;
    ASSERT_EQ(segments.size(), 4U) << "the second does not overlap the third, which has another extension";
    EXPECT_EQ(segments[1].extension, 3);
    EXPECT_EQ(segments[1].checksum, 0);
    EXPECT_EQ(segments[1].checksumBlock, 64U);
    EXPECT_FALSE(segments[2].checksum.has_value());
    EXPECT_EQ(segments[3].number, 4);
    EXPECT_EQ(segments[3].workingPage, 1);
    EXPECT_EQ(segments[3].referencePage, 2);
}

TEST(ConfigFields, VariableHasATypeOfItsOwnOrThatOfItsSignal) {
    const host::EcuRecord ecu = ecuWith(0, "{ name = \"raw\", address = 0x1050, size = 3, event = \"slow\" }",
                                        "{ name = \"raw\", address = 0x1050, size = 3, event = \"slow\" }, { "
                                        "name = \"one\", address = 0x1050, type "
                                        "= \"i16\", event = \"slow\" }, { name = \"many\", address = 0x1050, "
                                        "type = \"f32\", size = 12 }, { name "
                                        "= \"state\", signal = \"mode\" }");
    const std::vector<std::pair<host::ValueType, std::uint32_t>> expected = {
        {host::ValueType::u32, 4}, {host::ValueType::f32, 12}, {host::ValueType::bytes, 3},
        {host::ValueType::i16, 2}, {host::ValueType::f32, 12}, {host::ValueType::bytes, 17}};
    ASSERT_EQ(ecu.variables.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(std::pair(ecu.variables[i].type, ecu.variables[i].size), expected[i]) << i;
    }
}

TEST(ConfigFields, VariableWithoutAnEventIsPolledEverySecond) {
    EXPECT_EQ(ecuWith(0, "size = 3, event = \"slow\"", "size = 3").variables[2].periodMs, 1000);
    EXPECT_EQ(ecuWith(0, "size = 3, event = \"slow\"", "size = 3, period_ms = 20").variables[2].periodMs, 20);
}

TEST(ConfigFields, VariablesMayLieAnywhereWhereNoSegmentsAreKnown) {
    const host::EcuRecord ecu =
        ecuWith(1, "{ name = \"none\", address = 0,", "{ name = \"far\", address = 0x7000,");
    EXPECT_THAT(ecu.segments, IsEmpty());
    EXPECT_EQ(ecu.variables[0].address, 0x7000U);
}

TEST(ConfigFields, ParameterIsAVariableWithAValue) {
    const host::EcuRecord ecu =
        ecuWith(2, "value = -2", "value = -2, unit = \"Nm\", factor = 0.25, offset = 3");
    const host::VariableRecord* gain = ecu.find("gain");
    ASSERT_NE(gain, nullptr);
    EXPECT_EQ(gain->type, host::ValueType::i16);
    EXPECT_EQ(gain->size, 2U);
    EXPECT_EQ(gain->unit, "Nm");
    EXPECT_EQ(gain->factor, 0.25);
    EXPECT_EQ(gain->offset, 3.0);
}

TEST(ConfigFields, VariablesAreFoundByName) {
    const host::EcuRecord ecu = load(kGood).ecus[0];
    EXPECT_EQ(ecu.find("wave"), &ecu.variables[1]);
    EXPECT_EQ(ecu.find("wav"), nullptr);
}

TEST(ConfigFields, SeedAndKeyLibraryIsLookedForBesideTheFile) {
    const host_test::TempFile file(replaced(
        kGood, "seed_key = \"sim:\"",
        "seed_key = \"../lib/./key.so\", entry = \"getKey\", success = \"nonzero\", time_ms = 300, helper = "
        "\"/opt/helper\", unlock = [\"daq\", \"programming\"]"));
    const host::SecurityRecord security = host::loadConfig(file.path()).ecus[0].security;
    const std::filesystem::path folder = std::filesystem::path(file.path()).parent_path();
    EXPECT_EQ(security.seedKey, (folder / "../lib/key.so").lexically_normal().string());
    EXPECT_EQ(security.entry, "getKey");
    EXPECT_EQ(security.zeroIsSuccess, false);
    EXPECT_EQ(security.timeMs, 300U);
    EXPECT_EQ(security.helper, "/opt/helper");
    EXPECT_EQ(security.unlockMask, 0x14U);
}

TEST(ConfigFields, SeedAndKeyOfASchemeIsNoPath) {
    EXPECT_EQ(load(kGood).ecus[0].security.seedKey, "sim:");
    EXPECT_EQ(ecuWith(0, "\"sim:\"", "\"other:here\"").security.seedKey, "other:here");
    const host::SecurityRecord security = load(kGood).ecus[0].security;
    EXPECT_EQ(security.timeMs, 2000U);
    EXPECT_FALSE(security.zeroIsSuccess.has_value());
    EXPECT_EQ(security.unlockMask, 0xFFFFFFFFU);
}

}  // namespace
