#include "host/SimulatedCanBus.h"

#include "sim/BitTiming.h"

#include <fmt/format.h>

#include <chrono>
#include <utility>

namespace host {
namespace {

/// Frames that wait for the bus. A burst of block transfer, which is 255 frames at most, fits.
constexpr std::size_t kQueueRoom = 256;
constexpr std::chrono::seconds kSendTimeout{1};

}  // namespace

SimulatedCanBus::SimulatedCanBus(const Config& config, std::size_t bus, Receiver receiver)
    : m_name(config.buses.at(bus).name),
      m_fd(config.buses[bus].dataRate.has_value()),
      m_receiver(std::move(receiver)),
      m_bus(config, bus, [](const sim::Frame&, std::uint64_t) {}) {
    m_bus.watch([this](const sim::Frame& frame, std::uint64_t timeUs) { take(frame, timeUs); });
}

bool SimulatedCanBus::send(const sim::Frame& frame) {
    if (!sim::isSendable(frame) || (frame.fd && !m_fd)) {
        return fail(
            fmt::format("frame {:X} with {} bytes cannot be sent on this bus", frame.id, frame.length));
    }
    {
        std::unique_lock lock(m_mutex);
        if (!m_room.wait_for(lock, kSendTimeout, [this] { return m_queue.size() < kQueueRoom; })) {
            lock.unlock();
            return fail("the transmit queue has been full for a second; other frames keep the bus busy");
        }
        if (!m_failure.empty()) {
            return false;
        }
        m_queue.add(frame, 0);
    }
    m_bus.send(frame);
    return true;
}

std::string SimulatedCanBus::failure() const {
    const std::lock_guard lock(m_mutex);
    return m_failure;
}

/// Gets every frame of the wire. Which of them the host sent shows in the queue.
void SimulatedCanBus::take(const sim::Frame& frame, std::uint64_t timeUs) {
    bool own = false;
    {
        const std::lock_guard lock(m_mutex);
        own = m_queue.take(frame).has_value();
    }
    if (own) {
        m_room.notify_one();
    }
    m_receiver(BusFrame{frame, timeUs, own});
}

/// Keeps the first reason.
bool SimulatedCanBus::fail(const std::string& reason) {
    const std::lock_guard lock(m_mutex);
    if (m_failure.empty()) {
        m_failure = fmt::format("bus {} (sim:): {}", m_name, reason);
    }
    return false;
}

}  // namespace host
