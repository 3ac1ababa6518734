#include "bench/ImageFiles.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <random>

namespace bench {

namespace {

constexpr std::size_t kLineBytes = 32;
constexpr std::size_t kLineCharacters = 76;

}  // namespace

ImageFiles::ImageFiles(std::size_t textMiB)
    : m_folder(std::filesystem::temp_directory_path() /
               ("talvex-bench-" + std::to_string(getpid()) + "-" + std::to_string(textMiB))) {
    std::filesystem::create_directories(m_folder);
    std::mt19937 random(1);
    m_image.push_back({0, std::vector<std::uint8_t>((textMiB << 20) / kLineCharacters * kLineBytes)});
    std::vector<std::uint8_t>& bytes = m_image.back().data;
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    SaveToHexFile(m_image, hex());
    SaveToHexFile(m_image, srec());
    std::ofstream(binary(), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

ImageFiles::~ImageFiles() {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

}  // namespace bench
