/// @file
/// Files of memory images for the rows about reading and writing them.
#pragma once

#include "TalvexMemory.h"

#include <cstddef>
#include <filesystem>
#include <string>

namespace bench {

/// An image without a pattern in a file of each form, in a folder of its own that goes with the object.
class ImageFiles {
public:
    /// @param textMiB  size of the Intel HEX file; the image has about 0.42 times as many bytes
    explicit ImageFiles(std::size_t textMiB);
    ~ImageFiles();
    ImageFiles(const ImageFiles&) = delete;
    ImageFiles& operator=(const ImageFiles&) = delete;

    std::string hex() const { return path("image.hex"); }
    std::string srec() const { return path("image.s19"); }
    std::string binary() const { return path("image.bin"); }
    std::string path(const std::string& name) const { return (m_folder / name).string(); }

    const std::list<mem_buf>& image() const { return m_image; }

    /// Forgets the image; the files stay.
    void dropImage() { m_image.clear(); }

private:
    std::filesystem::path m_folder;
    std::list<mem_buf> m_image;
};

}  // namespace bench
