#include "sim/VirtualBus.h"

#include "sim/BusAttachment.h"
#include "sim/BusPort.h"

#include <algorithm>
#include <utility>

namespace sim {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

constexpr Time kBrakePoll = 100'000;               ///< ns between two looks at a brake that holds
constexpr Time kProgressPoll = 100'000;            ///< ns, shortest wait for a real-time bus that lags
constexpr Time kLongestSleep = 3'600'000'000'000;  ///< ns, keeps sums of time points in range

nanoseconds asNanoseconds(Time time) {
    return nanoseconds(static_cast<nanoseconds::rep>(time));
}

}  // namespace

VirtualBus::VirtualBus(const VirtualBusConfig& config)
    : m_config(config),
      m_core(config.rates, config.stuffing, config.seed),
      m_attachments(std::make_shared<Attachments>()),
      m_origin(Clock::now()),
      m_limit(config.limit),
      m_thread([this] { run(); }) {}

VirtualBus::~VirtualBus() {
    {
        const Lock lock(m_mutex);
        m_stop = true;
        noteChange();
    }
    m_thread.join();
}

std::unique_ptr<BusPort> VirtualBus::attach(Node& node) {
    const Lock lock(m_mutex);
    auto attachment = std::make_shared<Attachment>(m_core.attach(), node);
    auto attachments = std::make_shared<Attachments>(*m_attachments);
    attachments->push_back(attachment);
    m_attachments = std::move(attachments);
    return std::make_unique<BusPort>(*this, std::move(attachment));
}

void VirtualBus::setMonitor(Monitor monitor) {
    const Lock lock(m_hookMutex);
    m_monitor = std::move(monitor);
}

void VirtualBus::setBrake(std::function<bool()> brake) {
    {
        const Lock lock(m_hookMutex);
        m_hasBrake = brake != nullptr;
        m_brake = std::move(brake);
    }
    wake();
}

void VirtualBus::wake() {
    const Lock lock(m_mutex);
    noteChange();
}

void VirtualBus::setLimit(Time limit) {
    const Lock lock(m_mutex);
    m_limit = limit;
    noteChange();
}

bool VirtualBus::waitUntil(Time time, std::chrono::milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    Lock lock(m_mutex);
    while (!hasReached(time)) {
        const auto start = Clock::now();
        if (start >= deadline) {
            return false;
        }
        m_awaited = std::min(m_awaited, time);
        const Time now = timeLocked();
        const Time left = std::clamp(time > now ? time - now : 0, kProgressPoll, kLongestSleep);
        m_progress.wait_until(lock, isFast() ? deadline : std::min(deadline, start + asNanoseconds(left)));
    }
    return true;
}

bool VirtualBus::waitUntilIdle(std::chrono::milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    Lock lock(m_mutex);
    while (!isIdle()) {
        if (Clock::now() >= deadline) {
            return false;
        }
        m_awaited = 0;
        m_progress.wait_until(lock, deadline);
    }
    return true;
}

Time VirtualBus::now() const {
    if (onBusThread()) {  // nobody else moves it
        return m_core.now();
    }
    const Lock lock(m_mutex);
    return timeLocked();
}

void VirtualBus::setFaults(const FaultRates& rates) {
    const Lock lock(m_mutex);
    m_core.faults().setRates(rates);
}

void VirtualBus::setFaults(PortNumber port, const FaultRates& rates) {
    const Lock lock(m_mutex);
    m_core.faults().setRates(port, rates);
}

void VirtualBus::silence(PortNumber port, Time from, Time until) {
    const Lock lock(m_mutex);
    m_core.faults().silence(port, from, until);
}

void VirtualBus::silenceNow(PortNumber port) {
    const Lock lock(m_mutex);
    m_core.faults().silence(port, timeLocked(), kNever);
}

void VirtualBus::restore(PortNumber port) {
    const Lock lock(m_mutex);
    m_core.faults().restore(port);
}

BusCounters VirtualBus::counters() const {
    const Lock lock(m_mutex);
    return m_core.counters(timeLocked());
}

void VirtualBus::send(PortNumber port, const Frame& frame) {
    const Lock lock(m_mutex);
    m_core.send(port, frame, timeLocked());
    noteChange();
}

TimerId VirtualBus::at(PortNumber port, Time when, std::function<void()> action) {
    const Lock lock(m_mutex);
    const TimerId timer = m_core.at(port, std::max(when, timeLocked()), std::move(action));
    noteChange();
    return timer;
}

void VirtualBus::cancel(TimerId timer) {
    const Lock lock(m_mutex);
    m_core.cancel(timer);
    noteProgress();
}

void VirtualBus::detach(Attachment& attachment) {
    if (onBusThread() && m_calling == &attachment) {  // this thread holds its callMutex
        attachment.attached = false;
    } else {
        const Lock running(attachment.callMutex);
        attachment.attached = false;
    }
    const Lock lock(m_mutex);
    m_core.detach(attachment.number);
    auto attachments = std::make_shared<Attachments>(*m_attachments);
    std::erase_if(*attachments, [&](const auto& other) { return other.get() == &attachment; });
    m_attachments = std::move(attachments);
    noteProgress();
}

void VirtualBus::run() {
    Lock lock(m_mutex);
    while (!m_stop) {
        const std::optional<Time> due = m_core.next();
        if (due) {
            turn(lock, *due);
        } else {
            sleep(lock, kLongestSleep);
        }
    }
}

