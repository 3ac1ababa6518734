#include "TalvexAnalyse.h"
#include "tests/decode/DecodeTesting.h"

#include <algorithm>
#include <iostream>
#include <random>

namespace {

using namespace decode_testing;
using namespace talvex_interface;

/// Frames of any content and length, one in four with a length that cannot be.
class AnyFrame {
public:
    explicit AnyFrame(std::uint32_t seed) : m_random(seed) {}

    std::uint8_t byte() { return byteOf(m_random() & 0xFFU); }

    msgBuf next() {
        msgBuf msg;
        for (std::uint8_t& value : msg.data) {
            value = byte();
        }
        const std::uint16_t any = static_cast<std::uint16_t>(m_random() & 0xFFFFU);
        msg.length = byte() < 64 ? any : static_cast<std::uint16_t>(any % 65);
        return msg;
    }

private:
    std::mt19937 m_random;
};

/// Text of a byte string of at most 255 bytes, or of an entry of the tables.
void expectPlausible(const std::vector<mcDecodeField>& fields) {
    EXPECT_LE(fields.size(), 17U);
    for (const mcDecodeField& field : fields) {
        EXPECT_FALSE(field.label.empty());
        EXPECT_LE(field.text.size(), 512U);
        EXPECT_TRUE(std::ranges::all_of(field.text, [](char c) { return c >= ' ' && c <= '~'; }))
            << field.text;
    }
}

/// What does not depend on the byte order: labels, marks, and how many fields there are.
void expectSameShape(const std::vector<mcDecodeField>& little, const std::vector<mcDecodeField>& big) {
    ASSERT_EQ(little.size(), big.size());
    for (std::size_t i = 0; i < little.size(); ++i) {
        EXPECT_EQ(little[i].label, big[i].label);
        EXPECT_EQ(little[i].mark, big[i].mark);
    }
}

template <class Analyse>
void expectSound(Analyse analyse) {
    const std::vector<mcDecodeField> little = analyse(false);
    const std::vector<mcDecodeField> big = analyse(true);
    expectPlausible(little);
    expectPlausible(big);
    expectSameShape(little, big);
    EXPECT_EQ(shown(analyse(false)), shown(little));
}

TEST(Analysers, StayInsideEveryFrameWhateverItsBytesAndLength) {
    const std::uint32_t seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    RecordProperty("seed", std::to_string(seed));
    std::cout << "seed " << seed << '\n';
    AnyFrame any(seed);
    for (int round = 0; round < 20000 && !testing::Test::HasFailure(); ++round) {
        const msgBuf msg = any.next();
        const std::uint8_t code = any.byte();
        expectSound([&](bool swap) { return ccpSendMsgAnalyse(msg, swap); });
        expectSound([&](bool swap) { return ccpRecvMsgAnalyse(code, msg, swap); });
        expectSound([&](bool swap) { return xcpSendMsgAnalyse(msg, swap); });
        expectSound([&](bool swap) { return xcpRecvMsgAnalyse(code, msg, swap); });
        expectSound([&](bool swap) { return xcpEventMsgAnalyse(msg, swap); });
        EXPECT_LE(getCommandName(code, any.byte(), (any.byte() & 1U) != 0).size(), 27U);
    }
}

}  // namespace
