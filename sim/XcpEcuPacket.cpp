#include "sim/XcpEcuPacket.h"

#include <algorithm>

namespace sim {

XcpPacket& XcpPacket::number(std::uint64_t value, std::size_t width) {
    std::array<std::uint8_t, 8> raw{};
    const std::span<std::uint8_t> out{raw.data(), width};
    putNumber(out, value, m_order);
    return bytes(out);
}

XcpPacket& XcpPacket::zeros(std::size_t count) {
    static_cast<void>(room(count));
    return *this;
}

XcpPacket& XcpPacket::bytes(std::span<const std::uint8_t> data) {
    const std::span<std::uint8_t> target = room(data.size());
    std::copy_n(data.begin(), target.size(), target.begin());
    return *this;
}

std::span<std::uint8_t> XcpPacket::room(std::size_t count) {
    const std::size_t taken = std::min(count, m_bytes.size() - m_length);
    const std::span<std::uint8_t> space{m_bytes.data() + m_length, taken};
    m_length += taken;
    return space;
}

XcpRequest::XcpRequest(const Frame& frame, ByteOrder order)
    : m_bytes(frame.data), m_length(std::min<std::size_t>(frame.length, kMaxPayload)), m_order(order) {}

std::uint8_t XcpRequest::u8(std::size_t at) const {
    return at < m_length ? m_bytes[at] : std::uint8_t{0};
}

std::uint16_t XcpRequest::u16(std::size_t at) const {
    const std::array<std::uint8_t, 2> raw{u8(at), u8(at + 1)};
    return static_cast<std::uint16_t>(getNumber(raw, m_order));
}

std::uint32_t XcpRequest::u32(std::size_t at) const {
    const std::array<std::uint8_t, 4> raw{u8(at), u8(at + 1), u8(at + 2), u8(at + 3)};
    return static_cast<std::uint32_t>(getNumber(raw, m_order));
}

std::span<const std::uint8_t> XcpRequest::bytes(std::size_t at, std::size_t count) const {
    if (at >= m_length) {
        return {};
    }
    return {m_bytes.data() + at, std::min(count, m_length - at)};
}

}  // namespace sim
