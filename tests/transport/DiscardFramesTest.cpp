#include "tests/support/TestHost.h"
#include "tests/transport/TransportTestSupport.h"

#include <gtest/gtest.h>

using namespace transport_test;

namespace {

constexpr std::uint32_t kMaster = 11;
constexpr std::uint32_t kSlave = 12;
constexpr std::uint32_t kDaq = 0x100;
constexpr std::uint32_t kEvent = 0x200;
constexpr std::uint64_t kLater = 1'000'000;
constexpr const char* kText = "[Talvex] Discard Talvex Message, count = %d";

class DiscardFrames : public testing::Test {
protected:
    static EcuProtoCfg config(std::uint32_t protoType) {
        EcuProtoCfg cfg;
        cfg.protoType = protoType;
        cfg.canIdMaster = kMaster;
        cfg.canIdSlave = kSlave;
        cfg.xcp.daqListCanIds = {{0, kDaq}};
        cfg.xcp.eventCanIds = {{0, {kEvent}}};
        cfg.ccp.daqLists[0].canId = kDaq;
        return cfg;
    }

    /// Frames that stay whatever happens.
    static void fill(BasicCfgTransmit& object, std::size_t count) {
        object.m_frames.assign(count, frame(kSlave, "ff", 1));
    }

    /// What stays of @p tested, which lie behind 2001 frames that stay in any case.
    std::string kept(const std::vector<msgBuf>& tested, std::uint32_t protoType = 1) {
        PlainTransmit object(config(protoType), support::TestHost::callBacks());
        fill(object, 2001);
        std::uint64_t time = kLater;
        for (msgBuf one : tested) {
            one.time = time++;
            object.m_frames.push_back(one);
        }
        object.discardFrames();
        object.m_frames.erase(object.m_frames.begin(), object.m_frames.begin() + 2001);
        return text(object.m_frames);
    }

    support::TestHost host;
};

struct Row {
    const char* what;
    std::uint32_t protoType;
    msgBuf frame;
    bool stays;
};

}  // namespace

TEST_F(DiscardFrames, TwoThousandFramesAreNotTouched) {
    PlainTransmit object(config(1), support::TestHost::callBacks());
    object.m_frames.assign(2000, frame(kSlave, "05"));
    object.discardFrames();
    EXPECT_EQ(object.m_frames.size(), 2000U);
    EXPECT_TRUE(host.logs().empty());
}

TEST_F(DiscardFrames, TwoThousandAndOneFramesAreTrimmed) {
    PlainTransmit object(config(1), support::TestHost::callBacks());
    object.m_frames.assign(2001, frame(kSlave, "05"));
    object.discardFrames();
    EXPECT_TRUE(object.m_frames.empty());
    EXPECT_EQ(host.logTexts(3), std::vector<std::string>{kText});
}

TEST_F(DiscardFrames, FetchTrimsAbove2000) {
    PlainTransmit object(config(1), support::TestHost::callBacks());
    object.m_frames.assign(1999, frame(kSlave, "05"));
    receives(kSlave, "05");
    object.fetchFrames();
    EXPECT_EQ(object.m_frames.size(), 2000U);
    receives(kDaq, "05");
    object.fetchFrames();
    EXPECT_TRUE(object.m_frames.empty());
}

