#include "decode/BasicDecode.h"
#include "decode/CcpMsgDecode.h"
#include "decode/XcpMsgDecode.h"
#include "tests/decode/CcpRows.h"
#include "tests/decode/XcpRows.h"

#include <memory>
#include <type_traits>

namespace {

using namespace decode_testing;
using CCP_MOUDLE::CcpMsgDecode;
using XCP_MOUDLE::XcpMsgDecode;

static_assert(std::is_abstract_v<BasicDecode>);
static_assert(std::has_virtual_destructor_v<BasicDecode>);
static_assert(sizeof(CcpMsgDecode) == sizeof(BasicDecode));
static_assert(sizeof(XcpMsgDecode) == sizeof(BasicDecode));

/// A frame with everything that the record copies.
msgBuf stamped(const std::string& hex) {
    msgBuf msg = frame(hex);
    msg.hostTag = 0x1122334455667788;
    msg.time = 0x99AABBCCDDEEFF00;
    msg.id = 0x1ABCDEF0;
    msg.channel = 3;
    return msg;
}

std::vector<std::uint8_t> bytesOf(const msgBuf& msg) {
    return {msg.data.begin(), msg.data.begin() + msg.length};
}

/// The one message that the host heard, with the facts that it takes from any frame.
const mcDecodeMsg& onlyMessage(const msgBuf& msg) {
    EXPECT_EQ(Host::heard().size(), 1U);
    EXPECT_EQ(Host::heard().front().first, msg.hostTag);
    const mcDecodeMsg& record = Host::heard().front().second;
    EXPECT_EQ(record.timestamp, msg.time);
    EXPECT_EQ(record.canId, msg.id);
    return record;
}

TEST(CcpMsgDecodeCto, HasTitleCommandDataAndTheCounterAheadOfEveryCommandsFields) {
    for (const Row& row : ccpCommandRows()) {
        for (const bool big : {false, true}) {
            SCOPED_TRACE(traceOf(row, big));
            auto decoder = heardDecoder<CcpMsgDecode>(big);
            const msgBuf msg = stamped(row.hex);
            decoder.ctoMsgAnalyse(msg);
            const mcDecodeMsg& record = onlyMessage(msg);
            EXPECT_EQ(record.name, "CTO " + row.title);
            EXPECT_EQ(record.command, row.code);
            EXPECT_EQ(record.data, bytesOf(msg));
            EXPECT_EQ(shown(record.fields), joined({{"CTR", "0x7", 7, false}}, row.expected(big)));
            EXPECT_EQ(record.errorText, "");
        }
    }
}

TEST(CcpMsgDecodeCto, OfAnUnknownCodeHasTheBarePrefixAndTheCounter) {
    auto decoder = heardDecoder<CcpMsgDecode>();
    const msgBuf msg = stamped("7f 0a 01");
    decoder.ctoMsgAnalyse(msg);
    const mcDecodeMsg& record = onlyMessage(msg);
    EXPECT_EQ(record.name, "CTO ");
    EXPECT_EQ(record.command, 0x7F);
    EXPECT_EQ(shown(record.fields), (Fields{{"CTR", "0xA", 10, false}}));
}

TEST(CcpMsgDecodeRes, HasTheCommandAnsweredAndReturnCodeAndCounterAheadOfTheFields) {
    for (const Row& row : ccpResponseRows()) {
        for (const bool big : {false, true}) {
            SCOPED_TRACE(traceOf(row, big));
            auto decoder = heardDecoder<CcpMsgDecode>(big);
            const msgBuf msg = stamped(row.hex);
            decoder.resMsgAnalyse(row.code, msg);
            const mcDecodeMsg& record = onlyMessage(msg);
            EXPECT_EQ(record.name, "RES " + row.title);
            EXPECT_EQ(record.command, row.code);
            EXPECT_EQ(record.data, bytesOf(msg));
            EXPECT_EQ(shown(record.fields),
                      joined({{"Code", "Acknowledge,No error.", 0, false}, {"Ctr", "0x7", 7, false}},
                             row.expected(big)));
            EXPECT_EQ(record.errorText, "");
        }
    }
}

TEST(CcpMsgDecodeRes, OfANegativeResponseHasTheErrorTextAndTheFieldsAllTheSame) {
    auto decoder = heardDecoder<CcpMsgDecode>();
    const msgBuf msg = stamped("ff 35 02 01 0a 1b");
    decoder.resMsgAnalyse(0x12, msg);
    const mcDecodeMsg& record = onlyMessage(msg);
    EXPECT_EQ(record.name, "RES GET_SEED");
    EXPECT_EQ(record.errorText, "Access locked");
    EXPECT_EQ(shown(record.fields), (Fields{{"Code", "Access locked", 0x35, false},
                                            {"Ctr", "0x2", 2, false},
                                            {"Protect_Statu", "True", 1, true},
                                            {"Seed", "0x0a1b", 0, true}}));
}

TEST(CcpMsgDecodeRes, OfAnUnknownCommandHasTheBarePrefixAndStillCodeAndCounter) {
    auto decoder = heardDecoder<CcpMsgDecode>();
    const msgBuf msg = stamped("ff 00 0b 01 02");
    decoder.resMsgAnalyse(0xFF, msg);
    const mcDecodeMsg& record = onlyMessage(msg);
    EXPECT_EQ(record.name, "RES ");
    EXPECT_EQ(record.command, 0xFF);
    EXPECT_EQ(shown(record.fields),
              (Fields{{"Code", "Acknowledge,No error.", 0, false}, {"Ctr", "0xB", 11, false}}));
}

TEST(CcpMsgDecodeEvent, DoesNothing) {
    auto decoder = heardDecoder<CcpMsgDecode>();
    decoder.eventMsgAnalyse(stamped("fe 00 01"));
    EXPECT_TRUE(Host::heard().empty());
}

TEST(XcpMsgDecodeCto, HasTitleCommandDataAndNothingAheadOfEveryCommandsFields) {
    for (const Row& row : xcpCommandRows()) {
        for (const bool big : {false, true}) {
            SCOPED_TRACE(traceOf(row, big));
            auto decoder = heardDecoder<XcpMsgDecode>(big);
            const msgBuf msg = stamped(row.hex);
            decoder.ctoMsgAnalyse(msg);
            const mcDecodeMsg& record = onlyMessage(msg);
            EXPECT_EQ(record.name, "CTO " + row.title);
            EXPECT_EQ(record.command, row.code);
            EXPECT_EQ(record.data, bytesOf(msg));
            EXPECT_EQ(shown(record.fields), row.expected(big));
            EXPECT_EQ(record.errorText, "");
        }
    }
}

TEST(XcpMsgDecodeCto, OfASilentCodeHasTheBarePrefixAndOfAnUnknownOneUnknowCmd) {
    const std::pair<const char*, const char*> titles[] = {
        {"ee 01", "CTO "}, {"fa 00", "CTO "}, {"ec 01", "CTO Unknow Cmd"}, {"00 01", "CTO Unknow Cmd"}};
    for (const auto& [hex, title] : titles) {
        auto decoder = heardDecoder<XcpMsgDecode>();
        const msgBuf msg = stamped(hex);
        decoder.ctoMsgAnalyse(msg);
        EXPECT_EQ(onlyMessage(msg).name, title);
        EXPECT_TRUE(onlyMessage(msg).fields.empty());
    }
}

TEST(XcpMsgDecodeRes, HasByteZeroAsCommandAndResOnceInTheTitle) {
    for (const Row& row : xcpResponseRows()) {
        for (const bool big : {false, true}) {
            SCOPED_TRACE(traceOf(row, big));
            auto decoder = heardDecoder<XcpMsgDecode>(big);
            const msgBuf msg = stamped(row.hex);
            decoder.resMsgAnalyse(row.code, msg);
            const mcDecodeMsg& record = onlyMessage(msg);
            EXPECT_EQ(record.name, "RES " + row.title);
            EXPECT_EQ(record.command, 0xFF);
            EXPECT_EQ(record.data, bytesOf(msg));
            EXPECT_EQ(shown(record.fields), row.expected(big));
            EXPECT_EQ(record.errorText, "");
        }
    }
}

TEST(XcpMsgDecodeRes, OfAnErrorFrameHasTheErrorText) {
    auto decoder = heardDecoder<XcpMsgDecode>();
    const msgBuf msg = stamped("fe 25");
    decoder.resMsgAnalyse(0xF5, msg);
    const mcDecodeMsg& record = onlyMessage(msg);
    EXPECT_EQ(record.name, "RES Error");
    EXPECT_EQ(record.command, 0xFE);
    EXPECT_EQ(record.errorText, "Access denied, Seed& Key is required");
    EXPECT_EQ(shown(record.fields),
              (Fields{{"ErrorCode", "Access denied, Seed& Key is required", 0x25, false}}));
}

TEST(XcpMsgDecodeRes, OfAnErrorFrameAfterSynchHasNone) {
    auto decoder = heardDecoder<XcpMsgDecode>();
    const msgBuf msg = stamped("fe 00");
    decoder.resMsgAnalyse(0xFC, msg);
    const mcDecodeMsg& record = onlyMessage(msg);
    EXPECT_EQ(record.name, "RES Synch");
    EXPECT_EQ(record.errorText, "");
    EXPECT_EQ(shown(record.fields), (Fields{{"ErrorCode", "Command processor synchronization.", 0, false}}));
}

TEST(XcpMsgDecodeRes, OfAnUnknownCommandHasTheBarePrefix) {
    auto decoder = heardDecoder<XcpMsgDecode>();
    const msgBuf msg = stamped("ff 01 02");
    decoder.resMsgAnalyse(0xF4, msg);
    EXPECT_EQ(onlyMessage(msg).name, "RES ");
    EXPECT_TRUE(onlyMessage(msg).fields.empty());
}

TEST(XcpMsgDecodeEvent, HasTheEventCodeAsCommandAndNoData) {
    for (const Row& row : xcpEventRows()) {
        for (const bool big : {false, true}) {
            SCOPED_TRACE(traceOf(row, big));
            auto decoder = heardDecoder<XcpMsgDecode>(big);
            const msgBuf msg = stamped(row.hex);
            decoder.eventMsgAnalyse(msg);
            const mcDecodeMsg& record = onlyMessage(msg);
            EXPECT_EQ(record.name, "Event " + row.title);
            EXPECT_EQ(record.command, row.code);
            EXPECT_TRUE(record.data.empty());
            EXPECT_EQ(shown(record.fields), row.expected(big));
            EXPECT_EQ(record.errorText, "");
        }
    }
}

TEST(XcpMsgDecodeEvent, OfAnUnknownCodeIsUnknowCmd) {
    auto decoder = heardDecoder<XcpMsgDecode>();
    const msgBuf msg = stamped("fd 04 01");
    decoder.eventMsgAnalyse(msg);
    EXPECT_EQ(onlyMessage(msg).name, "Event Unknow Cmd");
    EXPECT_EQ(onlyMessage(msg).command, 0x04);
}

TEST(MsgDecode, DataAreTheBytesUpToTheLengthAndAtMostTheRecord) {
    for (const auto& [length, expected] :
         {std::pair<std::uint16_t, std::size_t>{0, 0}, {1, 1}, {8, 8}, {64, 64}, {65, 64}, {65535, 64}}) {
        SCOPED_TRACE(length);
        auto decoder = heardDecoder<XcpMsgDecode>();
        const msgBuf msg = frame("ff 01 02 03", length);
        decoder.ctoMsgAnalyse(msg);
        const mcDecodeMsg& record = onlyMessage(msg);
        EXPECT_EQ(record.data,
                  std::vector<std::uint8_t>(msg.data.begin(),
                                            msg.data.begin() + static_cast<std::ptrdiff_t>(expected)));
        EXPECT_EQ(record.command, 0xFF);
    }
}

TEST(MsgDecode, WithoutACallbackEveryOperationIsQuiet) {
    Host::heard().clear();
    const std::unique_ptr<BasicDecode> decoders[] = {std::make_unique<CcpMsgDecode>(),
                                                     std::make_unique<XcpMsgDecode>()};
    for (const auto& decoder : decoders) {
        EXPECT_FALSE(decoder->swapBytes);
        decoder->resMsgAnalyse(0x01, frame("ff 00 07"));
        decoder->ctoMsgAnalyse(frame("01 07 00 00"));
        decoder->eventMsgAnalyse(frame("fd 00 07"));
    }
    EXPECT_TRUE(Host::heard().empty());
}

}  // namespace
