#include "TalvexMemory.h"
#include "tests/memfile/Blocks.h"
#include "tests/support/TempFolder.h"

using testing::ElementsAre;

namespace {

const std::list<mem_buf> kImage{{0x1000, {0xAA, 0xBB}}};
const std::string kHex = ":020000040000FA\n:02100000AABB89\n:00000001FF\n";
const std::string kSrec = "S30700001000AABB83\nS70500000000FA\n";

class MemFileWriter : public testing::Test {
protected:
    /// The content of a file of this name after a write.
    std::string saved(const std::string& name) {
        EXPECT_EQ(stderrOf([&] { EXPECT_TRUE(SaveToHexFile(kImage, m_folder.path(name))); }), "");
        return m_folder.text(name);
    }

    support::TempFolder m_folder;
};

}  // namespace

TEST_F(MemFileWriter, SrecordsByTheirEndingInAnyCase) {
    for (const char* name : {"a.s19", "a.S19", "a.mot", "a.MOT", "a.Mot"}) {
        EXPECT_EQ(saved(name), kSrec) << name;
    }
}

TEST_F(MemFileWriter, EverythingElseIsIntelHex) {
    for (const char* name : {"a.hex", "a.HEX", "out.bin", "as19", "a.s28", "noending"}) {
        EXPECT_EQ(saved(name), kHex) << name;
    }
}

TEST_F(MemFileWriter, APathShorterThanAnEndingIsIntelHex) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(m_folder.path(""));
    EXPECT_TRUE(SaveToHexFile(kImage, "s19"));
    std::filesystem::current_path(before);
    EXPECT_EQ(m_folder.text("s19"), kHex);
}

TEST_F(MemFileWriter, AnUpperCaseNameIsWrittenButNotReadBack) {
    EXPECT_EQ(saved("out.S19"), kSrec);
    EXPECT_TRUE(ParseMemFile(m_folder.path("out.S19")).empty());
}

TEST_F(MemFileWriter, TruncatesWhatWasThere) {
    m_folder.file("a.hex", std::string(10000, 'x'));
    EXPECT_EQ(saved("a.hex"), kHex);
}

TEST_F(MemFileWriter, AFileThatCannotBeOpenedIsReportedInTheWordsOfItsFormat) {
    EXPECT_EQ(stderrOf([&] { EXPECT_FALSE(SaveToHexFile(kImage, m_folder.path("no/a.hex"))); }),
              "Failed to open the file for writing.\n");
    EXPECT_EQ(stderrOf([&] { EXPECT_FALSE(SaveToHexFile(kImage, m_folder.path("no/a.MOT"))); }),
              "Failed to open the file for writing (S-Record).\n");
    EXPECT_EQ(stderrOf([] { EXPECT_FALSE(SaveToHexFile(kImage, "")); }),
              "Failed to open the file for writing.\n");
}

TEST_F(MemFileWriter, AFullDiskIsNotNoticed) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no /dev/full on this system";
    }
    const std::list<mem_buf> large{{0, Bytes(1000000)}};
    EXPECT_EQ(stderrOf([&] { EXPECT_TRUE(SaveToHexFile(large, "/dev/full")); }), "");
}

TEST_F(MemFileWriter, WhatIsWrittenReadsBackBlockByBlock) {
    const std::list<mem_buf> blocks{
        {0xFFF0, countingBytes(70000)}, {0x80000000, countingBytes(33, 7)}, {0x20, {1}}};
    for (const char* name : {"a.hex", "a.s19"}) {
        SaveToHexFile(blocks, m_folder.path(name));
        EXPECT_THAT(ParseMemFile(m_folder.path(name)),
                    ElementsAre(block(0xFFF0, countingBytes(70000)), block(0x80000000, countingBytes(33, 7)),
                                block(0x20, {1})))
            << name;
    }
}
