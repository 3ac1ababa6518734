// Blocks joined, cut and compared.

#include "host/HexCompare.h"
#include "host/HexCrop.h"
#include "host/HexImage.h"
#include "host/HostError.h"

#include <gtest/gtest.h>

#include <list>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using host::HexDifferenceKind;
using host::HexFile;
using host::HexRange;
using host::HostError;

using Blocks = std::list<mem_buf>;
// Address and bytes.
using Plain = std::vector<std::pair<std::uint32_t, std::vector<std::uint8_t>>>;

Plain plain(const Blocks& blocks) {
    Plain result;
    for (const mem_buf& block : blocks) {
        result.emplace_back(block.address, block.data);
    }
    return result;
}

std::vector<HexFile> files(const std::vector<Blocks>& contents) {
    std::vector<HexFile> result;
    for (const Blocks& blocks : contents) {
        result.push_back({"", host::HexFormat::intelHex, blocks});
    }
    return result;
}

Plain joinedOf(const std::vector<Blocks>& contents) {
    const std::vector<HexFile> all = files(contents);
    return plain(host::joined(host::piecesOf(all)));
}

std::string refusal(const std::string& range) {
    try {
        static_cast<void>(host::parseHexRange(range));
        return "";
    } catch (const HostError& error) {
        EXPECT_EQ(error.code(), host::ExitCode::usage);
        return error.what();
    }
}

TEST(HexImage, NeighboursAreJoinedWhateverTheirOrder) {
    EXPECT_EQ(joinedOf({{{0x12, {3}}, {0x10, {1, 2}}}, {{0x14, {5}}}}),
              (Plain{{0x10, {1, 2, 3}}, {0x14, {5}}}));
}

TEST(HexImage, OfTwoThatHoldAnAddressTheEarlierCounts) {
    EXPECT_EQ(joinedOf({{{0x11, {7}}, {0x13, {8}}}, {{0x10, {1, 2, 3, 4, 5}}}}),
              (Plain{{0x10, {1, 7, 3, 8, 5}}}));
    EXPECT_EQ(joinedOf({{{0x10, {1, 2, 3}}}, {{0x11, {9}}}}), (Plain{{0x10, {1, 2, 3}}}));
    EXPECT_EQ(joinedOf({{{0x10, {1, 2}}}, {{0x11, {9, 9}}}}), (Plain{{0x10, {1, 2, 9}}}));
}

TEST(HexImage, TheLastAddressIsOneLikeAnyOther) {
    EXPECT_EQ(joinedOf({{{0xFFFFFFFF, {1}}}, {{0, {2}}, {0xFFFFFFFE, {3, 4}}}}),
              (Plain{{0, {2}}, {0xFFFFFFFE, {3, 1}}}));
}

TEST(HexImage, RandomBlocksJoinAsAMapOfBytesDoes) {
    for (unsigned seed = 1; seed <= 200; ++seed) {
        std::mt19937 source(seed);
        const auto below = [&](unsigned limit) { return static_cast<std::uint32_t>(source() % limit); };
        std::vector<Blocks> contents(3);
        std::map<std::uint32_t, std::uint8_t> expected;
        for (Blocks& blocks : contents) {
            for (unsigned i = 0; i < 6; ++i) {
                mem_buf block{below(60), {}};
                for (unsigned size = 1 + below(9); size > 0; --size) {
                    block.data.push_back(static_cast<std::uint8_t>(below(256)));
                    expected.emplace(block.address + static_cast<std::uint32_t>(block.data.size()) - 1,
                                     block.data.back());
                }
                blocks.push_back(block);
            }
        }
        Plain runs;
        for (const auto& [address, value] : expected) {
            if (runs.empty() || runs.back().first + runs.back().second.size() != address) {
                runs.push_back({address, {}});
            }
            runs.back().second.push_back(value);
        }
        EXPECT_EQ(joinedOf(contents), runs) << "seed " << seed;
    }
}

TEST(HexOverlap, BlocksThatTouchAreApart) {
    EXPECT_TRUE(host::overlapsOf(host::piecesOf(files({{{0x10, {1, 2}}}, {{0x12, {3}}}}))).empty());
}

