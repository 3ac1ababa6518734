/// @file
/// XCP packets as the slave reads and makes them.
#pragma once

#include "sim/ByteOrder.h"
#include "sim/Frame.h"
#include "sim/XcpEcuCodes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace sim {

/// A packet to send, without padding. What does not fit into 64 bytes is not taken up.
class XcpPacket {
public:
    explicit XcpPacket(ByteOrder order) : m_order(order) {}

    /// A packet of its identifier.
    XcpPacket(ByteOrder order, std::uint8_t pid) : m_order(order) { u8(pid); }

    XcpPacket& u8(std::uint8_t value) { return number(value, 1); }
    XcpPacket& u16(std::uint16_t value) { return number(value, 2); }
    XcpPacket& u32(std::uint32_t value) { return number(value, 4); }

    /// Appends the low @p width bytes of @p value, @p width at most 8.
    XcpPacket& number(std::uint64_t value, std::size_t width);

    /// Appends @p count zero bytes.
    XcpPacket& zeros(std::size_t count);

    XcpPacket& bytes(std::span<const std::uint8_t> data);

    /// Appends @p count bytes for the caller to fill in; shorter if the packet is full.
    [[nodiscard]] std::span<std::uint8_t> room(std::size_t count);

    [[nodiscard]] std::span<const std::uint8_t> view() const { return {m_bytes.data(), m_length}; }
    [[nodiscard]] std::size_t length() const { return m_length; }

private:
    ByteOrder m_order;
    std::array<std::uint8_t, kMaxPayload> m_bytes{};
    std::size_t m_length = 0;
};

/// A command of the master. Bytes behind the end of its frame read as zero.
class XcpRequest {
public:
    XcpRequest(const Frame& frame, ByteOrder order);

    [[nodiscard]] std::uint8_t code() const { return u8(0); }
    [[nodiscard]] std::size_t length() const { return m_length; }
    [[nodiscard]] std::uint8_t u8(std::size_t at) const;
    [[nodiscard]] std::uint16_t u16(std::size_t at) const;
    [[nodiscard]] std::uint32_t u32(std::size_t at) const;

    /// Up to @p count bytes from @p at; fewer where the frame ends.
    [[nodiscard]] std::span<const std::uint8_t> bytes(std::size_t at, std::size_t count) const;

private:
    std::array<std::uint8_t, kMaxPayload> m_bytes;
    std::size_t m_length;
    ByteOrder m_order;
};

/// What a command brings: any number of packets, or an error code.
struct XcpAnswer {
    std::vector<XcpPacket> packets;
    XcpError error = XcpError::none;
    Time readyAt = 0;  ///< bus time at which it can leave; 0: at once

    XcpAnswer() = default;
    // Not explicit, so that a handler returns just a code or just packets.
    XcpAnswer(XcpError code) : error(code) {}
    XcpAnswer(const XcpPacket& packet) : packets{packet} {}
};

}  // namespace sim
