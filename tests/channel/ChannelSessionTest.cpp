// Reading memory, seed and key: the functions that may take several frames.
#include "tests/channel/ChannelTestSupport.h"

using namespace channel_test;

namespace {

class ChannelUpload : public ChannelTest {
protected:
    void SetUp() override {
        ChannelTest::SetUp();
        // Element n of a read is n, bytes behind the code begin at the granularity.
        ecu.answersBy("f5 ??", [this](const std::string& frame) {
            const std::uint8_t unit = object().m_cfg.xcp.addressGranularity;
            const std::size_t count = std::size_t{support::bytes(frame)[1]} * unit;
            std::vector<std::uint8_t> response(unit, 0);
            response[0] = 0xFF;
            const std::vector<std::uint8_t> data = support::countingBytes(count, m_next);
            response.insert(response.end(), data.begin(), data.end());
            m_next = static_cast<std::uint8_t>(m_next + count);
            return Texts{support::hexText(response)};
        });
    }

    std::uint32_t uploads(std::uint8_t count) { return xcpUpload(slave, count, bytes(), size()); }

    /// Another granularity and MAX_CTO.
    void has(std::uint8_t maxCto, std::uint8_t granularity) {
        proto.addressGranularity = granularity;
        startsAnew();
        object().m_cfg.maxCto = maxCto;
        m_next = 1;
    }

private:
    std::uint8_t m_next = 1;
};

}  // namespace

TEST_F(ChannelUpload, DataComeInTheBuffer) {
    EXPECT_EQ(uploads(5), kSuccess);
    EXPECT_EQ(sent(), Texts{"f5 05"});
    EXPECT_EQ(handed(), "ff 01 02 03 04 05 00 00");
}

TEST_F(ChannelUpload, BufferGetsTheLastOfSeveralResponses) {
    EXPECT_EQ(uploads(20), kSuccess);
    EXPECT_EQ(sent(), Texts({"f5 07", "f5 07", "f5 06"}));
    EXPECT_EQ(handed(), "ff 0f 10 11 12 13 14 00");
}

TEST_F(ChannelUpload, CountIsInBytesAndFramesCountElements) {
    has(8, 2);
    EXPECT_EQ(uploads(5), kSuccess);
    EXPECT_EQ(sent(), Texts{"f5 03"});
    EXPECT_EQ(handed(), "ff 00 01 02 03 04 05 06");
    has(8, 4);
    EXPECT_EQ(uploads(5), kSuccess);
    EXPECT_EQ(sent(), Texts({"f5 01", "f5 01"}));
    EXPECT_EQ(handed(), "ff 00 00 00 05 06 07 08");
}

TEST_F(ChannelUpload, LargeFramesCountElementsToo) {
    has(64, 2);
    EXPECT_EQ(uploads(100), kSuccess);
    EXPECT_EQ(sent(), Texts({"f5 1f", "f5 13"}));
    has(64, 4);
    EXPECT_EQ(uploads(100), kSuccess);
    EXPECT_EQ(sent(), Texts({"f5 0f", "f5 0a"}));
}

TEST_F(ChannelUpload, LargestCountInLargeFrames) {
    has(64, 1);
    EXPECT_EQ(uploads(255), kSuccess);
    EXPECT_EQ(sent(), Texts({"f5 3f", "f5 3f", "f5 3f", "f5 3f", "f5 03"}));
    EXPECT_EQ(handed(), "ff fd fe ff 00 00 00 00");
}

TEST_F(ChannelUpload, OfNothingSendsNothingAndSucceeds) {
    EXPECT_EQ(uploads(0), kSuccess);
    EXPECT_EQ(sent(), Texts{});
    EXPECT_EQ(handed(), "00 00 00 00 00 00 00 00");
}

TEST_F(ChannelUpload, OfNothingOnALostLinkFails) {
    isSilent();
    ASSERT_EQ(xcpGetStatus(slave, bytes(), size()), kNoAnswer);
    ecu.clearSent();
    EXPECT_EQ(uploads(0), kNoAnswer);
    EXPECT_EQ(sent(), Texts{});
}

TEST_F(ChannelUpload, WithoutRoomForAnElementSendsNothingAndFails) {
    for (const std::uint8_t maxCto : support::bytes("00 01")) {
        has(maxCto, 1);
        EXPECT_EQ(uploads(1), 0U);
        EXPECT_EQ(sent(), Texts{});
    }
}

// UPLOAD keeps no status of its own: it is that of the last exchange.
TEST_F(ChannelUpload, HalfDeliveredGivesTheLastStatusAndThePartThatCame) {
    ecu.answers("fd", {"fe 22"});
    ASSERT_EQ(xcpGetStatus(slave, bytes(), size()), 0x22U);
    ecu.answersInTurn("f5 ??", {{"ff 01 02 03 04 05 06 07"}, {"fe 24"}});
    EXPECT_EQ(uploads(14), 0x22U);
    EXPECT_EQ(handed(), "ff 01 02 03 04 05 06 07");
}

