/// @file
/// The one worker behind the command functions: look the slave up, run, hand the response back, give the
/// status.
#pragma once

#include "TalvexChannel.h"
#include "channel/ChannelRegistry.h"
#include "transport/FrameFields.h"
#include "xcp/XcpProtoTransmit.h"

#include <cstdint>
#include <functional>

namespace channel {

using Slave = XCP_MOUDLE::XcpProtoTransmit;

/// Status of a handle that is not known.
inline constexpr std::uint32_t kBadHandle = 1280;

/// Where a command's response goes.
struct Buffer {
    std::uint8_t* bytes;
    std::uint16_t size;
};

/// Runs @p command on a slave and hands back its last good response, whether the command succeeded or not.
/// @param command  true for success
std::uint32_t runOnSlave(std::uint32_t handle, Buffer buffer, const std::function<bool(Slave&)>& command);

/// As above for a command function of the XCP layer, which returns 0 for success.
std::uint32_t runCommand(std::uint32_t handle, Buffer buffer,
                         const std::function<std::uint32_t(Slave&)>& command);

/// Exchanges one frame that @p form makes.
/// @param keep  called with a positive response, to keep its facts; may be empty
std::uint32_t exchangeFrame(std::uint32_t handle, Buffer buffer,
                            const std::function<msgBuf(const Slave&)>& form,
                            const std::function<void(Slave&, const msgBuf&)>& keep = {});

/// Exchanges a frame that needs nothing of the slave.
std::uint32_t exchangeFrame(std::uint32_t handle, Buffer buffer, const CommandFrame& frame);

/// Runs @p command without handing anything back. @return the status
std::uint32_t runBare(std::uint32_t handle, const std::function<bool(Slave&)>& command);

}  // namespace channel
