// Seed, key and the frames that carry them.
#include "tests/xcp/XcpTestSupport.h"

#include <array>

using namespace xcp_test;

namespace {

class XcpSeedKey : public XcpTest {
protected:
    /// @return the seed that was fetched, or "none"
    std::string fetched(std::uint8_t resource = 1) {
        seedLength = 99;
        const std::uint32_t result = task().getSeed(resource, seed.data(), seedLength);
        EXPECT_EQ(result, seedLength > 0 ? 0U : 1U);
        return result == 0 ? support::hexText(seed.data(), seedLength) : "none";
    }

    std::array<std::uint8_t, XcpTaskTransmit::kSeedRoom> seed{};
    std::uint8_t seedLength = 0;
};

}  // namespace

TEST_F(XcpSeedKey, SeedInOneFrame) {
    ecu.answers("f8 00 10", {"ff 04 11 22 33 44"});
    EXPECT_EQ(fetched(0x10), "11 22 33 44");
    EXPECT_EQ(sent(), Texts{"f8 00 10"});
}

TEST_F(XcpSeedKey, PaddingBytesBecomePartOfTheSeed) {
    ecu.answers("f8 00 01", {"ff 04 11 22 33 44 00 00"});
    EXPECT_EQ(fetched(), "11 22 33 44 00 00");
}

TEST_F(XcpSeedKey, FunctionIsGivenThePaddingAsPartOfTheSeed) {
    std::uint8_t given = 0;
    task().m_lib = [&given](auto, std::uint8_t length, auto*, std::uint8_t* keyLength, auto*) {
        given = length;
        return (*keyLength = 1) != 0;
    };
    ecu.answers("f8 ..", {"ff 04 11 22 33 44 00 00"});
    EXPECT_EQ(task().unlockResource(1), 0U);
    EXPECT_EQ(given, 6);
}

TEST_F(XcpSeedKey, LongSeedIsFetchedWithModeOne) {
    ecu.answers("f8 00 01", {"ff 0a 01 02 03 04 05 06"});
    ecu.answers("f8 01 01", {"ff 04 07 08 09 0a 00 00"});
    EXPECT_EQ(fetched(), "01 02 03 04 05 06 07 08 09 0a 00 00");
    EXPECT_EQ(sent(), Texts({"f8 00 01", "f8 01 01"}));
}

TEST_F(XcpSeedKey, SeedOfThreeFramesEndsWithTheRemainingCount) {
    ecu.answers("f8 00 01", {"ff 0f 01 02 03 04 05 06"});
    ecu.answersInTurn("f8 01 01", {{"ff 09 07 08 09 0a 0b 0c"}, {"ff 03 0d 0e 0f"}});
    EXPECT_EQ(fetched(), "01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f");
    EXPECT_EQ(sent().size(), 3U);
}

// MAX_DTO decides whether the first frame is the last, not MAX_CTO.
TEST_F(XcpSeedKey, FirstFrameIsCompleteByMaxDto) {
    cfg.maxDto = 64;
    ecu.answers("f8 00 01", {"ff 0a 01 02 03 04 05 06"});
    EXPECT_EQ(fetched(), "01 02 03 04 05 06");
    EXPECT_EQ(sent(), Texts{"f8 00 01"});
}

TEST_F(XcpSeedKey, SeedThatFillsMaxDtoIsCompleteAndOneByteMoreIsNot) {
    cfg.maxDto = 8;
    ecu.answers("f8 00 01", {"ff 06 01 02 03 04 05 06"});
    EXPECT_EQ(fetched(), "01 02 03 04 05 06");
    EXPECT_EQ(sent(), Texts{"f8 00 01"});
    ecu.answers("f8 00 01", {"ff 07 01 02 03 04 05 06"});
    ecu.answers("f8 01 01", {"ff 01 07"});
    EXPECT_EQ(fetched(), "01 02 03 04 05 06 07");
    EXPECT_EQ(sent(), Texts({"f8 00 01", "f8 01 01"}));
}

TEST_F(XcpSeedKey, SeedThatBrokeOffIsUsedAsItStands) {
    ecu.answers("f8 00 01", {"ff 0a 01 02 03 04 05 06"});
    ecu.answers("f8 01 01", {"fe 29"});
    EXPECT_EQ(fetched(), "01 02 03 04 05 06");
}

