#include "host/BusHub.h"

#include <utility>

namespace host {
namespace {

/// A bus that loses frames does not make the list of those under way grow.
constexpr std::size_t kMostUnderWay = 4096;

}  // namespace

void BusHub::take(const BusFrame& frame) {
    BusFrame shifted = frame;
    shifted.timeUs += m_timeShiftUs;
    shifted.own = false;
    const std::lock_guard lock(m_mutex);
    const Member sender = frame.own ? m_sent.take(frame.frame).value_or(0) : 0;
    for (const auto& [member, receiver] : m_members) {
        if (member != sender) {
            receiver(shifted);
        }
    }
}

BusHub::Member BusHub::join(CanBus::Receiver receiver) {
    const std::lock_guard lock(m_mutex);
    m_members.emplace(m_next, std::move(receiver));
    return m_next++;
}

void BusHub::leave(Member member) {
    const std::lock_guard lock(m_mutex);
    m_members.erase(member);
}

bool BusHub::send(Member member, const sim::Frame& frame) {
    CanBus* const bus = m_bus;
    if (bus == nullptr) {
        return false;
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_sent.size() >= kMostUnderWay) {
            m_sent.dropOldest();
        }
        m_sent.add(frame, member);
    }
    return bus->send(frame);
}

}  // namespace host
