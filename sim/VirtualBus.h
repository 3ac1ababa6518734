/// @file
/// A simulated CAN bus with a thread of its own, in real time or as fast as the machine goes.
#pragma once

#include "sim/BusCore.h"
#include "sim/Port.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace sim {

class BusPort;

/// How bus time passes.
enum class Pace {
    RealTime,  ///< with the clock of the machine, but for stalls, see VirtualBusConfig::maxLag
    Fast       ///< jumps to the next event at once; stands still while the bus is idle without timers
};

struct VirtualBusConfig {
    BitRates rates;
    Stuffing stuffing = Stuffing::None;
    Pace pace = Pace::RealTime;
    std::uint64_t seed = 1;  ///< of the faults
    Time limit = kNever;     ///< first limit of bus time, see VirtualBus::setLimit()

    /// Real time: how long ahead of an event the thread stops sleeping and spins, ns. Sleeps end some
    /// 50 to 100 µs late. 0 never spins: events then come that late, in small groups, their bus times
    /// still exact, for a fraction of the processor time.
    Time spin = 150'000;

    /// Real time: how far bus time may fall behind the clock and still catch up, ns. A machine that
    /// stalls longer shifts all of bus time, so that no frames or timers pile up into a burst.
    Time maxLag = 200'000;
};

/// The bus thread delivers frames and timers one after the other with no lock of the bus held, so
/// nodes may call everything of their ports, and the bus, from inside a callback.
/// All functions may be called from any thread. All ports must be destroyed before the bus.
class VirtualBus {
public:
    using Monitor = std::function<void(const Frame& frame, PortNumber sender, Time end)>;

    /// @throws std::invalid_argument if a bit rate is 0
    explicit VirtualBus(const VirtualBusConfig& config);

    /// Joins the bus thread. Not from inside a callback.
    ~VirtualBus();

    VirtualBus(const VirtualBus&) = delete;
    VirtualBus& operator=(const VirtualBus&) = delete;

    /// Connects @p node, which gets every complete frame of the others from now on and has to live
    /// until the port is destroyed. Once the port's destructor has returned, no callback of the node
    /// runs and no timer of it fires; its waiting frames are gone. The destructor waits for a running
    /// callback, unless it is called from inside that callback. A node whose callbacks reach the port
    /// through a std::unique_ptr has to let that pointer go out of scope: its reset() forgets the port
    /// before it destroys it, under the feet of a running callback.
    [[nodiscard]] std::unique_ptr<BusPort> attach(Node& node);

    /// Sets who sees every frame that was on the wire, on the bus thread, ahead of the nodes. When
    /// this returns the monitor before it is not running any more. Not from inside a monitor.
    void setMonitor(Monitor monitor);

    /// Sets a brake: as long as it returns true nothing happens on the bus and bus time does not pass.
    /// It is asked on the bus thread before each event, while it holds every 100 µs or after wake().
    /// When this returns the brake before it is not running any more. Not from inside a brake.
    void setBrake(std::function<bool()> brake);

    /// Has a brake that holds asked again at once.
    void wake();

    /// Stops bus time at @p limit, ns; events at that time still happen. A bus that has something to
    /// do after the limit moves on to it; an idle one stands where it is. Only at Pace::Fast.
    void setLimit(Time limit);

    /// Waits until bus time has reached @p time and what was due before it has been delivered.
    /// Not from inside a callback.
    /// @return false if that took longer than @p timeout
    [[nodiscard]] bool waitUntil(Time time, std::chrono::milliseconds timeout);

    /// Waits until no frame and no timer is left and the last of them has been delivered. Not from inside a
    /// callback.
    /// @return false if that took longer than @p timeout
    [[nodiscard]] bool waitUntilIdle(std::chrono::milliseconds timeout);

    /// Bus time, ns. On the bus thread that of the event being delivered. Never goes back.
    [[nodiscard]] Time now() const;

    /// Sets the faults of all ports that have none of their own.
    void setFaults(const FaultRates& rates);

    /// Sets the faults of the frames that @p port sends.
    void setFaults(PortNumber port, const FaultRates& rates);

    /// Makes what @p port sends vanish from bus time @p from until just before @p until, ns.
    void silence(PortNumber port, Time from, Time until = kNever);

    /// Makes what @p port sends vanish from now on.
    void silenceNow(PortNumber port);

    /// Takes back all silences of @p port.
    void restore(PortNumber port);

    /// The seed of the faults, for the message of a failing test.
    [[nodiscard]] std::uint64_t seed() const { return m_config.seed; }

    [[nodiscard]] BusCounters counters() const;

private:
    friend class BusPort;
    struct Attachment;
    using Attachments = std::vector<std::shared_ptr<Attachment>>;
    using Lock = std::unique_lock<std::mutex>;

    void send(PortNumber port, const Frame& frame);
    TimerId at(PortNumber port, Time when, std::function<void()> action);
    void cancel(TimerId timer);
    void detach(Attachment& attachment);

    void run();
    void turn(Lock& lock, Time due);
    void sleep(Lock& lock, Time most);
    void waitForClock(Lock& lock, Time due);
    void limitLag(Time due);
    [[nodiscard]] bool brakeHolds(Lock& lock);
    void deliver(Lock& lock, const BusEvent& event);
    void deliverFrame(const BusEvent& event, const Attachments& attachments);
    void deliverTimer(const BusEvent& event, const Attachments& attachments);
    template <class Call>
    void callNode(Attachment& attachment, Call call);
    void noteChange();
    void noteProgress();

    [[nodiscard]] bool isFast() const { return m_config.pace == Pace::Fast; }
    [[nodiscard]] bool onBusThread() const { return std::this_thread::get_id() == m_thread.get_id(); }
    [[nodiscard]] Time clock() const;
    [[nodiscard]] Time timeLocked() const;
    [[nodiscard]] bool hasReached(Time time) const;
    [[nodiscard]] bool isIdle() const { return !m_delivering && !m_core.next(); }

    const VirtualBusConfig m_config;

    /// Guards everything down to m_revision. Rank: behind Attachment::callMutex and m_hookMutex, during
    /// which callbacks get here; nothing else is locked while it is held, so no circle can arise.
    mutable std::mutex m_mutex;
    std::condition_variable m_work;      ///< for the bus thread: m_revision changed
    std::condition_variable m_progress;  ///< for those who wait: bus time got to m_awaited
    BusCore m_core;
    std::shared_ptr<const Attachments> m_attachments;  ///< by number; replaced, never changed
    std::chrono::steady_clock::time_point m_origin;    ///< when bus time was 0; moved on by stalls
    Time m_limit;
    Time m_awaited = kNever;    ///< those who wait want to hear of this bus time
    bool m_delivering = false;  ///< callbacks of the event at m_core.now() run
    bool m_sleeping = false;    ///< the bus thread waits at m_work
    bool m_stop = false;
    std::atomic<std::uint64_t> m_revision{0};  ///< counts changes; written with m_mutex held

    std::mutex m_hookMutex;  ///< held while the monitor or the brake runs; guards both
    Monitor m_monitor;
    std::function<bool()> m_brake;
    std::atomic<bool> m_hasBrake{false};  ///< spares the look at m_brake; written with m_hookMutex held

    const Attachment* m_calling = nullptr;  ///< whose callback runs; bus thread only
    std::thread m_thread;                   ///< fixed after construction
};

}  // namespace sim
