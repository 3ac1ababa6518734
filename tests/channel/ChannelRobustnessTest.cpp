// Random calls with random arguments against an ECU that answers at random.
#include "tests/channel/ChannelCalls.h"
#include "tests/channel/ChannelTestSupport.h"

#include <algorithm>
#include <iostream>
#include <random>

using namespace channel_test;

namespace {

class Random {
public:
    explicit Random(std::uint32_t seed) : m_engine(seed) {}

    /// @return a number from 0 to @p last
    std::uint32_t upTo(std::uint32_t last) {
        return std::uniform_int_distribution<std::uint32_t>(0, last)(m_engine);
    }

    bool oneIn(std::uint32_t count) { return upTo(count - 1) == 0; }
    std::uint8_t byte() { return static_cast<std::uint8_t>(upTo(255)); }

    std::uint8_t oneOf(std::initializer_list<std::uint8_t> values) {
        return values.begin()[upTo(static_cast<std::uint32_t>(values.size()) - 1)];
    }

    std::vector<std::uint8_t> bytes(std::size_t count) {
        std::vector<std::uint8_t> made(count);
        std::generate(made.begin(), made.end(), [this] { return byte(); });
        return made;
    }

private:
    std::mt19937 m_engine;
};

class ChannelRobustness : public ChannelTest {
protected:
    /// A response: none, busy, an error, or anything positive; ahead of it sometimes other frames.
    Texts answer() {
        Texts frames;
        if (m_random.oneIn(10)) {
            frames.push_back(support::hexText(m_random.bytes(1 + m_random.upTo(63))));
        }
        std::vector<std::uint8_t> response = m_random.bytes(1 + m_random.upTo(m_random.oneIn(2) ? 7 : 63));
        response[0] = m_random.oneIn(8) ? 0xFE : 0xFF;
        if (m_random.oneIn(100)) {
            response = {0xFE, 0x10};
        }
        if (!m_random.oneIn(60)) {
            frames.push_back(support::hexText(response));
        }
        return frames;
    }

    /// What an ECU or a host might bring about; kept within what a test has time for.
    void changesTheSlave() {
        EcuProtoCfg& cfg = object().m_cfg;
        cfg.maxCto = m_random.oneOf({0, 1, 2, 3, 7, 8, 8, 8, 9, 17, 63, 64, 65, 128, 255});
        cfg.maxDto = m_random.oneOf({0, 1, 8, 64, 255});
        cfg.padFrames = m_random.oneOf({0, 1});
        cfg.masterFd = m_random.oneOf({0, 1});
        cfg.xcp.addressGranularity = m_random.oneOf({0, 1, 1, 2, 3, 4, 8, 63, 64, 65, 255});
        cfg.xcp.retryCount = m_random.oneOf({0, 0, 1, 2});
        cfg.xcp.useSlaveBlockMode = m_random.oneOf({0, 0, 0, 1});
        object().m_byteOrder = m_random.oneOf({0, 1});
    }

    /// Arguments with as much memory behind their pointers as a function is told of, and no more.
    struct Drawn {
        Args args;
        std::vector<std::uint8_t> data;
        std::vector<XcpDaqEntry> entries;
    };

    Drawn draws(const std::string& name) {
        Drawn drawn;
        drawn.args.b0 = m_random.oneOf({0, 1, 2, 6, 7, 8, 62, 63, 64, 255, m_random.byte()});
        drawn.args.b1 = m_random.byte();
        drawn.args.b2 = m_random.byte();
        drawn.args.b3 = m_random.byte();
        drawn.args.w0 = static_cast<std::uint16_t>(m_random.upTo(65535));
        drawn.args.w1 = static_cast<std::uint16_t>(m_random.upTo(65535));
        drawn.args.l0 = m_random.upTo(0xFFFFFFFF);
        drawn.data = m_random.bytes(name.ends_with("Max") ? roomOfMax() : drawn.args.b0);
        drawn.entries.resize(drawn.args.b0);
        if (!m_random.oneIn(10)) {
            drawn.args.data = drawn.data.data();
            drawn.args.entries = drawn.entries.data();
        }
        return drawn;
    }

