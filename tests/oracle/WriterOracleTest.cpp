#include <TalvexSDK.h>

#include "tests/oracle/Tools.h"

namespace {

struct Reader {
    const char* program;
    const char* hexCommand;   ///< reads out.hex and writes back.bin
    const char* srecCommand;  ///< reads out.s19 and writes back.bin
};

const Reader kReaders[] = {
    {"objcopy", "objcopy -I ihex -O binary out.hex back.bin", "objcopy -I srec -O binary out.s19 back.bin"},
    {"srec_cat", "srec_cat out.hex -Intel -offset - -minimum-addr out.hex -Intel -o back.bin -Binary",
     "srec_cat out.s19 -Motorola -offset - -minimum-addr out.s19 -Motorola -o back.bin -Binary"},
};

/// Writes images and lets each of the other programs read them.
class WriterOracle : public testing::TestWithParam<Reader> {
protected:
    void SetUp() override { NEEDS_TOOL(GetParam().program); }

    /// @param memory  all bytes from the image's lowest address on, with zeros in gaps
    void expectReadBack(const std::list<mem_buf>& image, const Bytes& memory) const {
        ASSERT_TRUE(SaveToHexFile(image, m_folder.path("out.hex")));
        m_folder.run(GetParam().hexCommand);
        EXPECT_TRUE(m_folder.bytes("back.bin") == memory) << "Intel HEX";
        ASSERT_TRUE(SaveToHexFile(image, m_folder.path("out.s19")));
        m_folder.run(GetParam().srecCommand);
        EXPECT_TRUE(m_folder.bytes("back.bin") == memory) << "S-record";
    }

    ToolFolder m_folder;
};

}  // namespace

TEST_P(WriterOracle, ReadsAProgramBackWhereverItLies) {
    const Bytes image = programImage();
    for (const std::uint32_t address : {0U, 0x1U, 0xFFF0U, 0x12345U, 0x7FFFFFFFU, 0x80000000U}) {
        SCOPED_TRACE(address);
        expectReadBack({{address, image}}, image);
    }
}

TEST_P(WriterOracle, ReadsBlocksWithGapsBack) {
    const Bytes image = randomBytes(0x3000);
    Bytes memory = image;
    std::fill(memory.begin() + 0x800, memory.begin() + 0x1805, std::uint8_t{0});
    expectReadBack({{0xFF00, Bytes(image.begin(), image.begin() + 0x800)},
                    {0xFF00 + 0x1805, Bytes(image.begin() + 0x1805, image.end())}},
                   memory);
}

TEST_P(WriterOracle, ReadsBlocksOutOfOrderBack) {
    const Bytes image = randomBytes(0x30000);
    const auto part = [&](std::ptrdiff_t from, std::ptrdiff_t to) {
        return Bytes(image.begin() + from, image.begin() + to);
    };
    expectReadBack(
        {{0x21000, part(0x20000, 0x30000)}, {0x1000, part(0, 0x8001)}, {0x9001, part(0x8001, 0x20000)}},
        image);
}

TEST_P(WriterOracle, ReadsAnImageOf16MiBBack) {
    const Bytes image = randomBytes(16 * 1024 * 1024);
    expectReadBack({{0x08000000, image}}, image);
}

INSTANTIATE_TEST_SUITE_P(By, WriterOracle, testing::ValuesIn(kReaders),
                         [](const auto& instance) { return std::string(instance.param.program); });