TEST_F(XcpSeedKey, FrameWithoutALengthCountsAsTheOneBefore) {
    ecu.answers("f8 00 01", {"ff 0a 01 02 03"});
    ecu.answers("f8 01 01", {"ff"});
    EXPECT_EQ(fetched(), "01 02 03 00 00 00");
    ecu.answers("f8 00 01", {"ff"});
    EXPECT_EQ(fetched(), "none");
}

TEST_F(XcpSeedKey, FrameWithoutSeedBytesEnds) {
    ecu.answers("f8 00 01", {"ff 00"});
    EXPECT_EQ(fetched(), "none");
    ecu.answers("f8 00 01", {"ff 0a"});
    EXPECT_EQ(fetched(), "none");
    EXPECT_EQ(sent(), Texts({"f8 00 01", "f8 00 01"}));
}

TEST_F(XcpSeedKey, RefusedSeedIsAFailure) {
    ecu.answers("f8 ..", {"fe 25"});
    EXPECT_EQ(fetched(), "none");
}

TEST_F(XcpSeedKey, SeedThatPasses255BytesEnds) {
    cfg.maxDto = 8;
    ecu.answers("f8 ..", {"ff ff " + support::hexText(std::vector<std::uint8_t>(62, 0x5A))});
    EXPECT_EQ(fetched(), support::hexText(std::vector<std::uint8_t>(255, 0x5A)));
    EXPECT_EQ(sent().size(), 5U);
}

TEST_F(XcpSeedKey, SeedOfClassicFramesThatNeverEndsEndsAt255) {
    ecu.answers("f8 ..", {"ff ff 01 02 03 04 05 06"});
    fetched();
    EXPECT_EQ(seedLength, 255);
    EXPECT_EQ(sent().size(), 43U);
}

TEST_F(XcpSeedKey, KeyIsCutIntoFrames) {
    struct Row {
        std::uint8_t maxCto, keyLength;
        Texts frames;
    };
    const std::vector<Row> rows = {
        {8, 1, {"f7 01 01"}},
        {8, 6, {"f7 06 01 02 03 04 05 06"}},
        {8, 10, {"f7 0a 01 02 03 04 05 06", "f7 04 07 08 09 0a"}},
        {12, 12, {"f7 0c 01 02 03 04 05 06 07 08 09 0a", "f7 02 0b 0c"}},
        {3, 2, {"f7 02 01", "f7 01 02"}},
        {8, 0, {}},
    };
    const std::vector<std::uint8_t> key = support::countingBytes(255, 1);
    for (const Row& row : rows) {
        startsAnew();
        cfg.maxCto = row.maxCto;
        EXPECT_EQ(task().sendKey(key.data(), row.keyLength), 0U);
        EXPECT_EQ(sent(), row.frames);
    }
}

TEST_F(XcpSeedKey, KeyFrameHoldsAtMost64Bytes) {
    cfg.maxCto = 255;
    const std::vector<std::uint8_t> key = support::countingBytes(255);
    EXPECT_EQ(task().sendKey(key.data(), 255), 0U);
    const std::vector<support::SentFrame> frames = ecu.sent();
    ASSERT_EQ(frames.size(), 5U);
    EXPECT_EQ(frames[0].data.size(), 64U);
    EXPECT_EQ(frames[4].data.size(), 9U);
    EXPECT_EQ(frames[4].data[1], 7);
}

TEST_F(XcpSeedKey, FrameTooSmallForAKeyByteEndsTheKey) {
    const std::vector<std::uint8_t> key = support::countingBytes(4);
    for (const std::uint8_t maxCto : std::vector<std::uint8_t>{0, 1, 2}) {
        startsAnew();
        cfg.maxCto = maxCto;
        EXPECT_EQ(task().sendKey(key.data(), 4), 1U);
        EXPECT_TRUE(sent().empty());
    }
}

TEST_F(XcpSeedKey, UnlockRewritesTheProtectionStatus) {
    const std::vector<std::uint8_t> key = support::countingBytes(7);
    ecu.answersInTurn("f7 ..", {{"ff 15"}, {"ff 05"}});
    EXPECT_EQ(task().sendKey(key.data(), 7), 0U);
    EXPECT_EQ(live().protectionStatus, 5);
}