    /// Bytes that a frame full of data takes.
    std::size_t roomOfMax() {
        const EcuProtoCfg& cfg = object().m_cfg;
        const int header = std::clamp<int>(cfg.xcp.addressGranularity, 1, 3);
        return static_cast<std::size_t>(std::max(std::min<int>(cfg.maxCto, 64) - header, 0));
    }

    void checksBuffer(const std::vector<std::uint8_t>& to, const std::string& name) {
        const msgBuf& last = object().m_lastResponse;
        std::vector<std::uint8_t> expected(to.size(), 0);
        std::copy_n(last.data.begin(), std::min<std::size_t>(last.length, to.size()), expected.begin());
        EXPECT_EQ(to, expected) << name;
    }

    void callsAFunction() {
        const Function& function =
            functions()[m_random.upTo(static_cast<std::uint32_t>(functions().size()) - 1)];
        const Drawn drawn = draws(function.name);
        std::vector<std::uint8_t> to(m_random.oneOf({0, 1, 8, 63, 64, 65, 255}), 0xAA);
        const auto room = static_cast<std::uint16_t>(to.size());
        if (m_random.oneIn(20)) {
            const std::uint32_t unknown = slave + 1 + m_random.upTo(1000);
            EXPECT_EQ(function.call(drawn.args, {unknown, to.data(), room}), kBadHandle);
            EXPECT_THAT(to, testing::Each(0xAA));
            return;
        }
        std::uint8_t* const target = m_random.oneIn(10) ? nullptr : to.data();
        const std::uint32_t status = function.call(drawn.args, {slave, target, room});
        EXPECT_TRUE(status <= kSuccess || status == kNoAnswer) << function.name << " " << status;
        if (target != nullptr) {
            checksBuffer(to, function.name);
        }
    }

    void runsSeedAndKey() {
        std::vector<std::uint8_t> seed(255);
        std::uint8_t length = 0;
        const std::uint32_t got = xcpGetSeedEx(slave, m_random.byte(), seed.data(), &length);
        EXPECT_TRUE(length > 0 ? got == kSuccess : got <= kSuccess || got == kNoAnswer) << got;
        const std::vector<std::uint8_t> key = m_random.bytes(m_random.byte());
        const std::uint32_t unlocked = xcpUnlockEx(slave, static_cast<std::uint8_t>(key.size()), key.data());
        EXPECT_TRUE(unlocked <= kSuccess || unlocked == kNoAnswer) << unlocked;
    }

    void checksSentFrames() {
        EXPECT_FALSE(ecu.sent().empty());
        for (const support::SentFrame& frame : ecu.sent()) {
            EXPECT_LE(frame.data.size(), 64U);
        }
        host.clear();
        ecu.clearSent();
    }

    Random m_random{0};
};

}  // namespace

TEST_F(ChannelRobustness, RandomCallsStayWithinTheirRecords) {
    const std::uint32_t seed = std::random_device{}();
    std::cout << "seed " << seed << std::endl;
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    m_random = Random(seed);
    proto = protoCfg(1);
    startsAnew();
    ecu.answersBy("..", [this](const std::string&) { return answer(); });
    for (int i = 0; i < 20000 && !HasFailure(); ++i) {
        if (i % 16 == 0) {
            changesTheSlave();
        }
        if (i % 1000 == 999) {
            checksSentFrames();
        }
        if (object().m_linkLost && m_random.oneIn(3)) {
            ASSERT_EQ(xcpConfigSlave(slave, can, proto), kSuccess);
        }
        if (m_random.oneIn(50)) {
            runsSeedAndKey();
        } else {
            callsAFunction();
        }
    }
}
