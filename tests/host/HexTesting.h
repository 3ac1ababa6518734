// Words for the tests of `talvex hex`: a folder of image files, and other programs that make and read them.
#pragma once

#include "tests/host/DecodeTesting.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

// Skips the test if a program isn't on this machine.
#define NEEDS_TOOL(name)                                               \
    if (!host_test::isInstalled(name)) {                               \
        GTEST_SKIP() << (name) << " is not installed on this machine"; \
    }

namespace host_test {

inline bool isInstalled(const std::string& tool) {
    return std::system(("command -v " + tool + " >/dev/null 2>&1").c_str()) == 0;
}

// A folder of image files.
class HexFolder : public support::TempFolder {
public:
    // Names of all files, by rising name.
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(path(""))) {
            found.push_back(entry.path().filename().string());
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    // Runs another program here; the test fails if the program does.
    void run(const std::string& command) const {
        const std::string line = "cd '" + path("") + "' && " + command + " >/dev/null 2>messages";
        EXPECT_EQ(std::system(line.c_str()), 0) << command << '\n' << text("messages");
        std::filesystem::remove(path("messages"));
    }

    // Runs `talvex hex` here.
    Outcome hex(const std::vector<std::string>& arguments) const {
        std::vector<std::string> all{"hex"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return runProgram(all, "", path(""));
    }
};

// Bytes without a pattern, always the same.
inline std::string someBytes(std::size_t count, unsigned seed) {
    std::string bytes;
    unsigned state = seed;
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 1664525U + 1013904223U;
        bytes += static_cast<char>(state >> 24U);
    }
    return bytes;
}

}  // namespace host_test