/// Does one thing about the next event, at bus time @p due: waits for it or lets it happen.
void VirtualBus::turn(Lock& lock, Time due) {
    const Time limit = isFast() ? m_limit : kNever;
    if (due > limit && m_core.now() >= limit) {
        sleep(lock, kLongestSleep);
    } else if (!isFast() && clock() < due) {
        waitForClock(lock, due);
    } else if (brakeHolds(lock)) {
        sleep(lock, kBrakePoll);
    } else if (due > limit) {
        m_core.advanceTo(limit);
        noteProgress();
    } else {
        limitLag(due);
        if (const std::optional<BusEvent> event = m_core.step(isFast() ? m_limit : clock())) {
            deliver(lock, *event);
        }
        noteProgress();
    }
}

/// Waits for a change, at most @p most ns.
void VirtualBus::sleep(Lock& lock, Time most) {
    const std::uint64_t seen = m_revision;
    m_sleeping = true;
    m_work.wait_for(lock, asNanoseconds(most), [&] { return m_revision != seen; });
    m_sleeping = false;
}

/// Waits for a change or for the clock: asleep while the event is far, else spinning.
void VirtualBus::waitForClock(Lock& lock, Time due) {
    const Time left = due - std::min(due, clock());
    if (left > m_config.spin) {
        sleep(lock, std::min(left - m_config.spin, kLongestSleep));
        return;
    }
    const std::uint64_t seen = m_revision;
    lock.unlock();
    while (m_revision == seen && clock() < due) {
        std::this_thread::yield();
    }
    lock.lock();
}

/// Moves bus time as a whole if the event at @p due is later than it may be.
void VirtualBus::limitLag(Time due) {
    if (isFast()) {
        return;
    }
    const Time now = clock();
    if (now > due && now - due > m_config.maxLag) {
        m_origin += asNanoseconds(now - due - m_config.maxLag);
    }
}

/// Asks the brake, without the lock.
bool VirtualBus::brakeHolds(Lock& lock) {
    if (!m_hasBrake) {
        return false;
    }
    lock.unlock();
    bool holds = false;
    {
        const Lock hooks(m_hookMutex);
        holds = m_brake && m_brake();
    }
    lock.lock();
    return holds;
}

/// Hands @p event to whom it concerns, without the lock.
void VirtualBus::deliver(Lock& lock, const BusEvent& event) {
    m_delivering = true;
    const std::shared_ptr<const Attachments> attachments = m_attachments;
    lock.unlock();
    if (event.kind == BusEvent::Kind::Frame) {
        deliverFrame(event, *attachments);
    } else {
        deliverTimer(event, *attachments);
    }
    lock.lock();
    m_delivering = false;
}

void VirtualBus::deliverFrame(const BusEvent& event, const Attachments& attachments) {
    {
        const Lock hooks(m_hookMutex);
        if (m_monitor) {
            m_monitor(event.frame, event.port, event.time);
        }
    }
    for (const std::shared_ptr<Attachment>& attachment : attachments) {
        if (attachment->number != event.port) {
            callNode(*attachment, [&event](Node& node) { node.onFrame(event.frame, event.time); });
        }
    }
}

void VirtualBus::deliverTimer(const BusEvent& event, const Attachments& attachments) {
    const auto owner = std::lower_bound(attachments.begin(), attachments.end(), event.port,
                                        [](const std::shared_ptr<Attachment>& attachment, PortNumber port) {
                                            return attachment->number < port;
                                        });
    if (owner != attachments.end() && (*owner)->number == event.port) {
        callNode(**owner, [&event](Node&) { event.action(); });
    }
}

template <class Call>
void VirtualBus::callNode(Attachment& attachment, Call call) {
    const Lock running(attachment.callMutex);
    if (attachment.attached) {
        m_calling = &attachment;
        call(attachment.node);
        m_calling = nullptr;
    }
}

/// Tells the bus thread that it has to look again.
void VirtualBus::noteChange() {
    ++m_revision;
    if (m_sleeping) {
        m_work.notify_one();
    }
}

/// Tells those who wait that bus time has moved or less is pending. Who is not content says again what it
/// awaits.
void VirtualBus::noteProgress() {
    if (m_core.now() >= m_awaited) {
        m_awaited = kNever;
        m_progress.notify_all();
    }
}

/// Real time since bus time 0, ns. With m_mutex held or on the bus thread.
Time VirtualBus::clock() const {
    return static_cast<Time>(std::chrono::duration_cast<nanoseconds>(Clock::now() - m_origin).count());
}

/// Bus time. In real time that of the clock, but no further ahead of what still has to happen than
/// limitLag() allows, so that it goes on smoothly when a stall has been shifted away.
Time VirtualBus::timeLocked() const {
    if (isFast() || onBusThread()) {
        return m_core.now();
    }
    const std::optional<Time> next = m_delivering ? m_core.now() : m_core.next();
    const Time lead = next ? *next + std::min(m_config.maxLag, kNever - *next) : kNever;
    return std::min(clock(), lead);
}

bool VirtualBus::hasReached(Time time) const {
    const std::optional<Time> next = m_core.next();
    const bool pending = (next && *next <= time) || (m_delivering && m_core.now() <= time);
    return timeLocked() >= time && !pending;
}

}  // namespace sim
