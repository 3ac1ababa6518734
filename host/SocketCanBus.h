/// @file
/// A CAN interface of this machine's Linux kernel.
#pragma once

#include "host/CanBus.h"
#include "host/FileHandle.h"
#include "host/SocketCanFrames.h"
#include "host/WakeUp.h"

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace host {

/// What an interface is opened for.
struct SocketCanOptions {
    std::string interface;     ///< name, "can0"
    bool fd = false;           ///< the host sends CAN FD; the interface has to do it
    std::vector<FrameId> ids;  ///< what is listened to, own frames included; empty: everything
};

/// "socketcan:can0". Times are those of the kernel, on the system clock, for all frames. Own frames come back
/// from the kernel when they have been on the bus. An interface that goes down or off the bus stays down for
/// this object.
class SocketCanBus final : public CanBus {
public:
    /// @throws HostError (ExitCode::bus) with interface, reason and what to do
    SocketCanBus(const SocketCanOptions& options, Receiver receiver);

    ~SocketCanBus() override;

    /// Waits up to a second for room in the queues of socket and interface.
    bool send(const sim::Frame& frame) override;

    [[nodiscard]] std::string failure() const override;
    [[nodiscard]] std::uint64_t overflows() const override { return m_overflows; }

private:
    void run();
    [[nodiscard]] bool receive();
    void take(const canfd_frame& kernel, std::size_t size, msghdr& message);
    void countOverflows(std::uint32_t total);
    void fail(const std::string& reason);

    const std::string m_name;
    const Receiver m_receiver;
    FileHandle m_socket;  ///< fixed after construction
    std::mutex
        m_sendMutex;  ///< held while a frame is sent, so that frames keep their order. Ahead of m_mutex
    mutable std::mutex m_mutex;  ///< guards m_failure; nothing else is locked while it is held
    std::string m_failure;
    std::atomic<std::uint64_t> m_overflows{0};
    std::uint32_t m_lastOverflows = 0;  ///< as the kernel counts; receiving thread only
    WakeUp m_wakeUp;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

}  // namespace host
