/// @file
/// The timetable of the variables that are read one by one instead of by DAQ.
#pragma once

#include "TalvexRecords.h"
#include "daq/AddressBlock.h"

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// The variables of one polling period.
struct PollGroup {
    std::int64_t lastRun = 0;                ///< monotonic clock at the last run, nanoseconds; 0 if new
    std::list<mcMeasureVariable> variables;  ///< in order of insertion
    bool hasRun = false;                     ///< tells a run at clock 0 from none: the first is due at once
};

/// Groups variables by polling period and reads, on each tick, those whose period has run out.
///
/// The timetable locks itself, so that the worker can change it while the polling thread ticks. The lock is
/// never held during a read, which takes as long as the ECU's answer. `m_results` belongs to the thread that
/// ticks.
class PollScheduler {
public:
    /// Reads one variable from the ECU. Returns 0 for success; any other value drops the value.
    using Reader = std::function<std::int32_t(const mcMeasureVariable&, mcMeasureVariableValue&)>;
    /// A monotonic clock, nanoseconds.
    using Clock = std::function<std::int64_t()>;

    /// @param reader  called by tick for each variable that is due; must not be empty
    /// @param clock   the steady clock, unless a test brings its own
    explicit PollScheduler(Reader reader, Clock clock = steadyNowNs);

    /// Replaces the timetable by @p variables. A period of 0 counts as 1000 ms.
    void assign(const std::vector<mcMeasureVariable>& variables);

    /// Adds one variable.
    /// @param period  milliseconds, of which the low 16 bits count; 0 there is 1000 ms
    void add(const std::string& name, const AddressBlock& block, std::uint32_t period);

    /// Reads every variable that is due, once, and appends the values to `m_results`. Missed periods are not
    /// made up for: the next one counts from this tick. Blocks for the reads.
    /// @return true if at least one read succeeded
    bool tick();

    /// Empties the timetable. Values in `m_results` stay.
    void clear();

    std::map<std::uint16_t, PollGroup> m_groups;    ///< by period in milliseconds; guarded by m_groupsMutex
    std::vector<mcMeasureVariableValue> m_results;  ///< read and not yet taken away
    Reader m_reader;                                ///< fixed after construction

private:
    static std::int64_t steadyNowNs();
    void insert(const mcMeasureVariable& variable);
    std::vector<mcMeasureVariable> takeDue();

    Clock m_clock;             ///< fixed after construction
    std::mutex m_groupsMutex;  ///< innermost lock: nothing is called while it is held but the clock
};
