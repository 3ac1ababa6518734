// Single frames: what each is called and what it says.

#include "host/DecodePrint.h"
#include "host/FrameNames.h"
#include "tests/host/DecodeTesting.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using host::DecodedFrame;
using host::FrameDecoder;
using host::FrameKind;
using host_test::decoderOf;
using host_test::frameAt;
using ::testing::ElementsAre;

// The lines of frames that come 100 microseconds after each other, without time, interface and identifier.
std::vector<std::string> shown(FrameDecoder decoder, const std::vector<std::string>& frames) {
    const host::Output plain(stdout, false);
    std::vector<std::string> lines;
    std::int64_t time = 0;
    for (const std::string& text : frames) {
        const host::LoggedFrame frame = frameAt(time += 100, text);
        const std::optional<DecodedFrame> decoded = decoder.decode(frame);
        const std::string line = decoded ? host::frameText(plain, frame, *decoded) : "<- not ours";
        lines.push_back(line.substr(std::min(line.find("-> "), line.find("<- "))));
    }
    return lines;
}

TEST(FrameText, HasTimeInterfaceIdentifierDirectionTitleAndFields) {
    FrameDecoder decoder = decoderOf({"xcp 600:601", "ccp 18DA10F1:18DAF110"});
    const host::Output plain(stdout, false);
    const std::vector<std::pair<host::LoggedFrame, std::string>> rows{
        {frameAt(1436509052249713, "600#F600000012345678"),
         "1436509052.249713 can0 600 -> CTO SET_MTA Address=0x78563412 Address_Ext=0x0"},
        {frameAt(1436509052250000, "601#FF"), "1436509052.250000 can0 601 <- RES SET_MTA (0.287 ms)"},
        {frameAt(5, "18DA10F1#0107390200000000"),
         "         0.000005 can0 18DA10F1 -> CTO CONNECT CTR=0x7 Station_Address=0x239"},
        {frameAt(-5, "18DAF110#FF00070000000000"),
         "        -0.000005 can0 18DAF110 <- RES CONNECT (-0.010 ms) Code=\"Acknowledge,No error.\" Ctr=0x7"},
    };
    for (const auto& [frame, line] : rows) {
        EXPECT_EQ(host::frameText(plain, frame, decoder.decode(frame).value()), line);
    }
}

TEST(FrameText, WithoutATimeHasADashAndNoResponseTime) {
    FrameDecoder decoder = decoderOf({"xcp 600:601"});
    const host::Output plain(stdout, false);
    const auto line = [&](const char* text) {
        const host::LoggedFrame frame = host::readCandumpLine(text).value();
        return host::frameText(plain, frame, decoder.decode(frame).value());
    };
    EXPECT_EQ(line("  can0  600   [1]  FC"), "                - can0 600 -> CTO SYNCH");
    EXPECT_EQ(line("  can0  601   [2]  FE 00"),
              "                - can0 601 <- RES SYNCH ErrorCode=\"Command "
              "processor synchronization.\"");
}

TEST(XcpFrames, AreNamedByWhatTheyAre) {
    EXPECT_THAT(
        shown(decoderOf({"xcp 600:601"}),
              {"600#FF00", "601#FE10", "600#F401000000000020", "601#FF2A", "601#FD08000078563412", "601#FC01",
               "601#0B1122", "601#FB22", "600#BF01", "600#2401", "600#EC01", "601#FF"}),
        ElementsAre(
            "-> CTO CONNECT Mode=0x0", "<- ERR CONNECT (0.100 ms) ErrorCode=\"Command was not executed\"",
            "-> CTO SHORT_UPLOAD Element_Num=1 Address=0x20000000 Address_Ext=0x0",
            "<- RES SHORT_UPLOAD (0.100 ms) data=0xff2a", "<- Event EV_TIME_SYNC Timestamp=0x12345678",
            "<- SERV data=0xfc01", "<- DAQ data=0x0b1122", "<- DAQ data=0xfb22", "-> STIM data=0xbf01",
            "-> STIM data=0x2401", "-> CTO MODIFY_BITS data=0xec01", "<- RES MODIFY_BITS (0.100 ms)"));
}

