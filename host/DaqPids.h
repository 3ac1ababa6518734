/// @file
/// First bytes of packets that name an ODT.
#pragma once

#include <cstdint>

namespace host {

/// What is from here on is no ODT of CCP, but a response or an event.
inline constexpr std::uint8_t kCcpPidEnd = 0xFE;

/// What is from here on is no ODT of XCP. 0xFC to 0xFF are responses, events and services; 0xFB would be one,
/// but the library takes it for no packet and delivers nothing of it.
inline constexpr std::uint8_t kXcpPidEnd = 0xFB;

/// The first number that is no ODT of that protocol.
[[nodiscard]] constexpr std::uint8_t pidEnd(bool ccp) {
    return ccp ? kCcpPidEnd : kXcpPidEnd;
}

}  // namespace host
