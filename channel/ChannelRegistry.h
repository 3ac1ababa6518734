/// @file
/// The channels and slaves of the channel interface, by handle.
#pragma once

#include "TalvexChannel.h"
#include "xcp/XcpProtoTransmit.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

/// Handles are counted up and never used again. Locks itself: the lock is held for a look-up, never for a
/// command.
class ChannelRegistry {
public:
    using Slave = std::shared_ptr<XCP_MOUDLE::XcpProtoTransmit>;

    /// Makes what slaves need to outlive this, see the members' destruction.
    ChannelRegistry();

    /// @return the handle of a new channel
    std::uint16_t addChannel(const XcpCanChannelCfg& channel);
    /// @return false if there is no such channel
    bool removeChannel(std::uint16_t handle);
    std::optional<XcpCanChannelCfg> findChannel(std::uint16_t handle);

    /// @return the next slave handle
    std::uint32_t takeSlaveHandle();
    void addSlave(std::uint32_t handle, Slave slave);
    /// The slave itself lives on until a command that runs on it has ended. @return false if there is none
    bool removeSlave(std::uint32_t handle);
    /// @return null if there is no such slave
    Slave findSlave(std::uint32_t handle);

private:
    std::mutex m_mutex;  ///< guards everything below
    std::map<std::uint16_t, XcpCanChannelCfg> m_channels;
    std::map<std::uint32_t, Slave> m_slaves;
    std::uint16_t m_nextChannel = 0;
    std::uint32_t m_nextSlave = 0;
};

/// The one registry of the process.
ChannelRegistry& channelRegistry();
