// Why an operation failed, as the frames tell it.

#include "host/AnswerWatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using host::AnswerVerdict;
using host::AnswerWatch;
using host::ExitCode;

// An XCP ECU on bus 0 with identifiers 0x600 and 0x601, and a CCP ECU on bus 1 with the same.
host::Config twoEcus() {
    host::Config config;
    config.buses.resize(2);
    config.ecus.resize(2);
    for (std::size_t i = 0; i < 2; ++i) {
        config.ecus[i].bus = i;
        config.ecus[i].ccp = i == 1;
        config.ecus[i].commandId = 0x600;
        config.ecus[i].responseId = 0x601;
    }
    return config;
}

host::BusFrame frame(std::uint32_t id, const std::vector<std::uint8_t>& bytes) {
    host::BusFrame made;
    made.frame.id = id;
    made.frame.length = static_cast<std::uint8_t>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), made.frame.data.begin());
    made.own = id == 0x600;
    return made;
}

class Answers : public ::testing::Test {
protected:
    void expectVerdict(std::size_t ecu, ExitCode code, const std::string& text) const {
        const AnswerVerdict verdict = m_watch.verdict(ecu);
        EXPECT_EQ(verdict.code, code);
        EXPECT_EQ(verdict.text, text);
    }

    host::Config m_config = twoEcus();
    AnswerWatch m_watch{m_config, {0, 1}};
};

TEST_F(Answers, WithoutFramesThereIsNothingToTell) {
    expectVerdict(0, ExitCode::failed, "");
}

TEST_F(Answers, CommandWithoutAnswerIsNamedWithItsIdentifiers) {
    m_watch.take(0, frame(0x600, {0xFF, 0x00}));
    expectVerdict(0, ExitCode::noAnswer, "no answer to CONNECT (sent with 600, awaited with 601)");
    expectVerdict(1, ExitCode::failed, "");
}

TEST_F(Answers, AnsweredCommandIsNothingToTell) {
    m_watch.take(0, frame(0x600, {0xFD}));
    m_watch.take(0, frame(0x601, {0xFF, 0x00, 0x00, 0x00, 0x00, 0x00}));
    expectVerdict(0, ExitCode::failed, "");
}

TEST_F(Answers, MeasuredDataAreNoAnswer) {
    m_watch.take(0, frame(0x600, {0xFD}));
    m_watch.take(0, frame(0x601, {0x00, 0x01, 0x02}));
    EXPECT_EQ(m_watch.verdict(0).code, ExitCode::noAnswer);
}

TEST_F(Answers, FramesOfAnotherBusAreNoAnswer) {
    m_watch.take(0, frame(0x600, {0xFD}));
    m_watch.take(1, frame(0x601, {0xFF, 0x00}));
    EXPECT_EQ(m_watch.verdict(0).code, ExitCode::noAnswer);
}

TEST_F(Answers, LockedResourceOfXcpIsLocked) {
    m_watch.take(0, frame(0x600, {0xF0, 0x01, 0x55}));
    m_watch.take(0, frame(0x601, {0xFE, 0x25}));
    const AnswerVerdict verdict = m_watch.verdict(0);
    EXPECT_EQ(verdict.code, ExitCode::locked);
    EXPECT_EQ(verdict.text.rfind("DOWNLOAD was answered with error 0x25, ", 0), 0U) << verdict.text;
}

TEST_F(Answers, OtherErrorOfXcpIsRefused) {
    m_watch.take(0, frame(0x600, {0xF0, 0x01, 0x55}));
    m_watch.take(0, frame(0x601, {0xFE, 0x23}));
    EXPECT_EQ(m_watch.verdict(0).code, ExitCode::refused);
}

TEST_F(Answers, LockedResourceOfCcpIsLocked) {
    m_watch.take(1, frame(0x600, {0x03, 0x07, 0x01, 0x55, 0, 0, 0, 0}));
    m_watch.take(1, frame(0x601, {0xFF, 0x35, 0x07, 0, 0, 0, 0, 0}));
    const AnswerVerdict verdict = m_watch.verdict(1);
    EXPECT_EQ(verdict.code, ExitCode::locked);
    EXPECT_EQ(verdict.text.rfind("DNLOAD was answered with error 0x35, ", 0), 0U) << verdict.text;
}

TEST_F(Answers, ErrorStandsUntilTheNextOperationBegins) {
    m_watch.take(0, frame(0x600, {0xF0, 0x01, 0x55}));
    m_watch.take(0, frame(0x601, {0xFE, 0x23}));
    m_watch.take(0, frame(0x600, {0xFD}));
    m_watch.take(0, frame(0x601, {0xFF, 0x00, 0x00, 0x00, 0x00, 0x00}));
    EXPECT_EQ(m_watch.verdict(0).code, ExitCode::refused);
    m_watch.begin(0);
    expectVerdict(0, ExitCode::failed, "");
}

TEST_F(Answers, EcuThatIsNotWatchedTellsNothing) {
    const AnswerWatch none(m_config, {});
    EXPECT_EQ(none.verdict(0).text, "");
}

}  // namespace
