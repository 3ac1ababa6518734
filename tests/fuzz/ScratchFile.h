/// @file
/// A file for what reads files.
#pragma once

#include "tests/fuzz/FuzzTarget.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace fuzz {

/// One file, written anew for each input, in memory where the system has a place for that.
class ScratchFile {
public:
    explicit ScratchFile(const char* ending) : m_path(folder() / (name() + ending)) {}
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    ~ScratchFile() {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }

    /// @return the path of the file, which now holds @p text
    std::string holding(const std::string& text) {
        std::ofstream file(m_path, std::ios::binary | std::ios::trunc);
        file << text;
        file.close();
        require(!file.fail(), "the scratch file is written");
        return m_path.string();
    }

private:
    static std::filesystem::path folder() {
        const std::filesystem::path memory = "/dev/shm";
        return std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    }

    /// Nobody else's: an address of this process, and a moment.
    std::string name() const {
        const auto moment = std::chrono::steady_clock::now().time_since_epoch().count();
        return "talvex-fuzz-" + std::to_string(moment) + "-" +
               std::to_string(reinterpret_cast<std::uintptr_t>(this));
    }

    std::filesystem::path m_path;
};

}  // namespace fuzz