TEST(XcpFrames, OfABigEndianEcuAreReadSo) {
    EXPECT_THAT(shown(decoderOf({"xcp 600:601,be"}), {"600#F600000012345678"}),
                ElementsAre("-> CTO SET_MTA Address=0x12345678 Address_Ext=0x0"));
}

TEST(XcpFrames, AnswersThatNobodyWaitsForAreSaidToAnswerNothing) {
    EXPECT_THAT(shown(decoderOf({"xcp 600:601"}), {"601#FF01", "601#FE25"}),
                ElementsAre("<- RES (no command) data=0xff01",
                            "<- ERR (no command) ErrorCode=\"Access denied, Seed& Key is required\""));
}

TEST(XcpFrames, AnUploadInBlocksIsAnsweredInParts) {
    EXPECT_THAT(shown(decoderOf({"xcp 600:601"}), {"600#F50A", "601#FF11223344556677", "601#FF112233"}),
                ElementsAre("-> CTO UPLOAD Element_Num=10", "<- RES UPLOAD (0.100 ms) size=8",
                            "<- RES UPLOAD size=4"));
}

TEST(CcpFrames, AreNamedByWhatTheyAre) {
    EXPECT_THAT(
        shown(decoderOf({"ccp 700:701"}),
              {"700#1205020000000000", "701#FF33050000000000", "701#FE20000000000000", "701#0711223344556677",
               "701#FD11", "700#1306AABB", "701#FF00064200000000", "700#2407", "701#FF30070000000000",
               "701#FF31080000000000", "700#F609"}),
        ElementsAre(
            "-> CTO GET_SEED CTR=0x5 Protect_Mask__Cal=false Protect_Mask__Daq=true "
            "Protect_Mask__Pgm=false",
            "<- ERR GET_SEED (0.100 ms) Code=\"Access denied\" Ctr=0x5 Protect_Statu=False "
            "Seed=0x00000000",
            "<- Event Cold start request Code=\"Cold start request\"", "<- DAQ data=0x0711223344556677",
            "<- DAQ data=0xfd11", "-> CTO UNLOCK CTR=0x6 Key=0xaabb",
            "<- RES UNLOCK (0.100 ms) Code=\"Acknowledge,No error.\" Ctr=0x6 Cur_Res_Mask=0x42",
            "-> CTO command 0x24 CTR=0x7", "<- ERR command 0x24 (0.100 ms) Code=\"Unknown command\" Ctr=0x7",
            "<- ERR (no command) Code=\"UnKnow 0x31\" Ctr=0x8", "-> CTO command 0xF6 CTR=0x9"));
}

TEST(Frames, OfOthersAndThoseWithoutBytesPassBy) {
    EXPECT_THAT(shown(decoderOf({"xcp 600:601"}),
                      {"602#FF00", "00000600#FF00", "600#", "600#R2", "20000600#FF00", "600##0"}),
                ::testing::Each("<- not ours"));
}

TEST(Frames, OfTwoInterfacesDoNotAnswerEachOther) {
    FrameDecoder decoder = decoderOf({"xcp 600:601"});
    host::LoggedFrame other = frameAt(1, "601#FF");
    other.interface = "can1";
    EXPECT_TRUE(decoder.decode(frameAt(0, "600#FF00")).has_value());
    EXPECT_TRUE(decoder.decode(other).value().unexpected());
    EXPECT_EQ(decoder.decode(frameAt(2, "601#FF")).value().command, "CONNECT");
}

