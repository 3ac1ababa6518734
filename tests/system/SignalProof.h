/// @file
/// Holds the values that a host was given against the signals of the simulated ECU they came from.
#pragma once

#include "sim/XcpEcu.h"

#include <TalvexRecords.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace systemtest {

/// What may happen to DAQ values on their way. Under all but the last a value has to be one that the ECU had.
enum class Expected : std::uint8_t {
    everyCycle,    ///< nothing: the values of a cycle belong to one event, and the next cycle to the next one
    losses,        ///< cycles and parts of cycles are lost: the values of a variable come in order
    disorder,      ///< frames come late, too
    strayAnswers,  ///< and twice: a poll may get the second answer to an earlier one
    anything,      ///< everything: nothing is looked at
};

/// Checks values as they come. A 32-bit counter among the values of a cycle tells at which event they were
/// sampled; with anything but `everyCycle` every moving signal has to be such a counter. All functions may be
/// called from any thread.
class SignalProof {
public:
    /// @param ecu                   must outlive the object
    /// @param startFrom, startUntil  nanoseconds of bus time between which the ECU was switched on
    SignalProof(const sim::XcpEcu& ecu, sim::Time startFrom, sim::Time startUntil);

    void expect(Expected expected);

    /// @param until  nanoseconds of bus time at which the ECU that sends the values was on, if it is a twin
    /// of the
    ///               one given and was switched on later
    void startsLater(sim::Time until);

    /// A new measurement begins: its first values need not follow those of the one before. Counts restart.
    void begin();

    /// Takes what came through `measureFun`.
    void take(std::int32_t kind, const std::vector<mcMeasureVariableValue>& values);

    /// Values of @p name that came by DAQ.
    [[nodiscard]] std::uint64_t sampled(const std::string& name) const;
    /// Values of @p name that were polled or read at once.
    [[nodiscard]] std::uint64_t polled(const std::string& name) const;
    /// The fewest DAQ values of all @p variables.
    [[nodiscard]] std::uint64_t fewestSampled(const std::vector<mcMeasureVariable>& variables) const;
    /// DAQ values of all variables.
    [[nodiscard]] std::uint64_t allSampled() const;

    /// What was wrong, at most 20 entries; empty if all was right.
    [[nodiscard]] std::vector<std::string> faults() const;

private:
    struct Track {
        const sim::Signal* signal = nullptr;
        std::uint64_t sampled = 0;
        std::uint64_t polled = 0;
        std::uint64_t lastSampled = 0;  ///< event number of the latest sample; 0: none yet
        std::uint64_t lastPolled = 0;   ///< event number of the latest polled value
    };

    void takeCycle(const std::vector<mcMeasureVariableValue>& values);
    void takeSample(const mcMeasureVariableValue& value, std::uint64_t index);
    void takeAlone(const mcMeasureVariableValue& value);
    void takePolled(const mcMeasureVariableValue& value);
    void checkTime(const mcMeasureVariableValue& value, const sim::Signal& signal, std::uint64_t index);
    [[nodiscard]] Track* find(const std::string& name);
    [[nodiscard]] static bool isClock(const sim::Signal& signal);
    [[nodiscard]] static std::uint64_t clockOf(const sim::Signal& signal,
                                               const std::vector<std::uint8_t>& bytes);
    void blame(const mcMeasureVariableValue& value, const std::string& what);

    const sim::XcpEcu& m_ecu;
    const sim::Time m_startFrom;
    sim::Time m_startUntil;
    mutable std::mutex m_mutex;  ///< guards all below
    Expected m_expected = Expected::everyCycle;
    std::map<std::string, Track> m_tracks;
    std::vector<std::string> m_faults;
};

}  // namespace systemtest
