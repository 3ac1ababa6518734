// Session commands of the simulated CCP ECU: stations, identification, status, services.
#include "tests/sim/CcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

/// Two stations on one command identifier, with one ear for both.
struct TwoStations {
    TwoStations() : first(configOf(1, 0x701)), second(configOf(0x0102, 0x702)) {
        first.powerOn(port);
        second.powerOn(port);
    }

    static CcpEcuConfig configOf(std::uint16_t station, std::uint32_t dtoId) {
        CcpEcuConfig config = smallCcpEcu();
        config.stationAddress = station;
        config.dtoId = dtoId;
        return config;
    }

    /// Identifiers of the stations that answered.
    std::vector<std::uint32_t> answering(const std::string& command) {
        port.sent.clear();
        first.onFrame(frameOf(0x700, command), port.now());
        second.onFrame(frameOf(0x700, command), port.now());
        std::vector<std::uint32_t> ids;
        for (const Frame& frame : port.sent) {
            ids.push_back(frame.id);
        }
        return ids;
    }

    FakePort port;
    CcpEcu first;
    CcpEcu second;
};

using Ids = std::vector<std::uint32_t>;

// Frames

TEST(CcpEcuFrames, AlwaysHaveEightBytesAndEchoTheCounter) {
    CcpEcuConfig config = smallCcpEcu();
    config.padByte = 0x55;
    CcpBench bench(config);
    EXPECT_EQ(bench.ask("01 27 01 00"), "ff 00 27 55 55 55 55 55");
    EXPECT_EQ(bench.ask("0d ff"), "ff 00 ff 00 00 55 55 55");
    EXPECT_EQ(bench.port.sent[0].id, 0x701U);
    EXPECT_FALSE(bench.port.sent[0].extended);
    EXPECT_FALSE(bench.port.sent[0].fd);
}

TEST(CcpEcuFrames, OfAnExtendedEcuHave29BitsInBothDirections) {
    CcpEcuConfig config = smallCcpEcu();
    config.extended = true;
    config.croId = 0x18000700;
    config.dtoId = 0x18000701;
    CcpBench bench(config);
    EXPECT_EQ(bench.ask("01 00 01 00"), "ff 00 00 00 00 00 00 00");
    EXPECT_EQ(bench.port.sent[0].id, 0x18000701U);
    EXPECT_TRUE(bench.port.sent[0].extended);
}

TEST(CcpEcuFrames, OfAnotherKindAreNotForTheEcu) {
    CcpBench bench(smallCcpEcu());
    Frame other = frameOf(0x702, "01 00 01 00");
    Frame extended = frameOf(0x700, "01 00 01 00");
    extended.extended = true;
    Frame fd = frameOf(0x700, "01 00 01 00");
    fd.fd = true;
    for (const Frame& frame : {other, extended, fd, frameOf(0x700, "01"), frameOf(0x700, "")}) {
        bench.ecu.onFrame(frame, 0);
    }
    EXPECT_EQ(bench.heard(), "");
    EXPECT_FALSE(bench.ecu.connected());
}

TEST(CcpEcuFrames, AreNotHeardWithoutPower) {
    CcpSession bench(smallCcpEcu());
    bench.ecu.powerOff();
    EXPECT_EQ(bench.ask("01 00 01 00"), "");
    bench.ecu.powerOn(bench.port);
    EXPECT_EQ(bench.ask("0d 01"), "");
    EXPECT_EQ(bench.ask("01 02 01 00"), "ff 00 02 00 00 00 00 00");
}

TEST(CcpEcuFrames, AreAnsweredAfterTheResponseDelay) {
    CcpEcuConfig config = smallCcpEcu();
    config.responseDelay = 2 * kMs;
    CcpBench bench(config);
    EXPECT_EQ(bench.ask("01 00 01 00"), "");
    EXPECT_EQ(bench.pass(2 * kMs - 1), "");
    EXPECT_EQ(bench.pass(1), "ff 00 00 00 00 00 00 00");
}

// Stations

TEST(CcpEcuConnect, TakesTheStationAddressLowByteFirstInBothByteOrders) {
    CcpEcuConfig config = smallCcpEcu();
    config.stationAddress = 0x0102;
    EXPECT_EQ(CcpBench(config).ask("01 00 02 01"), "ff 00 00 00 00 00 00 00");
    EXPECT_EQ(CcpBench(motorola(config)).ask("01 00 02 01"), "ff 00 00 00 00 00 00 00");
    EXPECT_EQ(CcpBench(motorola(config)).ask("01 00 01 02"), "");
}

TEST(CcpEcuConnect, ThatIsTooShortIsNobodys) {
    CcpBench bench(smallCcpEcu());
    EXPECT_EQ(bench.ask("01 00 01"), "");
    EXPECT_FALSE(bench.ecu.connected());
}

