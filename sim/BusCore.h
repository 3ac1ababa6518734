/// @file
/// The simulated bus without a clock and without threads.
#pragma once

#include "sim/BitTiming.h"
#include "sim/BusCounters.h"
#include "sim/BusFaults.h"
#include "sim/FrameQueue.h"
#include "sim/Port.h"
#include "sim/PortNumber.h"
#include "sim/TimerQueue.h"

#include <functional>
#include <optional>
#include <vector>

namespace sim {

/// What the outside has to do at a moment of bus time.
struct BusEvent {
    enum class Kind {
        Frame,  ///< hand `frame` of `port` to every other port
        Timer   ///< call `action`, a timer of `port`
    };

    Kind kind = Kind::Frame;
    PortNumber port = 0;
    Time time = 0;  ///< bus time of the event, equals BusCore::now()
    Frame frame;
    std::function<void()> action;
};

/// A CAN bus as a queue of events: frames arrive, compete, occupy the wire and are complete; timers
/// fire in between. Time only moves in step() and advanceTo(). One thread at a time.
///
/// At one moment of bus time first the frame on the wire ends, then timers fire, then frames arrive,
/// and only then the next frame starts, so whoever answers a frame at once takes part in the next
/// arbitration.
class BusCore {
public:
    /// @throws std::invalid_argument if a bit rate is 0
    BusCore(const BitRates& rates, Stuffing stuffing, std::uint64_t seed);

    [[nodiscard]] PortNumber attach();

    /// Drops the waiting frames and timers of @p port. A frame of it on the wire is still completed.
    void detach(PortNumber port);

    /// Offers @p frame to the bus at @p arrival, at once if that has passed; not ahead of what the
    /// port sent before. A frame that no controller could send is counted and forgotten.
    void send(PortNumber port, const Frame& frame, Time arrival = 0);

    /// Adds a timer that fires at @p when, at once if that has passed.
    TimerId at(PortNumber port, Time when, std::function<void()> action);
    void cancel(TimerId timer) { m_timers.cancel(timer); }

    [[nodiscard]] Time now() const { return m_now; }

    /// Bus time at which something happens next; nothing on an idle bus without timers.
    [[nodiscard]] std::optional<Time> next() const;

    /// Moves on to the next event that concerns the outside.
    /// @param limit  last bus time that may be reached
    /// @return nothing if there is no such event up to @p limit
    [[nodiscard]] std::optional<BusEvent> step(Time limit = kNever);

    /// Lets idle time pass. Nothing may be due up to @p time. An earlier time is ignored.
    void advanceTo(Time time);

    [[nodiscard]] BusFaults& faults() { return m_faults; }
    [[nodiscard]] const BusFaults& faults() const { return m_faults; }
    /// Counts as of bus time @p when, which is now() or a later moment up to the next event.
    [[nodiscard]] BusCounters counters(Time when) const;
    [[nodiscard]] BusCounters counters() const { return counters(m_now); }

private:
    enum class Move { FrameEnd, Timer, Arrival, Start };  ///< in the order within one moment
    struct Next {
        Time time;
        Move move;
    };
    struct Flight {
        FrameQueue::Item item;
        Time start = 0;
        Time end = 0;
        std::uint32_t bits = 0;
    };

    [[nodiscard]] std::optional<Next> nextMove() const;
    void enqueue(const FrameQueue::Item& item, Time arrival);
    void release();
    void start();
    [[nodiscard]] BusEvent finish();
    [[nodiscard]] BusEvent fire();

    const BitRates m_rates;
    const Stuffing m_stuffing;
    BusFaults m_faults;
    BusCounters m_counters;           ///< `now`, `busy`: of complete frames only
    std::vector<Time> m_lastArrival;  ///< by port number less one
    TimerQueue m_timers;
    FrameQueue m_arrivals;  ///< not yet offered, by time
    FrameQueue m_waiting;   ///< offered, by arbitration
    std::optional<Flight> m_flight;
    Time m_now = 0;
    Time m_lastEnd = 0;          ///< end of the last frame, ns
    std::uint64_t m_restPs = 0;  ///< what that end was rounded down by, below 1000
};

/// Rank of @p frame in arbitration; the lower one wins. Bits in the order of the wire: 11 base bits,
/// RTR or SRR, IDE, 18 further bits, RTR.
[[nodiscard]] std::uint64_t arbitrationRank(const Frame& frame);

}  // namespace sim
