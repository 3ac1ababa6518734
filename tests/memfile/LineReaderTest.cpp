#include "memfile/LineReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

using memfile::LineReader;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> linesOf(std::istream& stream) {
    std::vector<std::string> lines;
    LineReader reader(stream);
    for (std::string_view line; reader.next(line);) {
        lines.emplace_back(line);
    }
    return lines;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    return linesOf(stream);
}

/// A stream that can't tell its length and hands out its text in one piece, as a pipe does.
class PipeBuffer : public std::streambuf {
public:
    explicit PipeBuffer(std::string text) : m_text(std::move(text)) {
        setg(m_text.data(), m_text.data(), m_text.data() + m_text.size());
    }

private:
    std::string m_text;
};

}  // namespace

TEST(LineReader, LineFeedsEndLinesAndTheLastLineNeedsNone) {
    EXPECT_THAT(linesOf("one\ntwo\n\nfour"), ElementsAre("one", "two", "", "four"));
    EXPECT_THAT(linesOf("one\n"), ElementsAre("one"));
    EXPECT_THAT(linesOf("\n"), ElementsAre(""));
    EXPECT_THAT(linesOf(""), IsEmpty());
}

TEST(LineReader, DropsACarriageReturnDirectlyAheadOfALineFeedAndNoOther) {
    EXPECT_THAT(linesOf("one\r\n\rtwo\r\r\nth\rree\r"), ElementsAre("one", "\rtwo\r", "th\rree\r"));
    EXPECT_THAT(linesOf("\r\n"), ElementsAre(""));
}

TEST(LineReader, KeepsZeroBytes) {
    EXPECT_THAT(linesOf(std::string("a\0b\nc", 5)), ElementsAre(std::string("a\0b", 3), "c"));
}

TEST(LineReader, JoinsLinesThatTheBufferCuts) {
    std::string text;
    std::vector<std::string> expected;
    for (int i = 0; i < 60000; ++i) {
        expected.push_back("line " + std::to_string(i));
        text += expected.back() + (i % 3 == 0 ? "\r\n" : "\n");
    }
    EXPECT_EQ(linesOf(text), expected);
}

TEST(LineReader, TakesALineThatIsLongerThanItsBuffer) {
    const std::string giant(1000003, 'x');
    EXPECT_THAT(linesOf("a\n" + giant + "\r\nb"), ElementsAre("a", giant, "b"));
}

TEST(LineReader, KnowsWhatIsLeft) {
    std::istringstream stream("skipped\none\ntwo\n");
    stream.seekg(8);
    LineReader reader(stream);
    EXPECT_EQ(reader.left(), 8U);
    std::string_view line;
    reader.next(line);
    EXPECT_EQ(line, "one");
    EXPECT_EQ(reader.left(), 4U);
    reader.next(line);
    EXPECT_EQ(reader.left(), 0U);
}

TEST(LineReader, ReadsAStreamThatCannotTellItsLength) {
    PipeBuffer buffer("one\ntwo");
    std::istream stream(&buffer);
    EXPECT_THAT(linesOf(stream), ElementsAre("one", "two"));
}

TEST(LineReader, FindsNothingInAFailedStream) {
    std::istringstream stream("one\n");
    stream.setstate(std::ios::failbit);
    EXPECT_THAT(linesOf(stream), IsEmpty());
}