TEST_F(DiscardFrames, EachKindOfFrameGoesOrStays) {
    const std::vector<Row> rows = {
        {"XCP event", 1, frame(kSlave, "fd"), true},
        {"XCP service", 1, frame(kSlave, "fc"), false},
        {"XCP 0xFB", 1, frame(kSlave, "fb"), true},
        {"XCP DTO", 1, frame(kSlave, "fa"), false},
        {"XCP error", 1, frame(kSlave, "fe"), true},
        {"XCP list identifier", 1, frame(kDaq, "ff"), false},
        {"XCP event identifier", 1, frame(kEvent, "00"), false},
        {"XCP foreign identifier", 1, frame(99, "00"), true},
        {"XCP service on a foreign identifier", 1, frame(99, "fc"), false},
        {"own frame", 1, frame(kMaster, "ff"), false},
        {"own frame without bytes", 1, frame(kMaster, ""), true},
        {"list frame without bytes", 1, frame(kDaq, ""), true},
        {"CCP response", 2, frame(kSlave, "ff"), true},
        {"CCP event", 2, frame(kSlave, "fe"), true},
        {"CCP DTO", 2, frame(kSlave, "fd"), false},
        {"CCP frame of first byte 0xFC", 2, frame(kSlave, "fc"), false},
        {"CCP foreign identifier with 0xFC", 2, frame(99, "fc"), true},
        {"CCP list identifier", 2, frame(kDaq, "ff"), false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(kept({row.frame}, row.protoType), row.stays ? text(std::vector{row.frame}) : "");
    }
}

TEST_F(DiscardFrames, MeasurementFrameBehindAnOwnFrameStays) {
    EXPECT_EQ(kept({frame(kMaster, "ff 00"), frame(kSlave, "05")}), "12:05");
    EXPECT_EQ(kept({frame(kMaster, "ff 00"), frame(kDaq, "05")}), "256:05");
}

TEST_F(DiscardFrames, ServiceFrameBehindAnOwnFrameGoes) {
    EXPECT_EQ(kept({frame(kMaster, "ff 00"), frame(kSlave, "fc")}), "");
    EXPECT_EQ(kept({frame(kMaster, "ff 00"), frame(kDaq, "fc")}), "");
}

TEST_F(DiscardFrames, OnlyTheFrameRightBehindAnOwnFrameIsSaved) {
    EXPECT_EQ(kept({frame(kMaster, "ff"), frame(kSlave, "01"), frame(kSlave, "02")}), "12:01");
    EXPECT_EQ(kept({frame(kMaster, "ff"), frame(kSlave, "fd"), frame(kSlave, "02")}), "12:fd");
}

TEST_F(DiscardFrames, OwnFrameWithoutBytesIsANeighbourThatStays) {
    EXPECT_EQ(kept({frame(kMaster, ""), frame(kSlave, "01")}), "11: | 12:01");
}

TEST_F(DiscardFrames, FirstFrameOfAllHasNoNeighbour) {
    PlainTransmit object(config(1), support::TestHost::callBacks());
    fill(object, 2000);
    object.m_frames.push_back(frame(kSlave, "05", 0));
    object.discardFrames();
    EXPECT_EQ(object.m_frames.size(), 2000U);
    EXPECT_EQ(text(std::vector{object.m_frames.front()}), "12:ff");
}

TEST_F(DiscardFrames, CopiesOfOwnFramesAreFetchedAndSortedIn) {
    PlainTransmit object(config(1), support::TestHost::callBacks());
    fill(object, 2001);
    object.m_frames.push_back(frame(kSlave, "01", 10));
    object.m_frames.push_back(frame(kSlave, "02", 20));
    receives(kMaster, "f5 07", 15);
    object.discardFrames();
    ASSERT_EQ(object.m_frames.size(), 2002U);
    EXPECT_EQ(text(std::vector{object.m_frames.back()}), "12:02");
    EXPECT_EQ(host.logTexts(3), std::vector<std::string>{"[T"});
}

TEST_F(DiscardFrames, SortingKeepsTheOrderOfEqualTimes) {
    PlainTransmit object(config(1), support::TestHost::callBacks());
    fill(object, 1999);
    object.m_frames.insert(object.m_frames.begin(), frame(kSlave, "fd 02", 9));
    object.m_frames.insert(object.m_frames.begin(), frame(kSlave, "fd 01", 9));
    object.m_frames.push_back(frame(kSlave, "fd 03", 9));
    object.discardFrames();
    const std::vector<msgBuf> tail(object.m_frames.end() - 3, object.m_frames.end());
    EXPECT_EQ(text(tail), "12:fd 01 | 12:fd 02 | 12:fd 03");
}

TEST_F(DiscardFrames, LogLineIsAsLongAsTheNumberOfDiscardedFrames) {
    for (const std::size_t count : {0U, 1U, 8U, 43U, 44U}) {
        host.clear();
        kept(std::vector<msgBuf>(count, frame(kSlave, "05")));
        ASSERT_EQ(host.logTexts(3).size(), 1U);
        EXPECT_EQ(host.logTexts(3)[0], std::string(kText).substr(0, count));
    }
}
