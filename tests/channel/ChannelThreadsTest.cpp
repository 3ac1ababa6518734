// Commands from several threads.
#include "tests/channel/ChannelTestSupport.h"
#include "tests/support/TaskTest.h"

#include <algorithm>
#include <functional>
#include <thread>

using namespace channel_test;

namespace {

constexpr std::uint32_t kRounds = 100;

/// Runs @p work on @p count threads, numbered from 0, and waits for all.
void onThreads(std::size_t count, const std::function<void(std::size_t)>& work) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back(work, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class ChannelThreads : public ChannelTest {};

}  // namespace

TEST_F(ChannelThreads, TwoSlavesOnTwoThreadsHaveTheirOwnAnswers) {
    const support::EcuPlace otherPlace{3, 0x200, 0x201};
    support::ScriptedEcu other(host, otherPlace);
    std::uint32_t otherSlave = 0;
    ASSERT_EQ(xcpAddSlave(channel, canCfg(otherPlace), proto, &otherSlave), kSuccess);
    ecu.answersByDefault({"ff 11"});
    other.answersByDefault({"ff 22"});
    const std::array<std::uint32_t, 2> slaves{slave, otherSlave};
    std::array<Texts, 2> seen;
    onThreads(2, [&](std::size_t i) {
        std::array<std::uint8_t, 2> got{};
        for (std::uint32_t round = 0; round < kRounds; ++round) {
            const std::uint32_t status = xcpGetStatus(slaves[i], got.data(), 2);
            seen[i].push_back(std::to_string(status) + " " + support::hexText(got.data(), 2));
        }
    });
    EXPECT_EQ(seen[0], Texts(kRounds, "256 ff 11"));
    EXPECT_EQ(seen[1], Texts(kRounds, "256 ff 22"));
    EXPECT_EQ(ecu.count("fd"), kRounds);
    EXPECT_EQ(other.count("fd"), kRounds);
}

TEST_F(ChannelThreads, FourThreadsOnOneSlaveTakeTurnsFrameByFrame) {
    std::array<std::uint32_t, 4> successes{};
    onThreads(4, [&](std::size_t i) {
        std::array<std::uint8_t, 64> got{};
        for (std::uint32_t round = 0; round < kRounds; ++round) {
            const auto address = static_cast<std::uint32_t>(i << 8U) + round;
            successes[i] += xcpSetMta(slave, 0, address, got.data(), 64) == kSuccess ? 1 : 0;
        }
    });
    EXPECT_THAT(successes, testing::Each(kRounds));
    Texts frames = sent();
    EXPECT_EQ(frames.size(), 4 * kRounds);
    for (std::uint32_t thread = 0; thread < 4; ++thread) {
        const std::string tail = " 0" + std::to_string(thread) + " 00 00";
        EXPECT_EQ(std::count_if(frames.begin(), frames.end(),
                                [&](const std::string& frame) { return frame.ends_with(tail); }),
                  kRounds);
    }
}

TEST_F(ChannelThreads, SlaveRemovedByAnotherThreadFinishesItsCommand) {
    ecu.isSilent();
    std::uint32_t status = 0;
    std::thread caller([&] { status = xcpGetStatus(slave, bytes(), size()); });
    EXPECT_TRUE(support::waitFor([this] { return ecu.count("fd") == 1; }));
    EXPECT_EQ(xcpRemoveSlave(slave), kSuccess);
    EXPECT_EQ(xcpGetStatus(slave, nullptr, 0), kBadHandle);
    ecu.sends("ff 01");
    caller.join();
    EXPECT_EQ(status, kSuccess);
    EXPECT_EQ(handed(), kUntouched);
}

TEST_F(ChannelThreads, SlavesComeAndGoOnSeveralThreads) {
    onThreads(4, [this](std::size_t) {
        for (std::uint32_t round = 0; round < kRounds; ++round) {
            std::uint32_t own = 0;
            EXPECT_EQ(xcpAddSlave(channel, canCfg({0, 1, 2}), proto, &own), kSuccess);
            EXPECT_EQ(xcpRemoveSlave(own), kSuccess);
        }
    });
    EXPECT_EQ(channelRegistry().takeSlaveHandle(), 1 + 4 * kRounds);
}

TEST_F(ChannelThreads, LogFunctionsHearOfALostLinkWithoutTheLock) {
    const auto object = channelRegistry().findSlave(slave);
    object->m_linkLost = true;
    int heard = 0;
    host.onEvent([&](const std::string& /*entry*/) {
        ++heard;
        EXPECT_TRUE(support::isFree(object->m_mutex));
    });
    xcpGetDaqListMode(slave, 0, bytes(), size());
    xcpStartStopDaqList(slave, 1, 0, bytes(), size());
    xcpStartStopSynch(slave, 1, bytes(), size());
    EXPECT_EQ(heard, 3);
    host.onEvent({});
}
