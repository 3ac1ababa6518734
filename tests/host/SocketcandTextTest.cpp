// The stream of a socketcand connection: cutting, reading, writing.

#include "host/SocketcandText.h"

#include "tests/host/BusTesting.h"

#include <gmock/gmock.h>

#include <random>
#include <string>
#include <vector>

namespace {

using host::BusFrame;
using host::frameElement;
using host::readFrameElement;
using host::readSendElement;
using host::sendElement;
using host::SocketcandReader;
using host_test::frameOf;
using host_test::textOf;
using ::testing::ElementsAre;

std::vector<std::string> elementsOf(const std::vector<std::string>& segments) {
    SocketcandReader reader;
    std::vector<std::string> elements;
    for (const std::string& segment : segments) {
        reader.read(segment, [&elements](std::string_view content) { elements.emplace_back(content); });
    }
    return elements;
}

std::string sent(const std::string& element) {
    const auto frame = readSendElement(element);
    return frame ? textOf(BusFrame{*frame, 0, false}) : "refused";
}

std::string received(const std::string& element) {
    const auto frame = readFrameElement(element);
    return frame ? textOf(*frame) + " at " + std::to_string(frame->timeUs) : "refused";
}

TEST(SocketcandReader, ElementsOfOneSegmentComeOneByOne) {
    EXPECT_THAT(elementsOf({"< hi >< ok >< frame 123 1.5 00 >\n"}),
                ElementsAre("hi", "ok", "frame 123 1.5 00"));
}

TEST(SocketcandReader, SegmentsMayEndAtEachByte) {
    const std::string stream = "< open can0 >\n< send 123 1 A >";
    for (std::size_t i = 0; i <= stream.size(); ++i) {
        EXPECT_THAT(elementsOf({stream.substr(0, i), stream.substr(i)}),
                    ElementsAre("open can0", "send 123 1 A"))
            << i;
    }
}

TEST(SocketcandReader, WhatStandsBetweenElementsIsSkipped) {
    EXPECT_THAT(elementsOf({" \r\n x >> ", std::string("\0\xFF", 2), "< hi > junk < ok >"}),
                ElementsAre("hi", "ok"));
}

TEST(SocketcandReader, BlanksInsideTheBracketsMayBeMissing) {
    EXPECT_THAT(elementsOf({"<hi><  ok   >"}), ElementsAre("hi", "ok"));
}

TEST(SocketcandReader, OpeningBracketBeginsTheElementAnew) {
    EXPECT_THAT(elementsOf({"< send 12< hi >"}), ElementsAre("hi"));
}

TEST(SocketcandReader, ElementThatIsTooLongComesAsAnEmptyOne) {
    EXPECT_THAT(elementsOf({"<" + std::string(512, 'x') + ">"}), ElementsAre(std::string(512, 'x')));
    EXPECT_THAT(elementsOf({"<" + std::string(513, 'x') + ">", "< hi >"}), ElementsAre("", "hi"));
    EXPECT_THAT(elementsOf({"<" + std::string(1'000'000, 'x'), ">< hi >"}), ElementsAre("", "hi"));
}

TEST(SocketcandReader, NoiseNeverGivesALongElement) {
    constexpr unsigned kSeed = 7;
    std::mt19937 random(kSeed);
    SocketcandReader reader;
    std::size_t elements = 0;
    for (int segment = 0; segment < 2000; ++segment) {
        std::string bytes;
        for (int i = 0; i < 50; ++i) {
            bytes.push_back("<> sendframefdopen0123456789ABCDEF.\n"[random() % 35]);
        }
        reader.read(bytes, [&elements](std::string_view content) {
            ++elements;
            EXPECT_LE(content.size(), host::kMostElement);
            static_cast<void>(readSendElement(content));
            static_cast<void>(readFrameElement(content));
        });
    }
    EXPECT_GT(elements, 100U) << "seed " << kSeed;
}

TEST(SocketcandSend, CountOfDigitsTellsTheWidthOfTheIdentifier) {
    EXPECT_EQ(sent("send 123 2 1 AB"), "123#01AB");
    EXPECT_EQ(sent("send 00000123 2 01 ab"), "00000123#01AB");
    EXPECT_EQ(sent("send 18DA0001 0"), "18DA0001#");
}

TEST(SocketcandSend, IdentifierWithoutLeadingZerosIsTakenAsFarAsItCanBeTold) {
    EXPECT_EQ(sent("send 7 0"), "007#");
    EXPECT_EQ(sent("send 1FFFFF 0"), "001FFFFF#");
}

TEST(SocketcandSend, EightBytesAreTheMost) {
    EXPECT_EQ(sent("send 123 8 1 2 3 4 5 6 7 8"), "123#0102030405060708");
    EXPECT_EQ(sent("send 123 9 1 2 3 4 5 6 7 8 9"), "refused");
}

TEST(SocketcandSend, CanFdHasFlagsAndUpTo64Bytes) {
    const auto frame = readSendElement("fdsend 123 3 2 1 2");
    ASSERT_TRUE(frame);
    EXPECT_TRUE(frame->fd);
    EXPECT_TRUE(frame->brs);
    EXPECT_FALSE(readSendElement("fdsend 123 2 0")->brs);
    std::string longest = "fdsend 123 1 64";
    for (int i = 0; i < 64; ++i) {
        longest += " AA";
    }
    EXPECT_EQ(readSendElement(longest)->length, 64);
    EXPECT_EQ(sent(longest + " AA"), "refused");
}

TEST(SocketcandSend, EverythingElseIsRefused) {
    for (const char* element : {"",
                                "send",
                                "send 123",
                                "send 123 1",
                                "send 123 1 1 2",
                                "send 123 2 1",
                                "send 123 -1",
                                "send 123 x",
                                "send 123 1 123",
                                "send 123 1 G",
                                "send 123 1 -1",
                                "send 800 0",
                                "send 20000000 0",
                                "send 000000123 0",
                                "send 0x123 0",
                                "send -1 0",
                                "fdsend 123 1",
                                "fdsend 123 10 0",
                                "fdsend 123 1 65",
                                "frame 123 1.0 00",
                                "sends 123 0",
                                "send 123 300"}) {
        EXPECT_EQ(sent(element), "refused") << element;
    }
}

TEST(SocketcandFrame, IsReadWithItsTime) {
    EXPECT_EQ(received("frame 123 1700000000.000042 DEADBEEF"), "123#DEADBEEF at 1700000000000042");
    EXPECT_EQ(received("frame 18DA0002 0.5 ff"), "18DA0002#FF at 500000");
}

TEST(SocketcandFrame, EmptyDataLeavesTwoBlanks) {
    EXPECT_THAT(elementsOf({"< frame 123 2.000001  >"}), ElementsAre("frame 123 2.000001"));
    EXPECT_EQ(received("frame 123 2.000001"), "123# at 2000001");
}

TEST(SocketcandFrame, CanFdHasFlags) {
    const auto frame = readFrameElement("fdframe 123 1 1.0 000102030405060708090A0B");
    ASSERT_TRUE(frame);
    EXPECT_TRUE(frame->frame.fd);
    EXPECT_TRUE(frame->frame.brs);
    EXPECT_EQ(frame->frame.length, 12);
}

TEST(SocketcandFrame, EverythingElseIsRefused) {
    for (const char* element :
         {"", "frame", "frame 123", "frame 123 1", "frame 123 1.0 0", "frame 123 1.0 0G",
          "frame 123 1.0 00 00", "frame 123 1.0000001 00", "frame 123 -1.0 00", "frame 123 1.-1 00",
          "frame 123 99999999999999999999.0 00", "frame 123 9999999999999.0 00", "frame 800 1.0 00",
          "frame 123 1.0 000102030405060708", "fdframe 123 1.0 00", "send 123 0"}) {
        EXPECT_EQ(received(element), "refused") << element;
    }
}

TEST(SocketcandText, ClientSaysItsFrames) {
    EXPECT_EQ(sendElement(frameOf(0x18DA0001, {0xFF, 0}).frame), "< send 18DA0001 2 FF 00 >");
    sim::Frame frame;
    frame.id = 0x12;
    EXPECT_EQ(sendElement(frame), "< send 012 0 >");
    frame.fd = true;
    frame.length = 1;
    EXPECT_EQ(sendElement(frame), "< fdsend 012 0 1 00 >");
    frame.brs = true;
    EXPECT_EQ(sendElement(frame), "< fdsend 012 1 1 00 >");
}

TEST(SocketcandText, ServerEndsEachFrameWithALineFeed) {
    BusFrame frame = frameOf(0x18DA0002, {0xFF, 0});
    frame.timeUs = 1'700'000'000'000'042;
    EXPECT_EQ(frameElement(frame), "< frame 18DA0002 1700000000.000042 FF00 >\n");
    frame.frame.fd = frame.frame.brs = true;
    EXPECT_EQ(frameElement(frame), "< fdframe 18DA0002 1 1700000000.000042 FF00 >\n");
}

TEST(SocketcandText, EmptyFrameIsWrittenWithTwoBlanks) {
    BusFrame frame;
    frame.frame.id = 0x7FF;
    frame.timeUs = 1;
    EXPECT_EQ(frameElement(frame), "< frame 7FF 0.000001  >\n");
}

}  // namespace
