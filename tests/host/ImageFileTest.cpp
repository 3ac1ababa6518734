// Images that objcopy makes of bare bytes.

#include "host/ImageFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

TEST(ImageFile, HoldsTheBytesAtTheirAddress) {
    if (std::system("command -v objcopy >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "objcopy is not installed on this machine";
    }
    const host::ImageFile image(std::vector<std::uint8_t>{0x01, 0x02, 0xFE}, 0x12345678);
    // Upper address 0x1234; 3 bytes at 0x5678; start address; end. Carriage returns are objcopy's.
    EXPECT_EQ(contentOf(image.path()),
              ":020000041234B4\r\n:035678000102FE2E\r\n:0400000512345678E3\r\n:00000001FF\r\n");
}

TEST(ImageFile, GoesWithTheObject) {
    if (std::system("command -v objcopy >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "objcopy is not installed on this machine";
    }
    std::string path;
    {
        const host::ImageFile image(std::vector<std::uint8_t>{0x01}, 0);
        path = image.path();
        EXPECT_TRUE(std::ifstream(path).good());
    }
    EXPECT_FALSE(std::ifstream(path).good());
}

TEST(ImageFile, WithoutObjcopyTheReasonIsGiven) {
    ASSERT_EQ(setenv("PATH", "/nowhere", 1), 0);
    try {
        const host::ImageFile image(std::vector<std::uint8_t>{0x01}, 0);
        FAIL() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(),
                     "objcopy cannot be started: No such file or directory; it is part of binutils");
    }
}

TEST(ImageFile, WithoutATemporaryFolderTheReasonIsGiven) {
    ASSERT_EQ(setenv("TMPDIR", "/proc", 1), 0);
    try {
        const host::ImageFile image(std::vector<std::uint8_t>{0x01}, 0);
        FAIL() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()).rfind("no temporary folder: ", 0), 0U) << error.what();
    }
}

}  // namespace
