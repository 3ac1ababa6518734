#include "sim/BusPort.h"

#include "sim/BusAttachment.h"

#include <utility>

namespace sim {

BusPort::BusPort(VirtualBus& bus, std::shared_ptr<VirtualBus::Attachment> attachment)
    : m_bus(bus), m_attachment(std::move(attachment)), m_number(m_attachment->number) {}

BusPort::~BusPort() {
    m_bus.detach(*m_attachment);
}

void BusPort::send(const Frame& frame) {
    m_bus.send(m_number, frame);
}

Time BusPort::now() const {
    return m_bus.now();
}

TimerId BusPort::at(Time when, std::function<void()> action) {
    return m_bus.at(m_number, when, std::move(action));
}

void BusPort::cancel(TimerId timer) {
    m_bus.cancel(timer);
}

}  // namespace sim