TEST(HexOverlap, TheLowestComesFirstWithItsTwoFiles) {
    const auto all = files({{{0x50, {1, 2}}}, {{0x10, {1, 2, 3, 4}}}, {{0x51, {9}}, {0x12, {9, 9, 9}}}});
    const auto overlaps = host::overlapsOf(host::piecesOf(all));
    ASSERT_EQ(overlaps.size(), 2U);
    EXPECT_EQ(overlaps[0].range.first, 0x12U);
    EXPECT_EQ(overlaps[0].range.last, 0x13U);
    EXPECT_EQ(overlaps[0].fileBelow, 1U);
    EXPECT_EQ(overlaps[0].fileAbove, 2U);
    EXPECT_EQ(overlaps[1].range.first, 0x51U);
    EXPECT_EQ(overlaps[1].range.last, 0x51U);
    EXPECT_EQ(overlaps[1].fileBelow, 0U);
    EXPECT_EQ(overlaps[1].fileAbove, 2U);
}

TEST(HexOverlap, ALongBlockIsFoundBehindAShortOneInsideIt) {
    const auto all = files({{{0x10, {1, 2, 3, 4, 5, 6}}}, {{0x11, {9}}}, {{0x14, {9, 9, 9}}}});
    const auto overlaps = host::overlapsOf(host::piecesOf(all));
    ASSERT_EQ(overlaps.size(), 2U);
    EXPECT_EQ(overlaps[1].range.first, 0x14U);
    EXPECT_EQ(overlaps[1].range.last, 0x15U);
    EXPECT_EQ(overlaps[1].fileBelow, 0U);
    EXPECT_EQ(overlaps[1].fileAbove, 2U);
}

TEST(HexRangeText, IsAddressAndLengthOrFirstAndLast) {
    const auto expect = [](const char* text, std::uint32_t first, std::uint32_t last) {
        const HexRange range = host::parseHexRange(text);
        EXPECT_EQ(range.first, first) << text;
        EXPECT_EQ(range.last, last) << text;
    };
    expect("0x8000:256", 0x8000, 0x80FF);
    expect("0x8000-0x80ff", 0x8000, 0x80FF);
    expect("32768:0X1", 0x8000, 0x8000);
    expect("0-4294967295", 0, 0xFFFFFFFF);
    expect("0:0x100000000", 0, 0xFFFFFFFF);
    expect("0xFFFFFFFF:1", 0xFFFFFFFF, 0xFFFFFFFF);
}

TEST(HexRangeText, WhatIsNoRangeIsRefusedWithTheReason) {
    EXPECT_EQ(refusal("0x8000"), "--range 0x8000: must be ADDRESS:LENGTH or FIRST-LAST");
    EXPECT_EQ(refusal("8000h:1"),
              "--range 8000h:1: 8000h is no number of 32 bits, decimal or hexadecimal behind 0x");
    EXPECT_EQ(refusal("0x:1"), "--range 0x:1: 0x is no number of 32 bits, decimal or hexadecimal behind 0x");
    EXPECT_EQ(refusal("1:"), "--range 1::  is no number of 32 bits, decimal or hexadecimal behind 0x");
    EXPECT_EQ(refusal("-1:4"), "--range -1:4:  is no number of 32 bits, decimal or hexadecimal behind 0x");
    EXPECT_EQ(refusal("0x100000000:1"),
              "--range 0x100000000:1: 0x100000000 is no number of 32 bits, decimal or hexadecimal behind 0x");
    EXPECT_EQ(refusal("99999999999999999999-1"),
              "--range 99999999999999999999-1: 99999999999999999999 is no number of 32 bits, decimal or "
              "hexadecimal behind 0x");
    EXPECT_EQ(refusal("0x10:0"), "--range 0x10:0: the length must be at least 1");
    EXPECT_EQ(refusal("0xFFFFFFFF:2"), "--range 0xFFFFFFFF:2: ends behind 0xffffffff");
    EXPECT_EQ(refusal("0-0x100000000"), "--range 0-0x100000000: ends behind 0xffffffff");
    EXPECT_EQ(refusal("0x20-0x1f"), "--range 0x20-0x1f: the last address lies ahead of the first");
}

TEST(HexFillByte, IsAByte) {
    EXPECT_EQ(host::parseFillByte("255"), 0xFF);
    EXPECT_EQ(host::parseFillByte("0x5A"), 0x5A);
    for (const char* text : {"256", "0x100", "-1", "ff", ""}) {
        try {
            static_cast<void>(host::parseFillByte(text));
            ADD_FAILURE() << text;
        } catch (const HostError& error) {
            EXPECT_EQ(error.code(), host::ExitCode::usage);
            EXPECT_EQ(error.what(),
                      std::string("--fill ") + text + ": must be a byte, 0 to 255 or 0x00 to 0xff");
        }
    }
}

