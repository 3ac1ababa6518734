/// @file
/// A memory image as a file that another program made.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace host {

/// An Intel HEX file, made by `objcopy` from bare bytes. Goes with the object, and its folder too.
class ImageFile {
public:
    /// @param bytes    content
    /// @param address  of its first byte
    /// @throws std::runtime_error with the reason if the file cannot be made
    ImageFile(std::span<const std::uint8_t> bytes, std::uint32_t address);
    ~ImageFile();
    ImageFile(const ImageFile&) = delete;
    ImageFile& operator=(const ImageFile&) = delete;

    [[nodiscard]] std::string path() const { return (m_folder / "image.hex").string(); }

private:
    void make(std::span<const std::uint8_t> bytes, std::uint32_t address) const;
    void remove() const;

    std::filesystem::path m_folder;
};

}  // namespace host
