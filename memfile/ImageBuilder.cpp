#include "memfile/ImageBuilder.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace memfile {

namespace {

/// Takes room for @p more bytes and for what may follow: up to 7 times what is there, but not more than the
/// text can still hold, and at least half of what is there in case the text grew or its length isn't known.
void makeRoom(std::vector<std::uint8_t>& data, std::size_t more, std::size_t textLeft) {
    constexpr std::size_t digitsOfByte = 2;
    const std::size_t size = data.size();
    const std::size_t follows = std::clamp(textLeft / digitsOfByte, size / 2, 7 * size);
    data.reserve(size + more + follows);
}

}  // namespace

void ImageBuilder::addRecord(std::uint32_t address, std::span<const std::uint8_t> bytes,
                             std::size_t textLeft) {
    const bool continues =
        !m_blocks.empty() &&
        static_cast<std::uint32_t>(m_blocks.back().address + m_blocks.back().data.size()) == address;
    if (!continues) {
        trimLast();
        m_blocks.push_back({address, {}});
    }
    std::vector<std::uint8_t>& data = m_blocks.back().data;
    if (data.size() + bytes.size() > data.capacity()) {
        makeRoom(data, bytes.size(), textLeft);
    }
    data.insert(data.end(), bytes.begin(), bytes.end());
}

std::list<mem_buf> ImageBuilder::finish() {
    trimLast();
    return std::exchange(m_blocks, {});
}

void ImageBuilder::trimLast() {
    if (!m_blocks.empty() && m_blocks.back().data.capacity() / 3 > m_blocks.back().data.size() / 2) {
        m_blocks.back().data.shrink_to_fit();
    }
}

}  // namespace memfile
