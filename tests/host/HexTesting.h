// Words for the tests of `talvex hex`: a folder of image files, and other programs that make and read them.
#pragma once

#include "tests/host/DecodeTesting.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
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

// A folder that goes with the object.
class HexFolder {
public:
    HexFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "talvex-hex-XXXXXX").string();
        m_folder = mkdtemp(pattern.data()) == nullptr ? "" : pattern;
        EXPECT_FALSE(m_folder.empty());
    }
    ~HexFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    HexFolder(const HexFolder&) = delete;
    HexFolder& operator=(const HexFolder&) = delete;

    std::string path(const std::string& name) const { return m_folder + "/" + name; }

    // Writes a file and gives its path.
    std::string file(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

    std::string text(const std::string& name) const {
        std::ostringstream content;
        content << std::ifstream(path(name), std::ios::binary).rdbuf();
        return content.str();
    }

    // Names of all files, by rising name.
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
            found.push_back(entry.path().filename().string());
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    // Runs another program here; the test fails if the program does.
    void run(const std::string& command) const {
        const std::string line = "cd '" + m_folder + "' && " + command + " >/dev/null 2>messages";
        EXPECT_EQ(std::system(line.c_str()), 0) << command << '\n' << text("messages");
        std::filesystem::remove(path("messages"));
    }

    // Runs `talvex hex` here.
    Outcome hex(const std::vector<std::string>& arguments) const {
        std::vector<std::string> all{"hex"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return runProgram(all, "", m_folder);
    }

private:
    std::string m_folder;
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