TEST(CcpEcuConnect, AgainIsAcknowledgedAndChangesNothing) {
    CcpSession bench(smallCcpEcu());
    EXPECT_EQ(bench.setUp({"0c 01 81", "01 02 01 00"}), "");
    EXPECT_EQ(bench.ask("0d 03"), "ff 00 03 81 00 00 00 00");
    EXPECT_EQ(bench.ecu.counters().sessions, 2U);
}

TEST(CcpEcuWithoutSession, AnswersOnlyConnectAndTest) {
    CcpBench bench(smallCcpEcu());
    for (int code = 0; code < 256; ++code) {
        const auto byte = static_cast<std::uint8_t>(code);
        const std::string answer = bench.ask(textOf(std::span(&byte, 1)) + " 07 00 00 00 00 00 00");
        EXPECT_EQ(answer, "") << code;
    }
    EXPECT_EQ(bench.ask("05 07 01 00"), "ff 00 07 00 00 00 00 00");
    EXPECT_EQ(bench.ask("01 08 01 00"), "ff 00 08 00 00 00 00 00");
}

TEST(CcpEcuStations, AnswerOnlyWhileConnected) {
    TwoStations stations;
    EXPECT_EQ(stations.answering("01 00 01 00"), Ids{0x701});
    EXPECT_EQ(stations.answering("0d 01"), Ids{0x701});
    EXPECT_EQ(stations.answering("01 02 02 01"), Ids{0x702});
    EXPECT_EQ(stations.answering("0d 03"), Ids{0x702});
    EXPECT_EQ(stations.answering("01 04 05 00"), Ids{}) << "a station that is not there";
    EXPECT_EQ(stations.answering("0d 05"), Ids{}) << "even that takes the others off line";
}

TEST(CcpEcuStations, AnswerTestAtTheirAddressWithoutBeingConnectedByIt) {
    TwoStations stations;
    EXPECT_EQ(stations.answering("05 00 02 01"), Ids{0x702});
    EXPECT_EQ(stations.answering("05 01 03 00"), Ids{});
    EXPECT_FALSE(stations.second.connected());
    EXPECT_EQ(stations.answering("01 02 01 00"), Ids{0x701});
    EXPECT_EQ(stations.answering("05 03 02 01"), Ids{0x702});
    EXPECT_EQ(stations.answering("0d 04"), Ids{0x701}) << "TEST takes nobody off line";
}

TEST(CcpEcuStations, KeepTheirSessionWhileAnotherIsConnected) {
    TwoStations stations;
    stations.answering("01 00 01 00");
    stations.answering("0c 01 83");
    stations.answering("02 02 00 00 10 10 00 00");
    stations.answering("01 03 02 01");
    stations.answering("0c 04 01");
    stations.answering("01 05 01 00");
    EXPECT_EQ(stations.first.sessionStatus(), 0x83);
    EXPECT_EQ(stations.second.sessionStatus(), 0x01);
    EXPECT_EQ(stations.answering("04 06 02"), Ids{0x701});
    EXPECT_EQ(textOf(stations.port.sent[0]), "ff 00 06 10 11 00 00 00");
}

TEST(CcpEcuDisconnect, TemporaryKeepsTheSession) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({"0c 01 83", "02 02 00 00 20 10 00 00"}), "");
    EXPECT_EQ(bench.ask("07 03 00 00 01 00"), "ff 00 03 00 00 00 00 00");
    EXPECT_FALSE(bench.ecu.connected());
    EXPECT_EQ(bench.ask("0d 04"), "");
    ASSERT_EQ(bench.setUp({"01 05 01 00"}), "");
    EXPECT_EQ(bench.ask("0d 06"), "ff 00 06 83 00 00 00 00");
    EXPECT_EQ(bench.ask("04 07 01"), "ff 00 07 20 00 00 00 00");
}

TEST(CcpEcuDisconnect, AtTheEndOfTheSessionForgetsIt) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({"0c 01 83", "02 02 00 00 20 10 00 00"}), "");
    EXPECT_EQ(bench.ask("07 03 01 00 01 00"), "ff 00 03 00 00 00 00 00");
    ASSERT_EQ(bench.setUp({"01 04 01 00"}), "");
    EXPECT_EQ(bench.ask("0d 05"), "ff 00 05 00 00 00 00 00");
    EXPECT_EQ(bench.ask("04 06 01"), "ff 32 06 00 00 00 00 00") << "the address is 0 again";
}

