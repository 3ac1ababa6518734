#include "channel/SlaveCommand.h"

#include <algorithm>
#include <mutex>

namespace channel {

namespace {

/// The slave vanished between its command and the look at its status.
constexpr std::uint32_t kSlaveGone = 49;

void handBack(std::uint32_t handle, Buffer buffer) {
    const ChannelRegistry::Slave slave = channelRegistry().findSlave(handle);
    if (slave == nullptr || buffer.bytes == nullptr) {
        return;
    }
    std::fill_n(buffer.bytes, buffer.size, std::uint8_t{0});
    const std::lock_guard lock(slave->m_mutex);
    const msgBuf& response = slave->m_lastResponse;
    const std::size_t length = std::min<std::size_t>(response.length, response.data.size());
    std::copy_n(response.data.begin(), std::min<std::size_t>(length, buffer.size), buffer.bytes);
}

/// The request, formed from what the slave's commands have learned so far.
msgBuf formed(Slave& slave, const std::function<msgBuf(const Slave&)>& form) {
    const std::lock_guard lock(slave.m_mutex);
    return form(slave);
}

std::uint32_t statusOf(std::uint32_t handle, bool succeeded) {
    if (succeeded) {
        return XCP_MOUDLE::kStatusSuccess;
    }
    const ChannelRegistry::Slave slave = channelRegistry().findSlave(handle);
    return slave == nullptr ? kSlaveGone : slave->m_lastStatus.load();
}

}  // namespace

std::uint32_t runOnSlave(std::uint32_t handle, Buffer buffer, const std::function<bool(Slave&)>& command) {
    const ChannelRegistry::Slave slave = channelRegistry().findSlave(handle);
    if (slave == nullptr) {
        return kBadHandle;
    }
    const bool succeeded = command(*slave);
    handBack(handle, buffer);
    return statusOf(handle, succeeded);
}

std::uint32_t runCommand(std::uint32_t handle, Buffer buffer,
                         const std::function<std::uint32_t(Slave&)>& command) {
    return runOnSlave(handle, buffer, [&](Slave& slave) { return command(slave) == 0; });
}

std::uint32_t exchangeFrame(std::uint32_t handle, Buffer buffer,
                            const std::function<msgBuf(const Slave&)>& form,
                            const std::function<void(Slave&, const msgBuf&)>& keep) {
    return runOnSlave(handle, buffer, [&](Slave& slave) {
        msgBuf request = formed(slave, form);
        msgBuf response;
        if (!slave.exchange(request, response)) {
            return false;
        }
        if (keep) {
            const std::lock_guard lock(slave.m_mutex);
            keep(slave, response);
        }
        return true;
    });
}

std::uint32_t exchangeFrame(std::uint32_t handle, Buffer buffer, const CommandFrame& frame) {
    return exchangeFrame(handle, buffer, [&](const Slave&) { return frame.frame(); });
}

std::uint32_t runBare(std::uint32_t handle, const std::function<bool(Slave&)>& command) {
    return runOnSlave(handle, {nullptr, 0}, command);
}

}  // namespace channel
