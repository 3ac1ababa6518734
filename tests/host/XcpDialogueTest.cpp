// Commands and answers of an XCP ECU that is late, at work for ever, or odd.

#include "host/XcpDialogue.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <vector>

namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kId = 0x601;

// An ECU that answers each command with the next row of its script.
class XcpDialogue : public ::testing::Test {
protected:
    void answer(const Bytes& bytes) {
        host::BusFrame bus;
        bus.frame.id = kId;
        bus.frame.length = static_cast<std::uint8_t>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), bus.frame.data.begin());
        m_responses.take(bus);
    }

    host::XcpDialogue dialogue(int retries) {
        return {{[this](const Bytes& command) { onCommand(command); },
                 {milliseconds(20), milliseconds(100), [this] { return asksToGiveUp(); }},
                 retries},
                m_responses};
    }

    bool asksToGiveUp() {
        if (m_atWork) {
            answer({0xFD, 0x05});
        }
        return m_giveUp;
    }

    void onCommand(const Bytes& command) {
        m_sent.push_back(command);
        if (!m_script.empty()) {
            for (const Bytes& bytes : m_script.front()) {
                answer(bytes);
            }
            m_script.pop_front();
        }
    }

    static host::EcuRecord record() {
        host::EcuRecord record;
        record.responseId = kId;
        return record;
    }

    host::XcpResponses m_responses{record()};
    std::deque<std::vector<Bytes>> m_script;
    std::vector<Bytes> m_sent;
    bool m_giveUp = false;
    bool m_atWork = false;  // says so again and again
};

TEST_F(XcpDialogue, AnswerComesWithItsLength) {
    m_script = {{{0xFF, 0x12, 0x34}}};
    const auto answer = dialogue(0).ask({0xFD});
    ASSERT_TRUE(answer);
    EXPECT_TRUE(answer->good());
    EXPECT_EQ(answer->length, 3U);
    EXPECT_EQ(answer->bytes[2], 0x34);
}

TEST_F(XcpDialogue, LateAnswerIsNotTakenForThatOfTheRepeat) {
    // Nothing in time; then the late one ahead of the answer to SYNCH; then the one to the repeat.
    m_script = {{}, {{0xFF, 0x01}, {0xFE, 0x00}}, {{0xFF, 0x02}}};
    const auto answer = dialogue(1).ask({0xFD});
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->bytes[1], 0x02);
    EXPECT_THAT(m_sent, ElementsAre(Bytes{0xFD}, Bytes{0xFC}, Bytes{0xFD}));
}

TEST_F(XcpDialogue, ConnectIsRepeatedWithoutSynchWhichNoEcuAnswersThen) {
    m_script = {{}, {{0xFF, 0x01}}};
    ASSERT_TRUE(dialogue(1).ask({0xFF, 0x00}));
    EXPECT_THAT(m_sent, ElementsAre(Bytes{0xFF, 0x00}, Bytes{0xFF, 0x00}));
}

TEST_F(XcpDialogue, BusyEcuIsAskedAgainAsItIs) {
    m_script = {{{0xFE, 0x10}}, {{0xFF, 0x01}}};
    const auto answer = dialogue(1).ask({0xFD});
    ASSERT_TRUE(answer);
    EXPECT_TRUE(answer->good());
    EXPECT_THAT(m_sent, ElementsAre(Bytes{0xFD}, Bytes{0xFD}));
}

TEST_F(XcpDialogue, SilenceIsNoAnswer) {
    EXPECT_FALSE(dialogue(1).ask({0xFD}));
    EXPECT_THAT(m_sent, ElementsAre(Bytes{0xFD}, Bytes{0xFC}, Bytes{0xFD}));
}

TEST_F(XcpDialogue, EcuThatIsAtWorkForEverIsGivenUp) {
    m_atWork = true;
    EXPECT_FALSE(dialogue(0).ask({0xFD}));
}

TEST_F(XcpDialogue, EcuThatIsAtWorkHasItsTimeAgain) {
    m_script = {{{0xFD, 0x05}, {0xFD, 0x05}, {0xFF, 0x07}}};
    const auto answer = dialogue(0).ask({0xFD});
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->bytes[1], 0x07);
}

TEST_F(XcpDialogue, InterruptEndsWaitingWithoutARepeat) {
    m_giveUp = true;
    EXPECT_FALSE(dialogue(5).ask({0xFD}));
    EXPECT_THAT(m_sent, ElementsAre(Bytes{0xFD}));
}

TEST_F(XcpDialogue, UploadGoesOnFrameByFrame) {
    m_script = {{{0xFF, 1, 2, 3, 4, 5, 6, 7}}, {{0xFF, 8, 9}}};
    EXPECT_EQ(dialogue(0).upload({{0xFA, 0}, 9, 1}), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_THAT(m_sent, ElementsAre(Bytes{0xF5, 7}, Bytes{0xF5, 2}));
}

TEST_F(XcpDialogue, UploadBeginsAnewWithItsPositionIfAnAnswerIsMissing) {
    m_script = {{{0xFF, 1, 2, 3, 4, 5, 6, 7}}, {},         {{0xFE, 0x00}}, {{0xFF, 0, 0, 0, 9, 0, 0, 0}},
                {{0xFF, 1, 2, 3, 4, 5, 6, 7}}, {{0xFF, 8}}};
    EXPECT_EQ(dialogue(1).upload({{0xFA, 0}, 8, 1}), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_THAT(m_sent, ElementsAre(Bytes{0xF5, 7}, Bytes{0xF5, 1}, Bytes{0xFC}, Bytes{0xFA, 0},
                                    Bytes{0xF5, 7}, Bytes{0xF5, 1}));
}

TEST_F(XcpDialogue, UploadOfElementsThatNoFrameHasRoomForReadsNothing) {
    EXPECT_EQ(dialogue(0).upload({{0xFA, 0}, 8, 8}), Bytes());
    EXPECT_TRUE(m_sent.empty());
}

TEST_F(XcpDialogue, UploadEndsWithAnAnswerThatIsTooShort) {
    m_script = {{{0xFF, 1, 2, 3, 4, 5, 6, 7}}, {{0xFF}}};
    EXPECT_EQ(dialogue(0).upload({{0xFA, 0}, 9, 1}), (Bytes{1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(XcpDialogue, OfOtherIdentifiersAndOwnFramesNothingIsTakenForAnAnswer) {
    host::BusFrame other;
    other.frame.id = kId + 1;
    other.frame.length = 1;
    other.frame.data[0] = 0xFF;
    m_responses.take(other);
    other.frame.id = kId;
    other.own = true;
    m_responses.take(other);
    EXPECT_FALSE(m_responses.next({milliseconds(1), milliseconds(1), [] { return false; }}));
}

}  // namespace