TEST(CcpEcuDisconnect, NeedsItsModeAndItsStation) {
    CcpSession bench(smallCcpEcu());
    EXPECT_EQ(bench.ask("07 01 02 00 01 00"), "ff 32 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("07 02 01 00 02 00"), "ff 32 02 00 00 00 00 00");
    EXPECT_EQ(bench.ask("07 03 01 00 01"), "ff 31 03 00 00 00 00 00");
    EXPECT_TRUE(bench.ecu.connected());
}

// Identification

TEST(CcpEcuVersion, IsThatOfTheEcuWhateverTheToolWants) {
    CcpEcuConfig config = smallCcpEcu();
    EXPECT_EQ(CcpSession(config).ask("1b 01 02 01"), "ff 00 01 02 01 00 00 00");
    EXPECT_EQ(CcpSession(config).ask("1b 01 09 09"), "ff 00 01 02 01 00 00 00");
    config.versionMajor = 3;
    config.versionMinor = 0;
    EXPECT_EQ(CcpSession(config).ask("1b 01 02 01"), "ff 00 01 03 00 00 00 00");
}

TEST(CcpEcuExchangeId, TellsLengthTypeAndMasksAndLeavesTheTextForUpload) {
    CcpEcuConfig config = smallCcpEcu();
    config.id = "ECU-7b";
    config.idType = 9;
    config.locks = {{.resource = 0x40}, {.resource = 0x01}};
    CcpSession bench(config);
    EXPECT_EQ(bench.ask("17 01 6d 61 73 74 00 00"), "ff 00 01 06 09 43 41 00");
    EXPECT_EQ(bench.ask("04 02 05"), "ff 00 02 45 43 55 2d 37");
    EXPECT_EQ(bench.ask("04 03 02"), "ff 32 03 00 00 00 00 00") << "behind the end of the text";
    EXPECT_EQ(bench.ask("04 04 01"), "ff 00 04 62 00 00 00 00");
}

TEST(CcpEcuExchangeId, WithoutATextHasLengthZero) {
    CcpEcuConfig config = smallCcpEcu();
    config.resources = ccp::kDaq;
    CcpSession bench(config);
    EXPECT_EQ(bench.ask("17 01"), "ff 00 01 00 00 02 00 00");
    EXPECT_EQ(bench.ask("04 02 01"), "ff 32 02 00 00 00 00 00");
}

TEST(CcpEcuText, CanBeNeitherWrittenNorMovedNorChecked) {
    CcpEcuConfig config = smallCcpEcu();
    config.id = "ECU";
    CcpSession bench(config);
    ASSERT_EQ(bench.setUp({"17 01"}), "");
    EXPECT_EQ(bench.ask("03 02 01 aa"), "ff 33 02 00 00 00 00 00");
    EXPECT_EQ(bench.ask("23 03 01 02 03 04 05 06"), "ff 33 03 00 00 00 00 00");
    EXPECT_EQ(bench.ask("19 04 01 00 00 00"), "ff 33 04 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0e 05 01 00 00 00"), "ff 33 05 00 00 00 00 00");
    EXPECT_EQ(bench.ask("10 06 01 00 00 00"), "ff 33 06 00 00 00 00 00");
    EXPECT_EQ(bench.ask("18 07 01 00"), "ff 33 07 00 00 00 00 00");
    EXPECT_EQ(bench.ask("11 08"), "ff 32 08 00 00 00 00 00");
}

// Status

TEST(CcpEcuStatus, IsWhatTheToolSet) {
    CcpSession bench(smallCcpEcu());
    EXPECT_EQ(bench.ask("0d 01"), "ff 00 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0c 02 c3"), "ff 00 02 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0d 03"), "ff 00 03 c3 00 00 00 00");
}

TEST(CcpEcuStatus, HasAResumeBitOnlyWhereTheEcuCanResume) {
    CcpEcuConfig config = smallCcpEcu();
    CcpSession without(config);
    EXPECT_EQ(without.ask("0c 01 04"), "ff 36 01 00 00 00 00 00");
    EXPECT_EQ(without.ecu.sessionStatus(), 0);
    config.resumeSupported = true;
    CcpSession with(config);
    EXPECT_EQ(with.ask("0c 01 04"), "ff 00 01 00 00 00 00 00");
    EXPECT_EQ(with.ecu.sessionStatus(), 0x04);
}

// Services

struct Services : CcpSession {
    explicit Services(ByteOrder order = ByteOrder::intel) : CcpSession(configOf(order)) {}

    static CcpEcuConfig configOf(ByteOrder order) {
        CcpEcuConfig config = smallCcpEcu();
        config.byteOrder = order;
        config.diagServices[0x0201] = {.result = "DTC", .type = 4};
        config.actionServices[0x0003] = {.result = "", .type = 1, .duration = 5 * kMs};
        return config;
    }
};

TEST(CcpEcuDiagService, LeavesItsResultForUpload) {
    Services bench;
    EXPECT_EQ(bench.ask("20 01 01 02 00 00"), "ff 00 01 03 04 00 00 00");
    EXPECT_EQ(bench.ask("04 02 03"), "ff 00 02 44 54 43 00 00");
}

