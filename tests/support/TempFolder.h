/// @file
/// A place for the files of one test.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace support {

/// @return what the file @p path holds
inline std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A fresh folder for the files of one test, as others may run beside it; it goes with the object.
class TempFolder {
public:
    TempFolder() {
        std::random_device random;
        do {
            m_folder = std::filesystem::path(testing::TempDir()) / ("talvex-" + std::to_string(random()));
        } while (!std::filesystem::create_directories(m_folder));
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    /// @return the path of a file or folder in it, which need not exist
    std::string path(const std::string& name) const { return (m_folder / name).string(); }

    /// Writes a file. @return its path
    std::string file(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

    /// @return what the file @p name holds
    std::string text(const std::string& name) const { return contentOf(path(name)); }

private:
    std::filesystem::path m_folder;
};

}  // namespace support