TEST_F(XcpSeedKey, RefusedKeyEndsAtOnce) {
    cfg.xcp.protectionStatus = 0x1D;
    const std::vector<std::uint8_t> key = support::countingBytes(7);
    ecu.answers("f7 ..", {"fe 25 00"});
    EXPECT_EQ(task().sendKey(key.data(), 7), 1U);
    EXPECT_EQ(sent().size(), 1U);
    EXPECT_EQ(live().protectionStatus, 0x1D);
}

TEST_F(XcpSeedKey, KeyFunctionIsToldRoomFor124BytesAndLogged) {
    std::uint8_t room = 0;
    task().m_lib = [&room](std::uint8_t, std::uint8_t, std::uint8_t*, std::uint8_t* keyLength,
                           std::uint8_t* key) {
        room = *keyLength;
        *keyLength = 2;
        key[0] = 0xAB;
        key[1] = 0x01;
        return -5;
    };
    ecu.answers("f8 ..", {"ff 03 0a 0b 0c"});
    EXPECT_EQ(task().unlockResource(4), 0U);
    EXPECT_EQ(room, 124);
    EXPECT_THAT(host.logTexts(0), testing::Contains("==========>seed is:> [0x0a0b0c]."));
    EXPECT_EQ(host.logTexts(2),
              Texts{"==========>seed Fun ret:1 key - length: [2] and the key is : [0xab01"});
    EXPECT_EQ(sent(), Texts({"f8 00 04", "f7 02 ab 01"}));
}

TEST_F(XcpSeedKey, KeyOfNoBytesSendsNothingAndSucceeds) {
    task().m_lib = [](auto, auto, auto*, std::uint8_t* keyLength, auto*) { return (*keyLength = 0) == 0; };
    EXPECT_EQ(task().unlockResource(4), 0U);
    EXPECT_EQ(sent(), Texts{"f8 00 04"});
}

TEST_F(XcpSeedKey, KeyOf255BytesIsSentWhole) {
    task().m_lib = [](auto, auto, auto*, std::uint8_t* keyLength, std::uint8_t* key) {
        std::fill_n(key, *keyLength = 255, std::uint8_t{7});
        return 1;
    };
    EXPECT_EQ(task().unlockResource(4), 0U);
    EXPECT_EQ(ecu.count("f7 .."), 43U);
}

TEST_F(XcpSeedKey, FunctionThatSaysNoIsLoggedWithZero) {
    task().m_lib = [](auto, auto, auto*, std::uint8_t* keyLength, auto*) { return (*keyLength = 0); };
    ecu.answers("f8 ..", {"ff 01 0a"});
    EXPECT_EQ(task().unlockResource(4), 1U);
    EXPECT_THAT(host.logTexts(2).at(0),
                testing::StartsWith("==========>seed Fun ret:0 key - length: [0] and the key is : ["));
    EXPECT_EQ(host.logTexts(4), Texts{"=========ERROR:> XcpComputeKeyBySeed failed..."});
}

TEST_F(XcpSeedKey, ParsedResponseOfACallerWhoRunsTheLoop) {
    struct Row {
        const char* frame;
        bool followUp;
        std::uint8_t before;
        bool complete;
        std::uint8_t after;
    };
    const std::vector<Row> rows = {
        {"ff", false, 3, true, 3},                        // too short: nothing more comes
        {"ff 04 01 02 03 04", false, 0, true, 4},         // first, complete: added
        {"ff 04 01 02 03 04 00 00", false, 3, true, 9},   // first, padded
        {"ff 06 01 02 03 04 05 06", false, 3, true, 9},   // first, complete in a full frame
        {"ff 07 01 02 03 04 05 06", false, 3, false, 6},  // first, one more to come: set
        {"ff 0a 01 02 03 04 05 06", false, 3, false, 6},  // first, more to come: set
        {"ff 04 01 02 03 04 05 06", true, 3, true, 6},    // follow-up, complete: set
        {"ff 07 01 02 03 04 05 06", true, 3, false, 6},   // follow-up, more to come
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.frame);
        const std::vector<std::uint8_t> data = support::bytes(row.frame);
        msgBuf response;
        response.length = static_cast<std::uint16_t>(data.size());
        std::copy(data.begin(), data.end(), response.data.begin());
        std::uint8_t length = row.before;
        EXPECT_EQ(task().parseSeedResponse(row.followUp, response, seed.data(), length), row.complete);
        EXPECT_EQ(length, row.after);
    }
    EXPECT_EQ(support::hexText(seed.data(), 6), "01 02 03 04 05 06");
}