TEST_F(ChannelUpload, HalfDeliveredAfterAGoodCommandGivesItsStatus) {
    ASSERT_EQ(xcpSetMta(slave, 0, 0, bytes(), size()), kSuccess);
    ecu.answersInTurn("f5 ??", {{"ff 01 02 03 04 05 06 07"}, {"fe 24"}});
    EXPECT_EQ(uploads(14), kSuccess);
    EXPECT_EQ(handed(), "ff 01 02 03 04 05 06 07");
}

TEST_F(ChannelUpload, HalfDeliveredAsTheFirstCommandGivesZero) {
    ecu.answersInTurn("f5 ??", {{"ff 01 02 03 04 05 06 07"}, {"fe 24"}});
    EXPECT_EQ(uploads(14), 0U);
}

TEST_F(ChannelUpload, SilenceIsNotRepeatedAndLeavesTheLink) {
    proto.retryCount = 3;
    startsAnew();
    waitsFor(kShortMs);
    ecu.answersOnce("f5 ??", {});
    EXPECT_EQ(uploads(5), 0U);
    EXPECT_EQ(sent(), Texts{"f5 05"});
    EXPECT_EQ(handed(), "00 00 00 00 00 00 00 00");
    EXPECT_FALSE(object().m_linkLost);
}

TEST_F(ChannelUpload, FailureHandsTheLastGoodResponseBack) {
    ecu.answers("fe", {"ff 77"});
    xcpDisconnect(slave, bytes(), size());
    ecu.answersOnce("f5 ??", {"fe 24"});
    EXPECT_EQ(uploads(5), kSuccess);  // the status of DISCONNECT
    EXPECT_EQ(handed(), "ff 77 00 00 00 00 00 00");
}

// The name that comes with an event is read by UPLOAD too, and is nobody's response.
TEST_F(ChannelUpload, NameOfAnEventIsReadAlongAndNotHandedBack) {
    ecu.answers("d7 ..", {"ff 04 01 03 0a 06 00"});
    EXPECT_EQ(xcpGetDaqEventInfo(slave, 2, bytes(), size()), kSuccess);
    EXPECT_EQ(sent(), Texts({"d7 00 02 00", "f5 03"}));
    EXPECT_EQ(handed(), "ff 04 01 03 0a 06 00 00");
    EXPECT_EQ(support::hexText(object().m_cfg.xcp.events.at(2).name.data(), 3), "01 02 03");
}

TEST_F(ChannelUpload, ShortUploadHandsItsDataBack) {
    ecu.answers("f4 ..", {"ff 01 02 03 04 00 00 00"});
    EXPECT_EQ(xcpShortUpload(slave, 4, 0, 0x1000, bytes(), size()), kSuccess);
    EXPECT_EQ(handed(), "ff 01 02 03 04 00 00 00");
}

namespace {

class ChannelSeed : public ChannelTest {
protected:
    std::uint32_t fetches(std::uint8_t resource = 4) {
        return xcpGetSeedEx(slave, resource, seed.data(), &seedLength);
    }

    std::string seedText() const { return support::hexText(seed.data(), seedLength); }

    std::vector<std::uint8_t> seed = std::vector<std::uint8_t>(256, 0xAA);
    std::uint8_t seedLength = 99;
};

}  // namespace

TEST_F(ChannelSeed, HostRunsTheLoopItself) {
    ecu.answers("f8 00 04", {"ff 0a 01 02 03 04 05 06"});
    ecu.answers("f8 01 04", {"ff 04 07 08 09 0a"});
    EXPECT_EQ(xcpGetSeed(slave, 0, 4, bytes(), size()), kSuccess);
    EXPECT_EQ(handed(), "ff 0a 01 02 03 04 05 06");
    EXPECT_EQ(xcpGetSeed(slave, 1, 4, bytes(), size()), kSuccess);
    EXPECT_EQ(handed(), "ff 04 07 08 09 0a 00 00");
    EXPECT_EQ(sent(), Texts({"f8 00 04", "f8 01 04"}));
}

TEST_F(ChannelSeed, PartOfAnyLengthIsRead) {
    for (const std::string& part :
         {std::string("ff"), std::string("ff ff"), "ff ff " + support::hexText(support::countingBytes(62))}) {
        ecu.answers("f8 ..", {part});
        for (const std::uint8_t mode : support::bytes("00 01 ff")) {
            EXPECT_EQ(xcpGetSeed(slave, mode, 1, bytes(), size()), kSuccess);
            EXPECT_EQ(handed(support::bytes(part).size()), part);
        }
    }
}

TEST_F(ChannelSeed, WholeLoopOverASeedOfOneFrame) {
    ecu.answers("f8 00 04", {"ff 04 11 22 33 44"});
    EXPECT_EQ(fetches(), kSuccess);
    EXPECT_EQ(sent(), Texts{"f8 00 04"});
    EXPECT_EQ(seedText(), "11 22 33 44");
    EXPECT_EQ(seed[4], 0xAA);
}

