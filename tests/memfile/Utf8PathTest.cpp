// Paths are UTF-8 on every system, also where the system's narrow functions take another code.
#include "TalvexMemory.h"
#include "TalvexPlain.h"
#include "tests/memfile/Blocks.h"
#include "tests/support/TempFolder.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string kUtf8Name =
    "Pr\xC3\xBC"
    "fung-\xE5\x8F\x91\xE5\x8A\xA8\xE6\x9C\xBA.hex";
const std::filesystem::path kName = u"Pr\u00fcfung-\u53d1\u52a8\u673a.hex";
const mem_buf kBlock{0x1000, {0xAA, 0xBB}};

class Utf8Path : public testing::Test {
protected:
    /// The folder's own path is plain ASCII.
    std::string utf8(const std::string& name) const { return m_folder.path("") + name; }
    std::filesystem::path real() const { return std::filesystem::path(m_folder.path("")) / kName; }

    support::TempFolder m_folder;
};

}  // namespace

TEST_F(Utf8Path, NamesTheFileThatIsWritten) {
    ASSERT_TRUE(SaveToHexFile({kBlock}, utf8(kUtf8Name)));
    EXPECT_TRUE(std::filesystem::exists(real()));
}

TEST_F(Utf8Path, NamesTheFileThatIsRead) {
    ASSERT_TRUE(SaveToHexFile({kBlock}, utf8("plain.hex")));
    std::filesystem::rename(utf8("plain.hex"), real());
    EXPECT_THAT(ParseMemFile(utf8(kUtf8Name)), ElementsAre(block(0x1000, {0xAA, 0xBB})));
}

TEST_F(Utf8Path, NamesTheFileThatIsReadIntoBuffers) {
    ASSERT_TRUE(SaveToHexFile({kBlock}, utf8(kUtf8Name)));
    mcMemRange range;
    range.address = 0x1001;
    range.length = 1;
    std::uint8_t* buffer = nullptr;
    std::uint32_t size = 0;
    ParseMemFileNewBuff(utf8(kUtf8Name).c_str(), &range, 1, &buffer, &size);
    ASSERT_EQ(size, 1U);
    EXPECT_EQ(buffer[0], 0xBB);
    DeleteMemBuff(&buffer, 1);
}

TEST_F(Utf8Path, ThatIsNotUtf8NamesNoFileToRead) {
    const std::string path = utf8("\xFF.hex");
    std::list<mem_buf> blocks{kBlock};
    const std::string said = stderrOf([&] { blocks = ParseMemFile(path); });
    EXPECT_THAT(blocks, IsEmpty());
    EXPECT_EQ(said, "无法打开文件: " + path + "\n");
}
