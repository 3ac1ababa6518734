/// @file
/// A CAN bus as the host sees it, whatever is behind it.
#pragma once

#include "sim/Frame.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace host {

/// A frame that was on a bus.
struct BusFrame {
    sim::Frame frame;
    std::uint64_t timeUs = 0;  ///< when it was on the bus; microseconds of one clock for all frames of a bus
    bool own = false;          ///< the host sent it
};

/// One open bus. Any thread, but for construction and destruction.
class CanBus {
public:
    /// Takes each frame of the bus, those that the host sent included, in the order of the bus. Called on a
    /// thread of the bus, never after the destructor has returned. It must not call back into the bus.
    using Receiver = std::function<void(const BusFrame& frame)>;

    CanBus() = default;
    CanBus(const CanBus&) = delete;
    CanBus& operator=(const CanBus&) = delete;

    /// Closes the bus. Nobody may send any more.
    virtual ~CanBus() = default;

    /// Sends a frame. Waits for room in a full transmit queue, but no longer than a deadline.
    /// @return false if it could not be sent; `failure` says why. The bus is down from then on
    virtual bool send(const sim::Frame& frame) = 0;

    /// Why the bus is down, with its name in the text; empty while it works.
    [[nodiscard]] virtual std::string failure() const = 0;

    /// The library delivered DAQ values whose frame was on the bus at @p timeUs. A bus that can wait for a
    /// machine that is too busy to keep up does.
    virtual void delivered([[maybe_unused]] std::uint64_t timeUs) {}

    /// Frames that came in but were lost below the host, so far.
    [[nodiscard]] virtual std::uint64_t overflows() const { return 0; }
};

}  // namespace host
