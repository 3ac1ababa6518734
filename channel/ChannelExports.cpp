/// @file
/// The channel interface: channels and slaves by handle.
#include "TalvexChannel.h"
#include "channel/ChannelRegistry.h"
#include "channel/SlaveCommand.h"
#include "channel/SlaveConfig.h"
#include "decode/StatusText.h"
#include "engine/ProtoThread.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <mutex>
#include <string>

namespace {

constexpr std::uint32_t kOk = XCP_MOUDLE::kStatusSuccess;

std::uint32_t okOrBadHandle(bool known) {
    return known ? kOk : channel::kBadHandle;
}

}  // namespace

std::uint32_t xcpInitializeCan(std::uint16_t* channel, XcpCanChannelCfg cfg) {
    const std::uint16_t handle = channelRegistry().addChannel(cfg);
    if (channel != nullptr) {
        *channel = handle;
    }
    return kOk;
}

std::uint32_t xcpUninitialize(std::uint16_t channel) {
    return okOrBadHandle(channelRegistry().removeChannel(channel));
}

std::uint32_t xcpAddSlave(std::uint16_t channel, XcpSlaveCanCfg can, XcpSlaveProtoCfg proto,
                          std::uint32_t* slave) {
    const auto channelCfg = channelRegistry().findChannel(channel);
    if (!channelCfg) {
        return channel::kBadHandle;
    }
    const std::uint32_t handle = channelRegistry().takeSlaveHandle();
    if (slave != nullptr) {
        *slave = handle;
    }
    EcuProtoCfg cfg;
    cfg.ecuName = "applet_" + std::to_string(handle);
    applySlaveConfig(cfg, *channelCfg, can, proto);
    channelRegistry().addSlave(
        handle, std::make_shared<XCP_MOUDLE::XcpProtoTransmit>(cfg, protoThread().callBacks()));
    return kOk;
}

std::uint32_t xcpConfigSlave(std::uint32_t slave, XcpSlaveCanCfg can, XcpSlaveProtoCfg proto) {
    const ChannelRegistry::Slave object = channelRegistry().findSlave(slave);
    const auto channelCfg = channelRegistry().findChannel(static_cast<std::uint16_t>(slave));
    if (object == nullptr || !channelCfg || slave > std::numeric_limits<std::uint16_t>::max()) {
        return channel::kBadHandle;
    }
    const std::lock_guard lock(object->m_mutex);
    applySlaveConfig(object->m_cfg, *channelCfg, can, proto);
    object->m_linkLost = false;
    return kOk;
}

std::uint32_t xcpRemoveSlave(std::uint32_t slave) {
    return okOrBadHandle(channelRegistry().removeSlave(slave));
}

void xcpGetErrorText(std::uint32_t code, char* text) {
    if (text != nullptr) {
        const std::string found = xcpStatusText(code);
        std::copy_n(found.c_str(), found.size() + 1, text);
    }
}

std::uint32_t xcpResetQueue(std::uint32_t /*slave*/) {
    return kOk;
}

std::uint32_t xcpDequeuePacket(std::uint32_t slave) {
    return xcpResetQueue(slave);
}
