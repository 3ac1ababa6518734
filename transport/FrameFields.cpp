#include "transport/FrameFields.h"

namespace {

std::uint32_t field(const msgBuf& frame, std::size_t position, std::size_t width, bool swap) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t at = position + (swap ? i : width - 1 - i);
        value = value << 8 | (at < frame.data.size() ? frame.data[at] : 0U);
    }
    return value;
}

}  // namespace

std::uint16_t fieldU16(const msgBuf& frame, std::size_t position, bool swap) {
    return static_cast<std::uint16_t>(field(frame, position, 2, swap));
}

std::uint32_t fieldU32(const msgBuf& frame, std::size_t position, bool swap) {
    return field(frame, position, 4, swap);
}

std::uint16_t swapped16(std::uint16_t value) {
    return static_cast<std::uint16_t>(value << 8 | value >> 8);
}

CommandFrame::CommandFrame(std::uint8_t code, std::uint16_t length) {
    m_frame.data[0] = code;
    m_frame.length = length;
}

CommandFrame& CommandFrame::put8(std::size_t position, std::uint8_t value) {
    return put(position, value, 1, false);
}

CommandFrame& CommandFrame::put16(std::size_t position, std::uint16_t value, bool swap) {
    return put(position, value, 2, swap);
}

CommandFrame& CommandFrame::put32(std::size_t position, std::uint32_t value, bool swap) {
    return put(position, value, 4, swap);
}

CommandFrame& CommandFrame::put(std::size_t position, std::uint32_t value, std::size_t width, bool swap) {
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t at = position + (swap ? width - 1 - i : i);
        if (at < m_frame.data.size()) {
            m_frame.data[at] = static_cast<std::uint8_t>(value >> (8 * i));
        }
    }
    return *this;
}