TEST(CcpEcuDiagService, NamesItsNumberInTheByteOrderOfTheEcu) {
    Services bench(ByteOrder::motorola);
    EXPECT_EQ(bench.ask("20 01 02 01"), "ff 00 01 03 04 00 00 00");
    EXPECT_EQ(bench.ask("20 02 01 02"), "ff 36 02 00 00 00 00 00");
}

TEST(CcpEcuActionService, IsAnsweredWhenItIsDone) {
    Services bench;
    EXPECT_EQ(bench.ask("21 01 03 00"), "");
    EXPECT_EQ(bench.pass(5 * kMs - 1), "");
    EXPECT_EQ(bench.pass(1), "ff 00 01 00 01 00 00 00");
    EXPECT_EQ(bench.ask("21 02 01 02"), "ff 36 02 00 00 00 00 00") << "a number of the other kind";
}

// Commands that are not there

TEST(CcpEcuUnknownCommand, IsRefusedWithItsCounter) {
    CcpSession bench(smallCcpEcu());
    EXPECT_EQ(bench.ask("0a 11 00 00 00 00 00 00"), "ff 30 11 00 00 00 00 00");
    EXPECT_EQ(bench.ask("ff 12"), "ff 30 12 00 00 00 00 00");
}

TEST(CcpEcuOptionalCommands, CanBeMissingOneByOne) {
    for (const char* command :
         {"05 00 01 00", "12 00 01", "13 00 00", "23 00 00 00 00 00 00 00", "0f 00 01 00 00 10 00 00",
          "11 00", "09 00", "08 00 00", "0c 00 00", "0d 00", "0e 00 01 00 00 00", "10 00 01 00 00 00",
          "18 00 01 00", "22 00 00 00 00 00 00 00", "19 00 00 00 00 00", "20 00 00 00", "21 00 00 00"}) {
        CcpEcuConfig config = smallCcpEcu();
        config.missingCommands = {bytesOf(command)[0]};
        EXPECT_EQ(CcpSession(config).ask(command), "ff 30 00 00 00 00 00 00") << command;
        EXPECT_NE(CcpSession(smallCcpEcu()).ask(command).substr(0, 5), "ff 30") << command;
    }
}

TEST(CcpEcuCommands, ThatAreTooShortAreASyntaxError) {
    CcpSession bench(smallCcpEcu());
    for (const char* command : {"1b 00 02",
                                "12 00",
                                "13 00",
                                "02 00 00 00 00 10 00",
                                "03 00",
                                "03 00 02 01",
                                "23 00 01 02 03 04 05",
                                "04 00",
                                "0f 00 01 00 00 10 00",
                                "14 00 00 00 00 00 00",
                                "15 00 00 00",
                                "16 00 01 00 00 10 00",
                                "06 00 00 00 00 00 00",
                                "07 00 00 00 01",
                                "0c 00",
                                "0e 00 01 00 00",
                                "10 00 01 00 00",
                                "18 00",
                                "18 00 02 01",
                                "22 00 01 02 03 04 05",
                                "19 00 01 00 00",
                                "20 00 00",
                                "21 00 00",
                                "08 00"}) {
        EXPECT_EQ(bench.ask(command), "ff 31 00 00 00 00 00 00") << command;
    }
}

TEST(CcpEcuCommands, OfAResourceThatTheEcuHasNotAreNotAvailable) {
    struct Row {
        std::uint8_t missing;
        const char* command;
    };
    for (const Row row : {Row{0x01, "03 00 01 00"}, Row{0x01, "11 00"}, Row{0x01, "19 00 01 00 00 00"},
                          Row{0x02, "14 00 00 00 00 00 00 00"}, Row{0x02, "08 00 00"},
                          Row{0x40, "10 00 01 00 00 00"}, Row{0x40, "18 00 01 00"}}) {
        CcpEcuConfig config = smallCcpEcu();
        config.resources = static_cast<std::uint8_t>(0x43 & ~row.missing);
        EXPECT_EQ(CcpSession(config).ask(row.command), "ff 36 00 00 00 00 00 00") << row.command;
    }
}

TEST(CcpEcuCounters, CountWhatWasMeantForTheStation) {
    CcpSession bench(smallCcpEcu());
    bench.ask("0d 01");
    bench.ask("0d 02");
    bench.ask("01 03 02 00");
    bench.ask("0d 04");
    EXPECT_EQ(bench.ecu.counters().commands[0x0D], 2U);
    EXPECT_EQ(bench.ecu.counters().commands[0x01], 1U);
    EXPECT_EQ(bench.ecu.counters().sessions, 1U);
}

}  // namespace
}  // namespace sim::test
