/// @file
/// CCP messages as the station reads and makes them.
#pragma once

#include "sim/CcpEcuCodes.h"
#include "sim/XcpEcuPacket.h"

#include <cstdint>
#include <vector>

namespace sim {

/// A command: code, command counter, parameters. Bytes behind the end of its frame read as zero.
using CcpRequest = XcpRequest;

/// Bytes to send, put together in the byte order of the ECU.
using CcpPacket = XcpPacket;

/// What a command brings: a return code, and the data behind the command counter.
struct CcpAnswer {
    CcpReturn code = CcpReturn::acknowledge;
    std::vector<std::uint8_t> data;

    CcpAnswer() = default;
    // Not explicit, so that a handler returns just a code or just data.
    CcpAnswer(CcpReturn returnCode) : code(returnCode) {}
    CcpAnswer(const CcpPacket& packet) : data(packet.view().begin(), packet.view().end()) {}
};

}  // namespace sim
