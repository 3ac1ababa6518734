#include "channel/ChannelRegistry.h"

#include "engine/ProtoThread.h"

#include <utility>

ChannelRegistry::ChannelRegistry() {
    protoThread();  // with the engine come the store and the registry of identifiers that slaves leave behind
}

std::uint16_t ChannelRegistry::addChannel(const XcpCanChannelCfg& channel) {
    const std::lock_guard lock(m_mutex);
    const std::uint16_t handle = m_nextChannel++;
    m_channels[handle] = channel;
    return handle;
}

bool ChannelRegistry::removeChannel(std::uint16_t handle) {
    const std::lock_guard lock(m_mutex);
    return m_channels.erase(handle) > 0;
}

std::optional<XcpCanChannelCfg> ChannelRegistry::findChannel(std::uint16_t handle) {
    const std::lock_guard lock(m_mutex);
    const auto channel = m_channels.find(handle);
    return channel == m_channels.end() ? std::nullopt : std::optional(channel->second);
}

std::uint32_t ChannelRegistry::takeSlaveHandle() {
    const std::lock_guard lock(m_mutex);
    return m_nextSlave++;
}

void ChannelRegistry::addSlave(std::uint32_t handle, Slave slave) {
    const std::lock_guard lock(m_mutex);
    m_slaves[handle] = std::move(slave);
}

bool ChannelRegistry::removeSlave(std::uint32_t handle) {
    std::map<std::uint32_t, Slave>::node_type removed;  // destroyed behind the lock
    const std::lock_guard lock(m_mutex);
    removed = m_slaves.extract(handle);
    return !removed.empty();
}

ChannelRegistry::Slave ChannelRegistry::findSlave(std::uint32_t handle) {
    const std::lock_guard lock(m_mutex);
    const auto slave = m_slaves.find(handle);
    return slave == m_slaves.end() ? nullptr : slave->second;
}

ChannelRegistry& channelRegistry() {
    static ChannelRegistry registry;
    return registry;
}