TEST_F(ChannelSeed, WholeLoopOverASeedOfThreeFrames) {
    ecu.answers("f8 00 10", {"ff 0f 01 02 03 04 05 06"});
    ecu.answersInTurn("f8 01 10", {{"ff 09 07 08 09 0a 0b 0c"}, {"ff 03 0d 0e 0f"}});
    EXPECT_EQ(fetches(0x10), kSuccess);
    EXPECT_EQ(sent(), Texts({"f8 00 10", "f8 01 10", "f8 01 10"}));
    EXPECT_EQ(seedText(), "01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f");
}

TEST_F(ChannelSeed, SeedThatPassesItsRoomEndsThere) {
    ecu.answers("f8 ..", {"ff ff " + support::hexText(support::countingBytes(62))});
    EXPECT_EQ(fetches(), kSuccess);
    EXPECT_EQ(seedLength, 255U);
    EXPECT_EQ(seed[254], 6U);  // byte 254 of parts of 62
    EXPECT_EQ(seed[255], 0xAA);
}

TEST_F(ChannelSeed, BrokenOffSeedIsUsedAsItStands) {
    ecu.answers("f8 00 04", {"ff 0a 01 02 03 04 05 06"});
    ecu.answers("f8 01 04", {"fe 29"});
    EXPECT_EQ(fetches(), kSuccess);
    EXPECT_EQ(seedText(), "01 02 03 04 05 06");
}

TEST_F(ChannelSeed, RefusedSeedGivesTheEcusError) {
    ecu.answers("f8 ..", {"fe 25"});
    EXPECT_EQ(fetches(), 0x25U);
    EXPECT_EQ(seedLength, 0U);
    EXPECT_EQ(seed[0], 0xAA);
}

TEST_F(ChannelSeed, TimeOutGivesItsStatusAndLosesTheLink) {
    isSilent();
    EXPECT_EQ(fetches(), kNoAnswer);
    EXPECT_EQ(sent(), Texts{"f8 00 04"});
    EXPECT_EQ(fetches(), kNoAnswer);
    EXPECT_EQ(sent(), Texts{});
}

TEST_F(ChannelSeed, RemovedSlaveLeavesSeedAndLength) {
    xcpRemoveSlave(slave);
    EXPECT_EQ(fetches(), kBadHandle);
    EXPECT_EQ(seedLength, 99U);
    EXPECT_EQ(seed[0], 0xAA);
}

TEST_F(ChannelSeed, NullSeedAndLengthAreNotWritten) {
    ecu.answers("f8 00 04", {"ff 04 11 22 33 44"});
    EXPECT_EQ(xcpGetSeedEx(slave, 4, nullptr, &seedLength), kSuccess);
    EXPECT_EQ(seedLength, 4U);
    EXPECT_EQ(xcpGetSeedEx(slave, 4, seed.data(), nullptr), kSuccess);
    EXPECT_EQ(support::hexText(seed.data(), 5), "11 22 33 44 aa");
}

namespace {

class ChannelKey : public ChannelTest {
protected:
    std::uint32_t unlocks(std::uint8_t length) {
        return xcpUnlockEx(slave, length, support::countingBytes(length, 1).data());
    }
};

}  // namespace

TEST_F(ChannelKey, LongKeyTakesTwoFrames) {
    ecu.answers("f7 ..", {"ff 04"});
    EXPECT_EQ(unlocks(10), kSuccess);
    EXPECT_EQ(sent(), Texts({"f7 0a 01 02 03 04 05 06", "f7 04 07 08 09 0a"}));
    EXPECT_EQ(object().m_cfg.xcp.protectionStatus, 4U);
}

TEST_F(ChannelKey, LongestKeyTakesFortyThreeFrames) {
    EXPECT_EQ(unlocks(255), kSuccess);
    const Texts frames = sent();
    ASSERT_EQ(frames.size(), 43U);
    EXPECT_EQ(frames.front(), "f7 ff 01 02 03 04 05 06");
    EXPECT_EQ(frames.back(), "f7 03 fd fe ff");
}

TEST_F(ChannelKey, RefusedKeyGivesTheEcusErrorAndEnds) {
    ecu.answers("f7 ..", {"fe 25"});
    EXPECT_EQ(unlocks(10), 0x25U);
    EXPECT_EQ(sent(), Texts{"f7 0a 01 02 03 04 05 06"});
}

TEST_F(ChannelKey, EmptyAndNullKeysSendNothingAndSucceed) {
    EXPECT_EQ(unlocks(0), kSuccess);
    EXPECT_EQ(xcpUnlockEx(slave, 10, nullptr), kSuccess);
    EXPECT_EQ(sent(), Texts{});
}

TEST_F(ChannelKey, TimeOutGivesItsStatus) {
    isSilent();
    EXPECT_EQ(unlocks(4), kNoAnswer);
}

TEST_F(ChannelKey, RemovedSlaveIsRefused) {
    xcpRemoveSlave(slave);
    EXPECT_EQ(unlocks(4), kBadHandle);
    EXPECT_EQ(sent(), Texts{});
}

TEST_F(ChannelKey, FrameWithoutRoomForAKeyByteFails) {
    object().m_cfg.maxCto = 2;
    EXPECT_EQ(unlocks(4), 0U);
    EXPECT_EQ(sent(), Texts{});
}