TEST(HexCrop, RangesThatTouchOrOverlapAreOne) {
    const auto ranges =
        host::united({{0x20, 0x2F}, {0x10, 0x17}, {0x18, 0x1A}, {0x22, 0x24}, {0xFFFFFFFF, 0xFFFFFFFF}});
    ASSERT_EQ(ranges.size(), 3U);
    EXPECT_EQ(ranges[0].first, 0x10U);
    EXPECT_EQ(ranges[0].last, 0x1AU);
    EXPECT_EQ(ranges[1].first, 0x20U);
    EXPECT_EQ(ranges[1].last, 0x2FU);
    EXPECT_EQ(ranges[2].first, 0xFFFFFFFFU);
}

TEST(HexCrop, KeepsWhatLiesInsideAtBothEnds) {
    const Blocks image{{0x10, {1, 2, 3, 4}}, {0x20, {5, 6}}, {0x30, {7}}};
    EXPECT_EQ(plain(host::cropped(image, {{0x12, 0x20}})), (Plain{{0x12, {3, 4}}, {0x20, {5}}}));
    EXPECT_EQ(plain(host::cropped(image, {{0x13, 0x13}, {0x30, 0x30}})), (Plain{{0x13, {4}}, {0x30, {7}}}));
    EXPECT_TRUE(host::cropped(image, {{0x14, 0x1F}}).empty());
}

TEST(HexCrop, TheWholeAddressSpaceKeepsAll) {
    const Blocks image{{0, {9}}, {0x7FFFFFFE, {1, 2, 3, 4}}, {0xFFFFFFFF, {7}}};
    EXPECT_EQ(plain(host::cropped(image, {{0, 0xFFFFFFFF}})), plain(image));
}

TEST(HexCrop, FillsWhatTheImageDoesNotHold) {
    EXPECT_EQ(plain(host::filled({{0x11, {1}}}, {{0x10, 0x12}, {0x20, 0x21}}, 0xEE)),
              (Plain{{0x10, {0xEE, 1, 0xEE}}, {0x20, {0xEE, 0xEE}}}));
}

TEST(HexCrop, FillsNoMoreThanFitsIntoMemory) {
    try {
        static_cast<void>(host::filled({}, {{0, 0xFFFFFFFF}}, 0));
        FAIL() << "no error";
    } catch (const HostError& error) {
        EXPECT_STREQ(error.what(),
                     "--fill would make 4294967296 bytes and makes at most 268435456: give smaller ranges");
    }
}

TEST(HexCompare, EqualImagesHaveNoDifference) {
    const Blocks image{{0x10, {1, 2}}, {0xFFFFFFFF, {3}}};
    EXPECT_TRUE(host::differencesOf(image, image).empty());
    EXPECT_TRUE(host::differencesOf({}, {}).empty());
}

TEST(HexCompare, RunsOfUnlikeBytesAndWhatOnlyOneHolds) {
    const Blocks first{{0x10, {1, 2, 3, 4, 5}}, {0x20, {7}}};
    const Blocks second{{0x0F, {9, 1, 8, 8, 4, 6}}, {0x21, {7}}};
    const auto found = host::differencesOf(first, second);
    ASSERT_EQ(found.size(), 5U);
    const std::vector<std::pair<std::uint32_t, std::uint32_t>> ranges{
        {0x0F, 0x0F}, {0x11, 0x12}, {0x14, 0x14}, {0x20, 0x20}, {0x21, 0x21}};
    const std::vector<HexDifferenceKind> kinds{HexDifferenceKind::onlySecond, HexDifferenceKind::values,
                                               HexDifferenceKind::values, HexDifferenceKind::onlyFirst,
                                               HexDifferenceKind::onlySecond};
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].range.first, ranges[i].first) << i;
        EXPECT_EQ(found[i].range.last, ranges[i].second) << i;
        EXPECT_EQ(found[i].kind, kinds[i]) << i;
    }
    EXPECT_EQ(found[1].first[0], 2);
    EXPECT_EQ(found[1].second[0], 8);
    EXPECT_EQ(found[0].first, nullptr);
    EXPECT_EQ(found[3].second, nullptr);
}

}  // namespace
