#include <TalvexSDK.h>

#include "tests/oracle/Tools.h"

#include <algorithm>
#include <cctype>
#include <sstream>

using testing::ElementsAre;

namespace {

class ReaderOracle : public testing::Test {
protected:
    std::list<mem_buf> read(const std::string& name) const { return ParseMemFile(m_folder.path(name)); }

    /// Cuts the program's image short where addresses of two bytes must do.
    Bytes imageOf64KiB() const {
        Bytes image = programImage();
        image.resize(std::min<std::size_t>(image.size(), 0x10000));
        return image;
    }

    ToolFolder m_folder;
};

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line + '\n');
    }
    return lines;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line;
    }
    return text;
}

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char letter) {
        return static_cast<char>(letter == 'S' ? letter : std::tolower(letter));
    });
    return text;
}

std::string withoutCarriageReturns(std::string text) {
    std::erase(text, '\r');
    return text;
}

}  // namespace

TEST_F(ReaderOracle, ReadsTheIntelHexOfObjcopy) {
    NEEDS_TOOL("objcopy");
    const Bytes image = programImage();
    m_folder.write("in.bin", image);
    for (const char* base : {"0", "0x8000", "0xF8000", "0x1000000", "0x7FFF8000", "0x80000000"}) {
        SCOPED_TRACE(base);
        m_folder.run(std::string("objcopy -I binary -O ihex --change-addresses ") + base + " in.bin out.hex");
        expectOneBlock(read("out.hex"), static_cast<std::uint32_t>(std::stoul(base, nullptr, 0)), image);
    }
}

TEST_F(ReaderOracle, ReadsTheSrecordsOfObjcopyInAllThreeWidths) {
    NEEDS_TOOL("objcopy");
    const Bytes image = imageOf64KiB();
    m_folder.write("in.bin", image);
    struct Row {
        const char* options;
        std::uint32_t address;
        const char* record;
    };
    const Row rows[] = {{"", 0, "\nS1"},
                        {"--change-addresses 0x120000", 0x120000, "\nS2"},
                        {"--change-addresses 0x12340000", 0x12340000, "\nS3"},
                        {"--srec-forceS3", 0, "\nS3"},
                        {"--srec-forceS3 --srec-len 200 --change-addresses 0x120000", 0x120000, "\nS3"},
                        {"--srec-len 1", 0, "\nS1"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.options);
        m_folder.run(std::string("objcopy -I binary -O srec ") + row.options + " in.bin out.s19");
        ASSERT_NE(m_folder.text("out.s19").find(row.record), std::string::npos);
        expectOneBlock(read("out.s19"), row.address, image);
    }
}

TEST_F(ReaderOracle, ReadsTheIntelHexOfSrecCatInAllItsForms) {
    NEEDS_TOOL("srec_cat");
    const Bytes image = imageOf64KiB();
    m_folder.write("in.bin", image);
    struct Row {
        const char* options;
        std::uint32_t address;
    };
    const Row rows[] = {{"-o out.hex -Intel", 0},
                        {"-o out.hex -Intel -address-length=2", 0},
                        {"-offset 0x10000 -o out.hex -Intel -address-length=3", 0x10000},
                        {"-offset 0x80000000 -o out.hex -Intel", 0x80000000},
                        {"-offset 0x0FFF1 -o out.hex -Intel -line-length=255", 0xFFF1}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.options);
        m_folder.run(std::string("srec_cat in.bin -Binary ") + row.options);
        expectOneBlock(read("out.hex"), row.address, image);
    }
}

TEST_F(ReaderOracle, ReadsTheSrecordsOfSrecCatInAllThreeWidths) {
    NEEDS_TOOL("srec_cat");
    const Bytes image = imageOf64KiB();
    m_folder.write("in.bin", image);
    for (const char* width : {"2", "3", "4"}) {
        SCOPED_TRACE(width);
        m_folder.run(std::string("srec_cat in.bin -Binary -o out.mot -Motorola -address-length=") + width);
        expectOneBlock(read("out.mot"), 0, image);
    }
}

