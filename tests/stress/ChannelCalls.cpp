// The channel interface from any thread: slaves that stay, slaves that come and go, and handles of none.
#include "tests/channel/ChannelCalls.h"

#include "tests/stress/StressCalls.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace stress {
namespace {

constexpr std::uint32_t kSuccess = 256;
constexpr std::uint32_t kBadHandle = 1280;
constexpr std::uint32_t kNoAnswer = 2304;
constexpr std::uint32_t kNobodysId = 0x7E0;

/// All that a command on a slave which stays may give: success, an error of the ECU, or no answer.
bool isOfALivingSlave(std::uint32_t status) {
    return (status >= 1 && status <= kSuccess) || status == kNoAnswer;
}

void expectStatus(const char* name, std::uint32_t slave, std::uint32_t status) {
    if (slave == kNoSlave) {
        EXPECT_EQ(status, kBadHandle) << name;
    } else {
        EXPECT_TRUE(isOfALivingSlave(status)) << name << " gave " << status;
    }
}

std::uint32_t anySlave(Caller& caller) {
    return caller.draw.oneOf(
        {caller.world.benchSlave(), caller.world.benchSlave(), caller.world.guestSlave(), kNoSlave});
}

/// Now and then a slave lost its link, or its ECU the session, and is taken up again.
void revive(Caller& caller, std::uint32_t slave) {
    std::array<std::uint8_t, 64> buffer{};
    if (slave != kNoSlave && caller.draw.oneIn(4)) {
        const char* const ecu = slave == caller.world.benchSlave() ? kBench : kGuest;
        EXPECT_EQ(xcpConfigSlave(slave, caller.world.canOf(ecu), StressWorld::proto()), kSuccess);
        expectStatus("xcpConnect", slave, xcpConnect(slave, 0, buffer.data(), buffer.size()));
    }
}

channel_test::Args drawArgs(sweep::Draw& draw) {
    static const std::array<std::uint8_t, 256> kData{};
    static const std::array<XcpDaqEntry, 256> kEntries{};
    channel_test::Args args;
    args.b0 = static_cast<std::uint8_t>(draw.below(12));
    args.b1 = static_cast<std::uint8_t>(draw.below(3));
    args.b2 = static_cast<std::uint8_t>(draw.below(3));
    args.b3 = static_cast<std::uint8_t>(draw.below(3));
    args.w0 = static_cast<std::uint16_t>(draw.below(3));
    args.w1 = static_cast<std::uint16_t>(draw.below(3));
    args.l0 = systemtest::kScratchBase + draw.below(systemtest::kScratchSize);
    args.data = kData.data();
    args.entries = kEntries.data();
    return args;
}

/// The buffer gets a response, or zeros, and nothing behind its size.
void runCommand(const channel_test::Function& function, Caller& caller) {
    const std::uint32_t slave = anySlave(caller);
    revive(caller, slave);
    std::array<std::uint8_t, 65> buffer{};
    buffer.back() = 0x5A;
    const channel_test::Args args = drawArgs(caller.draw);
    expectStatus(function.name, slave, function.call(args, {slave, buffer.data(), buffer.size() - 1}));
    EXPECT_EQ(buffer.back(), 0x5A) << function.name;
}

/// A slave of the thread's own at an identifier where nobody is, with a command that another thread's look at
/// the same handle cannot disturb.
void addAndRemove(Caller& caller) {
    std::uint16_t channel = 0;
    std::uint32_t slave = 0;
    XcpSlaveCanCfg can{};
    can.masterId = kNobodysId + 2 * caller.number;
    can.slaveId = can.masterId + 1;
    EXPECT_EQ(xcpInitializeCan(&channel, {}), kSuccess);
    XcpSlaveProtoCfg quick = StressWorld::proto();
    quick.t1 = 2;
    EXPECT_EQ(xcpAddSlave(channel, can, quick, &slave), kSuccess);
    EXPECT_EQ(xcpUninitialize(channel), kSuccess);
    EXPECT_EQ(xcpUninitialize(channel), kBadHandle);
    std::array<std::uint8_t, 64> buffer{};
    EXPECT_EQ(xcpConnect(slave, 0, buffer.data(), buffer.size()), kNoAnswer);
    EXPECT_EQ(xcpRemoveSlave(slave), kSuccess);
    EXPECT_EQ(xcpRemoveSlave(slave), kBadHandle);
    EXPECT_EQ(xcpAddSlave(channel, can, quick, &slave), kBadHandle);
}

void configure(Caller& caller) {
    EXPECT_EQ(xcpConfigSlave(kNoSlave, caller.world.canOf(kBench), StressWorld::proto()), kBadHandle);
    revive(caller, caller.world.guestSlave());
}

void askText(Caller& /*caller*/) {
    std::array<char, 128> text{};
    text.fill('x');
    xcpGetErrorText(kBadHandle, text.data());
    EXPECT_LT(std::string(text.data(), text.size()).find('\0'), text.size());
}

void takeSeed(Caller& caller) {
    const std::uint32_t slave = anySlave(caller);
    std::array<std::uint8_t, 255> seed{};
    std::uint8_t length = 0;
    expectStatus("xcpGetSeedEx", slave, xcpGetSeedEx(slave, 1, seed.data(), &length));
}

void giveKey(Caller& caller) {
    const std::uint32_t slave = anySlave(caller);
    const std::array<std::uint8_t, 4> key{};
    expectStatus("xcpUnlockEx", slave, xcpUnlockEx(slave, key.size(), key.data()));
}

}  // namespace

std::vector<Call> channelCalls() {
    std::vector<Call> calls{
        {"xcpInitializeCan", Share::often, addAndRemove},
        {"xcpUninitialize", Share::often, addAndRemove},
        {"xcpAddSlave", Share::often, addAndRemove},
        {"xcpRemoveSlave", Share::often, addAndRemove},
        {"xcpConfigSlave", Share::often, configure},
        {"xcpGetErrorText", Share::often, askText},
        {"xcpResetQueue", Share::often, [](Caller& c) { EXPECT_EQ(xcpResetQueue(anySlave(c)), kSuccess); }},
        {"xcpDequeuePacket", Share::often,
         [](Caller& c) { EXPECT_EQ(xcpDequeuePacket(anySlave(c)), kSuccess); }},
        {"xcpGetSeedEx", Share::often, takeSeed},
        {"xcpUnlockEx", Share::often, giveKey},
    };
    for (const channel_test::Function& function : channel_test::functions()) {
        calls.push_back(
            {function.name, Share::often, [&function](Caller& caller) { runCommand(function, caller); }});
    }
    return calls;
}

}  // namespace stress
