#include "sim/BusCore.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace sim {

namespace {

constexpr std::uint64_t kPsPerNs = 1'000;

/// The frame as receivers get it: filled with zeros, `length` as on the wire.
Frame onTheWire(const Frame& frame) {
    Frame sent = frame;
    sent.length = wireLength(frame);
    std::fill(sent.data.begin() + frame.length, sent.data.end(), std::uint8_t{0});
    return sent;
}

}  // namespace

BusCore::BusCore(const BitRates& rates, Stuffing stuffing, std::uint64_t seed)
    : m_rates(rates), m_stuffing(stuffing), m_faults(seed) {
    if (rates.nominal == 0 || rates.data == 0) {
        throw std::invalid_argument("a bit rate of 0");
    }
}

PortNumber BusCore::attach() {
    m_lastArrival.push_back(0);
    m_counters.framesByPort.push_back(0);
    return static_cast<PortNumber>(m_lastArrival.size());
}

void BusCore::detach(PortNumber port) {
    m_timers.cancelAll(port);
    m_arrivals.removeAll(port);
    m_waiting.removeAll(port);
}

void BusCore::send(PortNumber port, const Frame& frame, Time arrival) {
    if (!isSendable(frame)) {
        ++m_counters.rejected;
        return;
    }
    Time& last = m_lastArrival[port - 1];
    last = std::max({last, arrival, m_now});
    FaultVerdict verdict = m_faults.judge(port);
    if (verdict.drop) {
        ++m_counters.dropped;
        return;
    }
    FrameQueue::Item item{port, onTheWire(frame)};
    if (verdict.corruptMask != 0 && item.frame.length > 0) {
        item.frame.data[0] ^= verdict.corruptMask;
        ++m_counters.corrupted;
    }
    m_counters.delayed += verdict.delay != 0 ? 1U : 0U;
    enqueue(item, last + verdict.delay);
    if (verdict.duplicate) {
        ++m_counters.duplicated;
        enqueue(item, last + verdict.delay);
    }
}

TimerId BusCore::at(PortNumber port, Time when, std::function<void()> action) {
    return m_timers.add({port, std::max(when, m_now), std::move(action)});
}

std::optional<Time> BusCore::next() const {
    const std::optional<Next> move = nextMove();
    return move ? std::optional<Time>(move->time) : std::nullopt;
}

std::optional<BusEvent> BusCore::step(Time limit) {
    for (std::optional<Next> next = nextMove(); next && next->time <= limit; next = nextMove()) {
        m_now = next->time;
        switch (next->move) {
            case Move::FrameEnd:
                return finish();
            case Move::Timer:
                return fire();
            case Move::Arrival:
                release();
                break;
            case Move::Start:
                start();
                break;
        }
    }
    return std::nullopt;
}

void BusCore::advanceTo(Time time) {
    m_now = std::max(m_now, time);
}

BusCounters BusCore::counters(Time when) const {
    BusCounters counters = m_counters;
    counters.now = when;
    counters.busy += m_flight ? std::min(when, m_flight->end) - m_flight->start : 0;
    return counters;
}

std::optional<BusCore::Next> BusCore::nextMove() const {
    std::optional<Next> first;
    const auto offer = [&first](Time time, Move move) {
        if (!first || time < first->time) {
            first = Next{time, move};
        }
    };
    if (m_flight) {
        offer(m_flight->end, Move::FrameEnd);
    }
    if (const std::optional<Time> timer = m_timers.next()) {
        offer(*timer, Move::Timer);
    }
    if (!m_arrivals.empty()) {
        offer(m_arrivals.frontRank(), Move::Arrival);
    }
    if (!m_flight && !m_waiting.empty()) {
        offer(m_now, Move::Start);
    }
    return first;
}

/// A frame that is there already competes at once, unless others that arrived before it still wait
/// to be offered.
void BusCore::enqueue(const FrameQueue::Item& item, Time arrival) {
    if (arrival > m_now || (!m_arrivals.empty() && m_arrivals.frontRank() <= arrival)) {
        m_arrivals.push(arrival, item);
    } else if (m_faults.isSilent(item.port, arrival)) {
        ++m_counters.silenced;
    } else {
        m_waiting.push(arbitrationRank(item.frame), item);
    }
}

void BusCore::release() {
    const FrameQueue::Item item = m_arrivals.pop();
    if (m_faults.isSilent(item.port, m_now)) {
        ++m_counters.silenced;
        return;
    }
    m_waiting.push(arbitrationRank(item.frame), item);
}

/// Puts the winner of the arbitration on the wire. A node that has fallen silent since it offered
/// its frame does not start it.
void BusCore::start() {
    const FrameQueue::Item item = m_waiting.pop();
    if (m_faults.isSilent(item.port, m_now)) {
        ++m_counters.silenced;
        return;
    }
    const FrameBits bits = frameBits(item.frame, m_stuffing);
    const std::uint64_t rest = m_now == m_lastEnd ? m_restPs : 0;
    const std::uint64_t length = wireTimePs(bits, m_rates) + rest;
    m_lastEnd = m_now + length / kPsPerNs;
    m_restPs = length % kPsPerNs;
    m_flight = Flight{item, m_now, m_lastEnd, bits.total()};
}

BusEvent BusCore::finish() {
    BusEvent event;
    event.kind = BusEvent::Kind::Frame;
    event.port = m_flight->item.port;
    event.time = m_now;
    event.frame = m_flight->item.frame;
    ++m_counters.frames;
    ++m_counters.framesByPort[event.port - 1];
    m_counters.dataBytes += event.frame.length;
    m_counters.bits += m_flight->bits;
    m_counters.busy += m_flight->end - m_flight->start;
    m_flight.reset();
    return event;
}

BusEvent BusCore::fire() {
    TimerQueue::Timer timer = m_timers.pop();
    BusEvent event;
    event.kind = BusEvent::Kind::Timer;
    event.port = timer.port;
    event.time = m_now;
    event.action = std::move(timer.action);
    return event;
}

std::uint64_t arbitrationRank(const Frame& frame) {
    constexpr unsigned kBaseShift = 21;  // SRR, IDE, 18 identifier bits, RTR below it
    constexpr std::uint64_t kSrrAndIde = 3ULL << 19U;
    constexpr std::uint32_t kFurtherBits = 0x3'FFFF;
    if (!frame.extended) {
        return static_cast<std::uint64_t>(frame.id) << kBaseShift;
    }
    const std::uint64_t base = frame.id >> 18U;
    return base << kBaseShift | kSrrAndIde | static_cast<std::uint64_t>(frame.id & kFurtherBits) << 1U;
}

}  // namespace sim
