#include <TalvexSDK.h>

#include "tests/oracle/Tools.h"

#include <algorithm>

#if defined(TALVEX_HAVE_ZLIB)
#include <zlib.h>
#endif

namespace {

std::uint32_t check(const Bytes& bytes, std::int32_t kind) {
    return CheckMemory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), kind);
}

/// How srec_cat computes each kind. "END" stands for the address behind the data, where it puts the result.
struct Kind {
    std::int32_t number;
    const char* filter;
    std::size_t size;  ///< bytes of the result
};

const Kind kKinds[] = {
    {1, "-Checksum_Positive_Little_Endian END 1 1", 1},
    {2, "-Checksum_Positive_Little_Endian END 2 1", 2},
    {3, "-Checksum_Positive_Little_Endian END 4 1", 4},
    {4, "-Checksum_Positive_Little_Endian END 2 2", 2},
    {5, "-Checksum_Positive_Little_Endian END 4 2", 4},
    {6, "-Checksum_Positive_Little_Endian END 4 4", 4},
    {7, "-CRC16_Little_Endian END -XMODEM -POLYnomial ibm -Least_To_Most -AUGment", 2},
    {8, "-CRC16_Little_Endian END -BROKEN", 2},
    {9, "-CRC32_Little_Endian END", 4},
};

}  // namespace

TEST(ChecksumOracle, EveryKindEqualsThatOfSrecCat) {
    NEEDS_TOOL("srec_cat");
    const ToolFolder folder;
    for (const std::size_t size : {4U, 8U, 1024U, 100000U}) {
        const Bytes bytes = randomBytes(size);
        folder.write("in.bin", bytes);
        for (const Kind& kind : kKinds) {
            SCOPED_TRACE(testing::Message() << "kind " << kind.number << ", " << size << " bytes");
            const std::string end = std::to_string(size);
            std::string filter = kind.filter;
            filter.replace(filter.find("END"), 3, end);
            folder.run("srec_cat in.bin -Binary " + filter + " -crop " + end + " " +
                       std::to_string(size + kind.size) + " -offset -" + end + " -o out.bin -Binary");
            const Bytes result = folder.bytes("out.bin");
            ASSERT_EQ(result.size(), kind.size);
            std::uint32_t expected = 0;
            for (std::size_t i = 0; i < result.size(); ++i) {
                expected |= std::uint32_t{result[i]} << (8 * i);
            }
            EXPECT_EQ(check(bytes, kind.number), expected);
        }
    }
}

TEST(ChecksumOracle, Crc32EqualsThatOfZlib) {
#if defined(TALVEX_HAVE_ZLIB)
    const Bytes bytes = randomBytes(1024 * 1024);
    for (std::size_t size = 0; size <= bytes.size(); size = size * 3 + 1) {
        const auto expected = crc32(0, bytes.data(), static_cast<uInt>(size));
        EXPECT_EQ(CheckMemory(bytes.data(), static_cast<std::uint32_t>(size), 9), expected) << size;
    }
    const Bytes program = programImage();
    EXPECT_EQ(check(program, 9), crc32(0, program.data(), static_cast<uInt>(program.size())));
#else
    GTEST_SKIP() << "zlib was not found when this program was built";
#endif
}
