// Reading of configurations: the example, and each mistake by its message.

#include "tests/host/ConfigTesting.h"
#include "tests/host/Places.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using ::testing::ElementsAre;

using host_test::kGood;
using host_test::load;

TEST(Config, ReadsBusesAndDemo) {
    const host::Config config = load(kGood);
    ASSERT_EQ(config.buses.size(), 2U);
    EXPECT_EQ(config.buses[0].channel, 3);
    EXPECT_EQ(config.buses[0].nominalRate, 500'000U);
    EXPECT_FALSE(config.buses[0].dataRate.has_value());
    EXPECT_EQ(config.buses[1].dataRate, 4'000'000U);
    EXPECT_EQ(config.demo.seconds, 2.0);
    EXPECT_EQ(config.demo.silenced, 1U);
}

TEST(Config, ReadsIdentityAndProtocolOfAnEcu) {
    const host::Config config = load(kGood);
    ASSERT_EQ(config.ecus.size(), 3U);
    const host::EcuRecord& a = config.ecus[0];
    EXPECT_FALSE(a.ccp);
    EXPECT_EQ(a.checksum, 9) << "CRC-32 where nothing stands";
    EXPECT_EQ(a.bus, 0U);
    EXPECT_EQ(a.commandId, 0x600U);
    EXPECT_EQ(a.responseId, 0x601U);
    EXPECT_EQ(a.maxCto, 8);
    EXPECT_THAT(a.commands, ElementsAre(0xF8, 0xDA));
    const host::EcuRecord& b = config.ecus[1];
    EXPECT_TRUE(b.extended && b.fd && b.blockMode && b.rejectZeroAddress);
    EXPECT_EQ(b.byteOrder, sim::ByteOrder::motorola);
    EXPECT_EQ(b.commandId, 0x18DA0001U);
    EXPECT_EQ(b.maxCto, 32);
    EXPECT_EQ(b.maxDto, 48);
}

TEST(Config, ReadsTimeoutsLocksAndDaqFacts) {
    const host::EcuRecord ecu = load(kGood).ecus[0];
    EXPECT_EQ(ecu.timeouts.commandMs, 50);
    EXPECT_EQ(ecu.timeouts.longMs, 900);
    EXPECT_EQ(ecu.timeouts.statusPeriodMs, 400U);
    EXPECT_EQ(ecu.timeouts.budgetMs(), 221U);  // 4 times 50 and 3 times 7
    ASSERT_EQ(ecu.security.locks.size(), 1U);
    EXPECT_EQ(ecu.security.locks[0].resource, 0x04);
    EXPECT_EQ(ecu.security.locks[0].seedLength, 9);
    EXPECT_EQ(ecu.daq.idField, 2);
    EXPECT_EQ(ecu.daq.maxEntrySize, 6);
    EXPECT_EQ(ecu.daq.maxOdts, 40);
    EXPECT_EQ(ecu.daq.maxEntries, 90);
    EXPECT_EQ(ecu.daq.timestampSize, 2);
    EXPECT_EQ(ecu.daq.packMode, 0);
}

TEST(Config, ReadsEventsAndSegments) {
    const host::EcuRecord ecu = load(kGood).ecus[0];
    ASSERT_EQ(ecu.events.size(), 2U);
    EXPECT_EQ(ecu.events[0].periodNs, 5'000'000U);
    EXPECT_EQ(ecu.events[0].priority, 9);
    EXPECT_EQ(ecu.events[1].unit, 8);
    EXPECT_EQ(ecu.events[1].periodNs, 200'000'000U);
    ASSERT_EQ(ecu.segments.size(), 2U);
    EXPECT_TRUE(ecu.segments[0].writable);
    EXPECT_FALSE(ecu.segments[1].writable);
}

TEST(Config, ReadsSignals) {
    const host::EcuRecord ecu = load(kGood).ecus[0];
    ASSERT_EQ(ecu.signals.size(), 5U);
    EXPECT_EQ(ecu.signals[0].first.kind, sim::SignalKind::counter);
    EXPECT_EQ(ecu.signals[0].first.phase, 4U);
    EXPECT_EQ(ecu.signals[1].first.event, 1);
    EXPECT_EQ(ecu.signals[1].size(), 12U);
    EXPECT_EQ(ecu.signals[1].first.amplitude, 2.0);
    EXPECT_THAT(ecu.signals[2].first.texts, ElementsAre("off", "on"));
    EXPECT_EQ(ecu.signals[2].size(), 17U);
    EXPECT_EQ(ecu.signals[3].first.step, -3.0);
    EXPECT_EQ(ecu.signals[4].first.offset, 77.0);
}

TEST(Config, VariableLiesWhereItsSignalLiesOrWhereTheFileSays) {
    const host::EcuRecord ecu = load(kGood).ecus[0];
    ASSERT_EQ(ecu.variables.size(), 3U);
    EXPECT_EQ(ecu.variables[1].address, 0x1010U);
    EXPECT_EQ(ecu.variables[1].size, 12U);
    EXPECT_EQ(ecu.variables[1].event, 1);
    EXPECT_EQ(ecu.variables[1].periodMs, 20);
    EXPECT_EQ(ecu.variables[1].factor, 0.5);
    EXPECT_EQ(ecu.variables[1].offset, -1.0);
    EXPECT_FALSE(ecu.variables[2].signal.has_value());
    EXPECT_EQ(ecu.variables[2].size, 3U);
}

TEST(Config, VariableAtAddressZeroIsOneToReject) {
    const host::Config config = load(kGood);
    EXPECT_TRUE(config.ecus[1].rejects(config.ecus[1].variables[0]));
    EXPECT_FALSE(config.ecus[0].rejects(config.ecus[0].variables[2]));
}

TEST(Config, ReadsWhatOnlyACcpEcuHas) {
    const host::EcuRecord ecu = load(kGood).ecus[2];
    EXPECT_TRUE(ecu.ccp);
    EXPECT_EQ(ecu.stationAddress, 0x1234);
    EXPECT_EQ(ecu.checksum, 2);
    EXPECT_EQ(ecu.timeouts.budgetMs(), 126U);  // 3 times 40 and 2 times 3
    ASSERT_EQ(ecu.security.locks.size(), 2U);
    EXPECT_EQ(ecu.security.locks[0].resource, 0x02);
    EXPECT_EQ(ecu.security.locks[1].resource, 0x40);
    EXPECT_EQ(ecu.security.locks[1].seedLength, 4);
    EXPECT_EQ(ecu.daq.packMode, 1);
    ASSERT_EQ(ecu.daq.lists.size(), 2U);
    EXPECT_EQ(ecu.daq.lists[0].odts, 3);
    EXPECT_EQ(ecu.daq.lists[0].firstPid, 4);
    EXPECT_EQ(ecu.daq.lists[0].id, 0x702U);
    EXPECT_THAT(ecu.daq.lists[0].events, ElementsAre(1, 0));
    EXPECT_FALSE(ecu.daq.lists[1].id.has_value());
    EXPECT_THAT(ecu.daq.lists[1].events, ::testing::IsEmpty());
}

TEST(Config, ReadsCalibrationPagesAndFlash) {
    const host::EcuRecord ecu = load(kGood).ecus[2];
    ASSERT_EQ(ecu.segments.size(), 3U);
    EXPECT_EQ(ecu.segments[0].kind, host::SegmentKind::ram);
    EXPECT_EQ(ecu.segments[1].kind, host::SegmentKind::calibration);
    EXPECT_EQ(ecu.segments[1].address, 0x2000U);
    EXPECT_EQ(ecu.segments[1].referenceAddress, 0x3000U);
    EXPECT_EQ(ecu.segments[2].kind, host::SegmentKind::flash);
    EXPECT_EQ(ecu.flash.sectorSize, 0x100U);
    EXPECT_EQ(ecu.flash.eraseMs, 7U);
    EXPECT_EQ(ecu.flash.programUs, 90U);
}

TEST(Config, ParameterHoldsTheBytesOfItsValueInTheOrderOfTheEcu) {
    const host::EcuRecord ecu = load(kGood).ecus[2];
    ASSERT_EQ(ecu.parameters.size(), 2U);
    EXPECT_EQ(ecu.parameters[0].address, 0x207EU);
    EXPECT_THAT(ecu.parameters[0].bytes, ElementsAre(0xFF, 0xFE));
    EXPECT_THAT(ecu.parameters[1].bytes, ElementsAre(0x3F, 0xC0, 0x00, 0x00));
}

TEST(Config, PagesOfAnXcpEcuLieAtOneAddress) {
    const host::EcuRecord ecu =
        load(host_test::replaced(kGood, "{ address = 0x2000, size = 0x10 }",
                                 "{ address = 0x2000, size = 0x10 }, { kind = \"calibration\", address = "
                                 "0x3000, size = 0x20 }"))
            .ecus[0];
    ASSERT_EQ(ecu.segments.size(), 3U);
    EXPECT_EQ(ecu.segments[2].referenceAddress, 0x3000U);
}

TEST(Config, ExampleIsGoodAndHasThirtyVariablesPerEcu) {
    const host::Config config =
        host::loadConfig(std::string(host_test::kProjectFolder) + "/examples/demo.toml");
    ASSERT_EQ(config.ecus.size(), 3U);
    for (const host::EcuRecord& ecu : config.ecus) {
        EXPECT_EQ(ecu.variables.size(), 30U) << ecu.name;
    }
    EXPECT_TRUE(config.ecus[2].ccp);
}

TEST(Config, MissingFileIsNamedWithTheReason) {
    try {
        static_cast<void>(host::loadConfig("/nowhere/demo.toml"));
        FAIL() << "no error";
    } catch (const host::ConfigError& error) {
        EXPECT_STREQ(error.what(), "/nowhere/demo.toml: cannot be read: No such file or directory");
    }
}

TEST(Config, FolderIsNamedWithTheReason) {
    try {
        static_cast<void>(host::loadConfig("/"));
        FAIL() << "no error";
    } catch (const host::ConfigError& error) {
        EXPECT_STREQ(error.what(), "/: cannot be read: Is a directory");
    }
}

TEST(Config, EmptyFileHasNoSchema) {
    const host_test::TempFile file("");
    try {
        static_cast<void>(host::loadConfig(file.path()));
        FAIL() << "no error";
    } catch (const host::ConfigError& error) {
        EXPECT_THAT(error.what(), ::testing::HasSubstr("schema: is missing; give a whole number from 1"));
    }
}

TEST(Config, SecondEcuOnTheSameIdentifierAndBusIsRefused) {
    const std::string content =
        host_test::replaced(host_test::replaced(kGood, "bus = \"one\"", "bus = \"two\""),
                            "response_id = 0x18DA0002", "response_id = 0x601");
    try {
        static_cast<void>(load(content));
        FAIL() << "no error";
    } catch (const host::ConfigError& error) {
        EXPECT_THAT(error.what(), ::testing::HasSubstr(
                                      ":42: ecu.response_id: in \"b\": 0x601 is the response_id of \"a\" on "
                                      "the same bus; give another identifier"));
    }
}

}  // namespace