TEST_F(ReaderOracle, ReadsImagesOf16MiB) {
    NEEDS_TOOL("objcopy");
    const Bytes image = randomBytes(16 * 1024 * 1024);
    m_folder.write("in.bin", image);
    m_folder.run("objcopy -I binary -O ihex in.bin out.hex");
    expectOneBlock(read("out.hex"), 0, image);
    m_folder.run("objcopy -I binary -O srec in.bin out.s19");
    expectOneBlock(read("out.s19"), 0, image);
}

TEST_F(ReaderOracle, KeepsTheGapsOfAnImage) {
    NEEDS_TOOL("srec_cat");
    const Bytes image = randomBytes(0x3000);
    m_folder.write("in.bin", image);
    const auto part = [&](std::ptrdiff_t from, std::ptrdiff_t to) {
        return Bytes(image.begin() + from, image.begin() + to);
    };
    for (const char* output : {"out.hex -Intel", "out.s19 -Motorola"}) {
        m_folder.run(
            std::string(
                "srec_cat in.bin -Binary -crop 0x10 0x811 0x812 0x1000 0x2FFF 0x3000 -offset 0xFF00 -o ") +
            output);
        EXPECT_THAT(read(std::string(output, 7)),
                    ElementsAre(block(0xFF10, part(0x10, 0x811)), block(0x10712, part(0x812, 0x1000)),
                                block(0x12EFF, part(0x2FFF, 0x3000))));
    }
}

/// The loadable sections of a program of the machine, as they lie in its ELF file.
TEST_F(ReaderOracle, ReadsTheSectionsOfAProgramWithTheGapsBetweenThem) {
    NEEDS_TOOL("objcopy");
    for (const char* format : {"ihex", "srec"}) {
        SCOPED_TRACE(format);
        const std::string name = std::string(format) == "ihex" ? "out.hex" : "out.s19";
        m_folder.run(std::string("objcopy -O ") + format + " \"$(command -v objcopy)\" " + name);
        m_folder.run(std::string("objcopy -I ") + format + " -O binary " + name + " flat.bin");
        const auto memory = flattened(read(name));
        ASSERT_FALSE(memory.empty());
        const std::uint32_t first = memory.begin()->first;
        Bytes flat(memory.rbegin()->first - first + std::size_t{1});
        EXPECT_LT(memory.size(), flat.size()) << "no gap";
        for (const auto& [address, byte] : memory) {
            flat[address - first] = byte;
        }
        EXPECT_TRUE(flat == m_folder.bytes("flat.bin"));
    }
}

TEST_F(ReaderOracle, LineEndsAndCaseOfDigitsDoNotMatter) {
    NEEDS_TOOL("objcopy");
    const Bytes image = imageOf64KiB();
    m_folder.write("in.bin", image);
    m_folder.run("objcopy -I binary -O ihex --change-addresses 0xABCD1234 in.bin out.hex");
    m_folder.run("objcopy -I binary -O srec --change-addresses 0xABCD1234 in.bin out.s19");
    for (const char* name : {"out.hex", "out.s19"}) {
        SCOPED_TRACE(name);
        const std::string dos = m_folder.text(name);
        ASSERT_NE(dos.find("\r\n"), std::string::npos);
        for (const std::string& text : {withoutCarriageReturns(dos), lowerCase(dos)}) {
            ASSERT_NE(text, dos);
            m_folder.write(name, text);
            expectOneBlock(read(name), 0xABCD1234, image);
        }
    }
}

