#include "host/CommandMatcher.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>

namespace {

using host::CommandMatcher;
using host::Protocol;

std::optional<int> sent(CommandMatcher& matcher, int code, int counter = 0) {
    const auto byte = static_cast<std::uint8_t>(code);
    const auto continued = matcher.sent({byte, 0, std::nullopt}, static_cast<std::uint8_t>(counter));
    return continued ? std::optional<int>(*continued) : std::nullopt;
}

// The code of the command answered; with 1000 added for a further part.
std::optional<int> answered(CommandMatcher& matcher, int counter = 0, bool positive = true) {
    const auto answer = matcher.answered(static_cast<std::uint8_t>(counter), positive);
    return answer ? std::optional<int>(answer->command.code + (answer->furtherPart ? 1000 : 0))
                  : std::nullopt;
}

TEST(CommandMatcherOfXcp, AnswerBelongsToTheLastCommand) {
    CommandMatcher matcher(Protocol::xcp);
    EXPECT_EQ(sent(matcher, 0xFF), std::nullopt);
    EXPECT_EQ(answered(matcher), 0xFF);
    EXPECT_EQ(sent(matcher, 0xFD), std::nullopt);
    EXPECT_EQ(sent(matcher, 0xFC), std::nullopt);
    EXPECT_EQ(answered(matcher, 0, false), 0xFC);
}

TEST(CommandMatcherOfXcp, SecondAnswerBelongsToNothing) {
    CommandMatcher matcher(Protocol::xcp);
    EXPECT_EQ(answered(matcher), std::nullopt);
    sent(matcher, 0xFD);
    EXPECT_EQ(answered(matcher), 0xFD);
    EXPECT_EQ(answered(matcher), std::nullopt);
}

TEST(CommandMatcherOfXcp, CounterIsNotLookedAt) {
    CommandMatcher matcher(Protocol::xcp);
    sent(matcher, 0xF4, 4);
    EXPECT_EQ(answered(matcher, 0x5A), 0xF4);
}

TEST(CommandMatcherOfXcp, FurtherFramesOfABlockContinueTheOneBefore) {
    CommandMatcher matcher(Protocol::xcp);
    EXPECT_EQ(sent(matcher, 0xF0), std::nullopt);
    EXPECT_EQ(sent(matcher, 0xEF), 0xF0);
    EXPECT_EQ(sent(matcher, 0xEF), 0xEF);
    EXPECT_EQ(answered(matcher), 0xEF);
    EXPECT_EQ(sent(matcher, 0xD0), std::nullopt);
    EXPECT_EQ(sent(matcher, 0xCA), 0xD0);
    EXPECT_EQ(answered(matcher), 0xCA);
}

TEST(CommandMatcherOfXcp, NextFrameOfAnotherBlockContinuesNothing) {
    CommandMatcher matcher(Protocol::xcp);
    sent(matcher, 0xF0);
    EXPECT_EQ(sent(matcher, 0xCA), std::nullopt);
    EXPECT_EQ(answered(matcher), 0xCA);
    EXPECT_EQ(sent(matcher, 0xEF), std::nullopt);
}

TEST(CommandMatcherOfXcp, UploadIsAnsweredInPartsUntilTheNextCommandOrAnError) {
    CommandMatcher matcher(Protocol::xcp);
    sent(matcher, 0xF5);
    EXPECT_EQ(answered(matcher), 0xF5);
    EXPECT_EQ(answered(matcher), 0xF5 + 1000);
    EXPECT_EQ(answered(matcher), 0xF5 + 1000);
    EXPECT_EQ(answered(matcher, 0, false), std::nullopt);
    sent(matcher, 0xFD);
    EXPECT_EQ(answered(matcher), 0xFD);
    EXPECT_EQ(answered(matcher), std::nullopt);
}

TEST(CommandMatcherOfXcp, RefusedUploadHasNoParts) {
    CommandMatcher matcher(Protocol::xcp);
    sent(matcher, 0xF5);
    EXPECT_EQ(answered(matcher, 0, false), 0xF5);
    EXPECT_EQ(answered(matcher), std::nullopt);
}

TEST(CommandMatcherOfCcp, AnswerBelongsToTheCommandWithItsCounter) {
    CommandMatcher matcher(Protocol::ccp);
    sent(matcher, 0x02, 7);
    sent(matcher, 0x04, 8);
    EXPECT_EQ(answered(matcher, 9), std::nullopt);
    EXPECT_EQ(answered(matcher, 8), 0x04);
    EXPECT_EQ(answered(matcher, 7), 0x02);
    EXPECT_EQ(answered(matcher, 7), std::nullopt);
}

TEST(CommandMatcherOfCcp, CounterThatComesAgainForgetsTheCommandBefore) {
    CommandMatcher matcher(Protocol::ccp);
    sent(matcher, 0x02, 255);
    sent(matcher, 0x04, 255);
    EXPECT_EQ(answered(matcher, 255), 0x04);
    EXPECT_EQ(answered(matcher, 255), std::nullopt);
}

TEST(CommandMatcherOfCcp, CodesOfXcpBlocksMeanNothing) {
    CommandMatcher matcher(Protocol::ccp);
    sent(matcher, 0xF0, 1);
    EXPECT_EQ(sent(matcher, 0xEF, 1), std::nullopt);
}

}  // namespace
