/// @file
/// Other programs that read and write the same formats, run by the tests of this folder.
#pragma once

#include "tests/memfile/Blocks.h"
#include "tests/support/TempFolder.h"

#include <cstdlib>
#include <list>
#include <map>
#include <random>
#include <string>

/// Skips the test if a program isn't on this machine.
#define NEEDS_TOOL(name)                                               \
    if (!isInstalled(name)) {                                          \
        GTEST_SKIP() << (name) << " is not installed on this machine"; \
    }

inline bool isInstalled(const std::string& tool) {
    return std::system(("command -v " + tool + " >/dev/null 2>&1").c_str()) == 0;
}

/// A folder in which other programs run: file names in commands are relative to it.
class ToolFolder {
public:
    std::string path(const std::string& name) const { return m_folder.path(name); }

    void write(const std::string& name, const Bytes& bytes) const {
        m_folder.file(name, std::string(bytes.begin(), bytes.end()));
    }
    void write(const std::string& name, const std::string& text) const { m_folder.file(name, text); }

    Bytes bytes(const std::string& name) const {
        const std::string content = text(name);
        return {content.begin(), content.end()};
    }
    std::string text(const std::string& name) const { return m_folder.text(name); }

    /// Runs a command; the test fails if the command does.
    void run(const std::string& command) const {
        const std::string line = "cd '" + m_folder.path("") + "' && " + command + " >messages 2>&1";
        EXPECT_EQ(std::system(line.c_str()), 0) << command << '\n' << text("messages");
    }

private:
    support::TempFolder m_folder;
};

/// @return the running program's own file: real machine code, of no round size
inline Bytes programImage() {
    const std::string content = support::contentOf("/proc/self/exe");
    return {content.begin(), content.end()};
}

/// @return @p count bytes without a pattern, always the same
inline Bytes randomBytes(std::size_t count) {
    std::mt19937_64 random(0x7A1);
    Bytes bytes(count);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    return bytes;
}

/// @return each byte by its address; of blocks that overlap, the later one's
inline std::map<std::uint32_t, std::uint8_t> flattened(const std::list<mem_buf>& blocks) {
    std::map<std::uint32_t, std::uint8_t> memory;
    for (const mem_buf& part : blocks) {
        for (std::size_t i = 0; i < part.data.size(); ++i) {
            memory[part.address + static_cast<std::uint32_t>(i)] = part.data[i];
        }
    }
    return memory;
}

/// Tests that @p blocks is one block with these bytes, without printing megabytes.
inline void expectOneBlock(const std::list<mem_buf>& blocks, std::uint32_t address, const Bytes& bytes) {
    ASSERT_EQ(blocks.size(), 1U);
    EXPECT_EQ(blocks.front().address, address);
    ASSERT_EQ(blocks.front().data.size(), bytes.size());
    EXPECT_TRUE(blocks.front().data == bytes);
}