TEST_F(ReaderOracle, RecordsInAnyOrderGiveTheSameMemory) {
    NEEDS_TOOL("objcopy");
    const Bytes image = randomBytes(0x4321);
    m_folder.write("in.bin", image);
    m_folder.run("objcopy -I binary -O ihex in.bin out.hex");
    m_folder.run("objcopy -I binary -O srec in.bin out.s19");
    const auto expected = flattened({{0, image}});
    std::mt19937 random(1);
    for (const char* name : {"out.hex", "out.s19"}) {
        SCOPED_TRACE(name);
        auto lines = linesOf(m_folder.text(name));
        std::shuffle(lines.begin(), lines.end(), random);
        m_folder.write(name, joined(lines));
        const auto blocks = read(name);
        EXPECT_GT(blocks.size(), 100U);
        EXPECT_TRUE(flattened(blocks) == expected);
    }
}

TEST_F(ReaderOracle, AFileBehindAFileIsReadAndOverlapsStayTwoBlocks) {
    NEEDS_TOOL("objcopy");
    const Bytes first = randomBytes(0x20000);
    const Bytes second(0x345, 0x5A);
    m_folder.write("first.bin", first);
    m_folder.write("second.bin", second);
    for (const char* format : {"ihex", "srec"}) {
        SCOPED_TRACE(format);
        const std::string name = std::string(format) == "ihex" ? "out.hex" : "out.s19";
        const std::string command = std::string("objcopy -I binary -O ") + format;
        m_folder.run(command + " first.bin first");
        m_folder.run(command + " --change-addresses 0x1FF00 second.bin second");
        m_folder.write(name, m_folder.text("first") + m_folder.text("second"));
        const auto blocks = read(name);
        ASSERT_EQ(blocks.size(), 2U);
        EXPECT_TRUE(blocks.front().data == first);
        EXPECT_EQ(blocks.back().address, 0x1FF00U);
        EXPECT_TRUE(blocks.back().data == second);
    }
}

TEST_F(ReaderOracle, AnSrecordWithAFlippedBitIsTheOnlyOneThatIsLost) {
    NEEDS_TOOL("objcopy");
    const Bytes image = randomBytes(0x1000);
    m_folder.write("in.bin", image);
    m_folder.run("objcopy -I binary -O srec --srec-len 16 in.bin out.s19");
    auto lines = linesOf(m_folder.text("out.s19"));
    char& digit = lines.at(5).at(10);  // line 6, data of address 0x40
    digit = digit == '0' ? '1' : '0';
    m_folder.write("out.s19", joined(lines));
    std::list<mem_buf> blocks;
    EXPECT_EQ(stderrOf([&] { blocks = read("out.s19"); }), "行6: 校验和错误\n");
    EXPECT_THAT(blocks, ElementsAre(block(0, Bytes(image.begin(), image.begin() + 0x40)),
                                    block(0x50, Bytes(image.begin() + 0x50, image.end()))));
}

TEST_F(ReaderOracle, RangesOfAnImageAreThoseThatSrecCatCrops) {
    NEEDS_TOOL("srec_cat");
    const Bytes image = randomBytes(0x5000);
    m_folder.write("in.bin", image);
    m_folder.run("srec_cat in.bin -Binary -crop 0x100 0x200 0x1FFF 0x3001 -o cropped.hex -Intel");
    m_folder.run("srec_cat in.bin -Binary -o whole.hex -Intel");
    std::vector<mcMemoryInfo> segments(2);
    segments[0].address = 0x100;
    segments[0].length = 0x100;
    segments[1].address = 0x1FFF;
    segments[1].length = 0x1002;
    EXPECT_TRUE(flattened(MergeMemByAddr(read("whole.hex"), segments)) == flattened(read("cropped.hex")));

    const mcMemRange range{0, 0x1002, 0, 0x1FFF};
    std::uint8_t* buffer = nullptr;
    std::uint32_t size = 0;
    ParseMemFileNewBuff(m_folder.path("whole.hex").c_str(), &range, 1, &buffer, &size);
    EXPECT_TRUE(Bytes(buffer, buffer + size) == read("cropped.hex").back().data);
    DeleteMemBuff(&buffer, 1);
}
