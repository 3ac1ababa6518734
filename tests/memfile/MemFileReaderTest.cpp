#include "TalvexMemory.h"
#include "tests/memfile/Blocks.h"
#include "tests/support/TempFolder.h"

#include <stdexcept>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string kHex = ":02100000AABB89\n:00000001FF\n";
const std::string kSrec = "S1052000AABB75\n";
const Bytes kData{0xAA, 0xBB};

class MemFileReader : public testing::Test {
protected:
    /// What a file of this name and content gives.
    std::list<mem_buf> read(const std::string& name, const std::string& content) {
        return ParseMemFile(m_folder.file(name, content));
    }

    support::TempFolder m_folder;
};

/// Makes a folder the working one for a test, so that short relative paths can be opened.
class WorkingFolder {
public:
    explicit WorkingFolder(const std::string& folder) : m_before(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~WorkingFolder() { std::filesystem::current_path(m_before); }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

private:
    std::filesystem::path m_before;
};

}  // namespace

TEST_F(MemFileReader, TheEndingChoosesTheFormat) {
    EXPECT_THAT(read("image.hex", kHex), ElementsAre(block(0x1000, kData)));
    EXPECT_THAT(read("image.s19", kSrec), ElementsAre(block(0x2000, kData)));
    EXPECT_THAT(read("image.mot", kSrec), ElementsAre(block(0x2000, kData)));
}

TEST_F(MemFileReader, TheContentNeverChoosesTheFormat) {
    const auto said = stderrOf([&] {
        EXPECT_THAT(read("image.hex", kSrec), IsEmpty());
        EXPECT_THAT(read("image.s19", kHex), IsEmpty());
    });
    EXPECT_EQ(said, "");
}

TEST_F(MemFileReader, EndingsInAnotherCaseAndUnknownOnesGiveNothingWithoutAWord) {
    const auto said = stderrOf([&] {
        for (const char* name :
             {"FLASH.HEX", "FLASH.S19", "flash.Mot", "flash.bin", "flash.s28", "flashhex"}) {
            EXPECT_THAT(read(name, std::string(name).find("S19") != std::string::npos ? kSrec : kHex),
                        IsEmpty())
                << name;
        }
    });
    EXPECT_EQ(said, "");
}

TEST_F(MemFileReader, AFileThatCannotBeOpenedIsNamedAndGivesNothing) {
    const std::string path = m_folder.path("missing.hex");
    EXPECT_EQ(stderrOf([&] { EXPECT_THAT(ParseMemFile(path), IsEmpty()); }), "无法打开文件: " + path + "\n");
    EXPECT_EQ(stderrOf([] { EXPECT_THAT(ParseMemFile(""), IsEmpty()); }), "无法打开文件: \n");
}

TEST_F(MemFileReader, AnEmptyFileIsNamedAndGivesNothingWhateverItsEnding) {
    for (const char* name : {"empty.hex", "empty.s19", "empty.bin"}) {
        const std::string path = m_folder.file(name, "");
        EXPECT_EQ(stderrOf([&] { EXPECT_THAT(ParseMemFile(path), IsEmpty()); }), "文件为空: " + path + "\n");
    }
}

TEST_F(MemFileReader, APathShorterThanAnEndingThrowsOnceTheFileHasContent) {
    m_folder.file("hex", kHex);
    m_folder.file("s", "");
    const WorkingFolder here(m_folder.path(""));
    EXPECT_EQ(stderrOf([] { EXPECT_THROW(ParseMemFile("hex"), std::out_of_range); }), "");
    EXPECT_EQ(stderrOf([] { EXPECT_THAT(ParseMemFile("s"), IsEmpty()); }), "文件为空: s\n");
    EXPECT_EQ(stderrOf([] { EXPECT_THAT(ParseMemFile("abc"), IsEmpty()); }), "无法打开文件: abc\n");
}

TEST_F(MemFileReader, ANameOfNothingButItsEndingIsRead) {
    m_folder.file(".hex", kHex);
    const WorkingFolder here(m_folder.path(""));
    EXPECT_THAT(ParseMemFile(".hex"), ElementsAre(block(0x1000, kData)));
}

TEST_F(MemFileReader, ATruncatedIntelHexLineThrowsAndDiscardsTheList) {
    EXPECT_THROW(read("cut.hex", kHex + ":02100"), std::out_of_range);
    EXPECT_THROW(read("cut.hex", kHex + ":1"), std::out_of_range);
}

TEST_F(MemFileReader, LineEndsOfBothKindsAreTheSame) {
    EXPECT_THAT(read("dos.hex", ":02100000AABB89\r\n:01100200CC21\r\n:00000001FF\r\n"),
                ElementsAre(block(0x1000, {0xAA, 0xBB, 0xCC})));
    EXPECT_THAT(read("dos.s19", "S1052000AABB75\r\nS9030000FC\r\n"), ElementsAre(block(0x2000, kData)));
}

TEST_F(MemFileReader, AFaultInAnSrecordFileIsReportedAndTheBlocksAheadComeBack) {
    EXPECT_EQ(stderrOf([&] {
                  EXPECT_THAT(read("bad.mot", kSrec + "S1053000AABB\n" + kSrec),
                              ElementsAre(block(0x2000, kData)));
              }),
              "行2: 数据不足，无法解析\n");
}

TEST_F(MemFileReader, AFolderGivesNothing) {
    std::filesystem::create_directory(m_folder.path("folder.hex"));
    stderrOf([&] { EXPECT_THAT(ParseMemFile(m_folder.path("folder.hex")), IsEmpty()); });
}
