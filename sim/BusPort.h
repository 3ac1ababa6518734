/// @file
/// A node's connection to a VirtualBus.
#pragma once

#include "sim/Port.h"
#include "sim/PortNumber.h"
#include "sim/VirtualBus.h"

#include <memory>

namespace sim {

/// Made by VirtualBus::attach(); its destructor ends the connection, see there.
/// send(), at() and cancel() may be called from any thread.
class BusPort final : public Port {
public:
    BusPort(VirtualBus& bus, std::shared_ptr<VirtualBus::Attachment> attachment);
    ~BusPort() override;

    BusPort(const BusPort&) = delete;
    BusPort& operator=(const BusPort&) = delete;

    /// Names this port in the faults, the monitor and the counters of the bus.
    [[nodiscard]] PortNumber number() const { return m_number; }

    void send(const Frame& frame) override;
    [[nodiscard]] Time now() const override;
    TimerId at(Time when, std::function<void()> action) override;

    /// Does not wait for an action that is already running.
    void cancel(TimerId timer) override;

private:
    VirtualBus& m_bus;
    const std::shared_ptr<VirtualBus::Attachment> m_attachment;
    const PortNumber m_number;
};

}  // namespace sim