TEST(Frames, OfAnyBytesAreDecoded) {
    FrameDecoder decoder = decoderOf({"xcp 600:601,be", "ccp 700:701"});
    for (const char* id : {"600", "601", "700", "701"}) {
        for (int first = 0; first < 256; ++first) {
            for (const char* rest : {"", "FF", "00FF03FF05FF07"}) {
                char frame[32];
                std::snprintf(frame, sizeof frame, "%s#%02X%s", id, static_cast<unsigned>(first), rest);
                EXPECT_FALSE(decoder.decode(frameAt(0, frame)).value().title.empty()) << frame;
            }
        }
    }
}

TEST(FrameJson, HoldsEverything) {
    FrameDecoder decoder = decoderOf({"xcp 600:601"});
    const host::LoggedFrame command = frameAt(1000, "600#F80001");
    const host::LoggedFrame error = frameAt(1250, "601#FE25");
    const auto json = [&](const host::LoggedFrame& frame) {
        const DecodedFrame decoded = decoder.decode(frame).value();
        return nlohmann::json::parse(host::frameJson(frame, decoded, decoder.pairs()[decoded.pair]));
    };
    const nlohmann::json first = json(command);
    EXPECT_EQ(first["fields"].size(), 6U);
    EXPECT_EQ(first["response_us"], nullptr);
    EXPECT_EQ(first["direction"], "to_ecu");
    EXPECT_EQ(first["kind"], "command");
    EXPECT_EQ(json(error), nlohmann::json::parse(R"({"schema": 1, "type": "frame", "time_us": 1250,
        "interface": "can0", "direction": "from_ecu", "id": "601", "protocol": "xcp", "kind": "error",
        "title": "ERR GET_SEED", "command": "GET_SEED", "response_us": 250,
        "error": "Access denied, Seed& Key is required", "data": "fe25",
        "fields": [{"label": "ErrorCode", "text": "Access denied, Seed& Key is required", "value": 37,
                    "mark": false}]})"));
}

TEST(FrameNames, OfAllCommandsOfBothProtocolsAreThere) {
    using host::commandTitle;
    using host::Protocol;
    const auto xcp = [](int code, int sub = 0) {
        return commandTitle(Protocol::xcp, static_cast<std::uint8_t>(code), static_cast<std::uint8_t>(sub));
    };
    const auto ccp = [](int code) { return commandTitle(Protocol::ccp, static_cast<std::uint8_t>(code), 0); };
    EXPECT_EQ(xcp(0xFF), "CONNECT");
    EXPECT_EQ(xcp(0xFE), "DISCONNECT");
    EXPECT_EQ(xcp(0xC0, 1), "SET_DAQ_PACKED_MODE");
    EXPECT_EQ(xcp(0xC0, 0xFD), "POD BS4");
    EXPECT_EQ(xcp(0xC0, 3), "command 0xC0");
    EXPECT_EQ(xcp(0x01), "command 0x01");
    EXPECT_EQ(ccp(0x01), "CONNECT");
    EXPECT_EQ(ccp(0x12), "GET_SEED");
    EXPECT_EQ(ccp(0x13), "UNLOCK");
    EXPECT_EQ(ccp(0x23), "DNLOAD_6");
    EXPECT_EQ(ccp(0xFF), "command 0xFF");
    for (int code = 0xC5; code <= 0xFF; ++code) {
        EXPECT_THAT(xcp(code), ::testing::Not(::testing::StartsWith("command"))) << code;
    }
}

TEST(FrameNames, OfEventsAndReturnCodesWithoutAMeaningAreNumbers) {
    EXPECT_EQ(host::eventTitle(0x05), "EV_CMD_PENDING");
    EXPECT_EQ(host::eventTitle(0xFE), "EV_USER");
    EXPECT_EQ(host::eventTitle(0x04), "EV 0x04");
    EXPECT_EQ(host::returnCodeText(0x36), "Resource/Function not available");
    EXPECT_EQ(host::returnCodeText(0x31), "UnKnow 0x31");
}

}  // namespace
