// Failures of operations on memory that the library goes on behind.

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

using Bytes = std::vector<std::uint8_t>;

host::Config oneEcu() {
    host::Config config;
    config.buses.resize(1);
    config.ecus.resize(1);
    config.ecus[0].commandId = 0x600;
    config.ecus[0].responseId = 0x601;
    return config;
}

class MemoryAnswers : public ::testing::Test {
protected:
    void sent(const Bytes& bytes) { put(0x600, bytes); }
    void answered(const Bytes& bytes) { put(0x601, bytes); }

    void expect(ExitCode code, const std::string& text) const {
        const AnswerVerdict verdict = m_watch.memoryVerdict(0);
        EXPECT_EQ(verdict.text, text);
        EXPECT_EQ(verdict.code, code);
    }

    AnswerVerdict verdict() const { return m_watch.memoryVerdict(0); }

    const host::Config m_config = oneEcu();
    AnswerWatch m_watch{m_config, {0}};
    const Bytes m_clear{0xD1, 0, 0, 0, 0, 0x10, 0, 0};
    const Bytes m_reset{0xCF};
    const Bytes m_setPage{0xEB, 3, 0, 0};
    const Bytes m_done{0xFF};
    const Bytes m_denied{0xFE, 0x24};

private:
    void put(std::uint32_t id, const Bytes& bytes) {
        host::BusFrame made;
        made.frame.id = id;
        made.frame.length = static_cast<std::uint8_t>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), made.frame.data.begin());
        m_watch.take(0, made);
    }
};

TEST_F(MemoryAnswers, RefusalStaysWhenTheLibraryGoesOn) {
    sent(m_clear);
    answered(m_denied);
    sent(m_reset);
    answered(m_done);
    expect(ExitCode::refused,
           "PROGRAM_CLEAR was answered with error 0x24, "
           "The memory location is not accessible.");
}

TEST_F(MemoryAnswers, RepeatThatHelpsIsNoRefusal) {
    sent(m_clear);
    answered(m_denied);
    sent(m_clear);
    answered(m_done);
    sent(m_reset);
    answered(m_done);
    expect(ExitCode::failed, "");
}

TEST_F(MemoryAnswers, PageThatAnEcuDoesNotPutBackBehindAResetIsNoFailure) {
    sent(m_reset);
    answered(m_done);
    sent(m_setPage);
    expect(ExitCode::failed, "");
}

TEST_F(MemoryAnswers, CommandThatNobodyAnsweredIsNotForgottenByTheNextOne) {
    sent({0xF5, 7});
    sent(m_setPage);
    answered(m_done);
    expect(ExitCode::noAnswer, "no answer to UPLOAD (sent with 600, awaited with 601)");
}

TEST_F(MemoryAnswers, BlockOfSeveralFramesHasOneAnswer) {
    sent({0xF0, 12, 1, 2, 3, 4, 5, 6});
    sent({0xEF, 6, 1, 2, 3, 4, 5, 6});
    answered(m_done);
    sent(m_reset);
    answered(m_done);
    expect(ExitCode::failed, "");
}

class StartAnswers : public MemoryAnswers {
protected:
    StartAnswers() { m_watch.beginStart(0); }

    const Bytes m_setMode{0xE0, 0, 0, 0, 0, 0, 1, 0};
    const Bytes m_start{0xDD, 1};
    const Bytes m_writeDaq{0xE1, 0xFF, 4, 0, 0, 0, 0, 0x20};
    const Bytes m_shortUpload{0xF4, 4, 0, 0, 0, 0, 0, 0x20};
    const Bytes m_unknown{0xFE, 0x20};
};

TEST_F(StartAnswers, RefusedModeOfAListStays) {
    sent(m_setMode);
    answered(m_unknown);
    sent(m_start);
    answered(m_done);
    EXPECT_EQ(verdict().code, ExitCode::refused);
    EXPECT_EQ(verdict().text.substr(0, 44), "SET_DAQ_LIST_MODE was answered with error 0x");
}

TEST_F(StartAnswers, EntryThatIsPolledInsteadIsNoRefusal) {
    sent(m_writeDaq);
    answered(m_unknown);
    sent(m_start);
    answered(m_done);
    EXPECT_EQ(verdict().text, "");
}

TEST_F(StartAnswers, PollingThatGoesOnIsNotAwaited) {
    sent(m_start);
    answered(m_done);
    sent(m_shortUpload);
    EXPECT_EQ(verdict().text, "");
}

TEST_F(StartAnswers, CommandWithoutAnAnswerStays) {
    sent(m_setMode);
    sent(m_start);
    answered(m_done);
    EXPECT_EQ(verdict().code, ExitCode::noAnswer);
}

}  // namespace
