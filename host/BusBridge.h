/// @file
/// Carries frames between a hub and a bus outside.
#pragma once

#include "host/BusHub.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace host {

/// What a bridge has counted.
struct BridgeCounters {
    std::uint64_t in = 0;    ///< frames from outside to the hub
    std::uint64_t out = 0;   ///< frames from the hub to outside
    std::uint64_t lost = 0;  ///< frames that did not fit into the queue to the outside, or that the hub's bus
                             ///< does not carry
};

/// Both directions until the bus outside is down. Any thread, but for construction and destruction.
class BusBridge {
public:
    /// Opens the bus outside with the receiver it is given.
    using Opener = std::function<std::unique_ptr<CanBus>(CanBus::Receiver receiver)>;

    /// @param hub  connected, and outlives the object
    /// @throws what @p opener throws
    BusBridge(BusHub& hub, const Opener& opener);
    ~BusBridge();
    BusBridge(const BusBridge&) = delete;
    BusBridge& operator=(const BusBridge&) = delete;

    /// Why the bus outside is down; empty while it works.
    [[nodiscard]] std::string failure() const { return m_outside->failure(); }

    [[nodiscard]] BridgeCounters counters() const;

private:
    void takeInside(const BusFrame& frame);
    void takeOutside(const BusFrame& frame);
    void run();

    BusHub& m_hub;
    mutable std::mutex m_mutex;  ///< guards down to m_stop; nothing else is locked while it is held
    std::condition_variable m_work;
    std::deque<sim::Frame> m_queue;  ///< to the outside, whose send() may wait
    BridgeCounters m_counters;
    bool m_stop = false;
    BusHub::Member m_member = 0;        ///< fixed after construction
    std::unique_ptr<CanBus> m_outside;  ///< fixed after construction
    std::thread m_thread;
};

}  // namespace host
