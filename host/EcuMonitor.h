/// @file
/// Takes the values of one simulated ECU, keeps their statistics and checks each of them.
#pragma once

#include "host/ConfigRecords.h"
#include "host/GapDetector.h"
#include "host/Session.h"
#include "host/ValueProof.h"
#include "host/VariableStatistics.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace host {

/// What the monitor asks the simulated ECU. Any thread.
struct EcuProbe {
    /// Events of a channel so far.
    std::function<std::uint64_t(std::uint16_t event)> eventIndex;
    /// Bytes of memory as they are now.
    std::function<std::vector<std::uint8_t>(std::uint32_t address, std::uint32_t size)> memory;
};

/// What is known of one variable. Plain copy.
struct VariableReport {
    VariableStatistics statistics;
    std::optional<GapDetector> gaps;  ///< of a counter
    std::uint64_t lastEvent = 0;      ///< event in which the last value was taken
    std::uint64_t firstEvent = 0;     ///< event in which the first value was taken
    std::uint64_t wrong = 0;          ///< values that the ECU never had, or not then
    std::string firstWrong;           ///< the first of them, in words
};

/// A copy of everything that the monitor found.
struct EcuReport {
    std::vector<VariableReport> variables;      ///< in the order of the configuration
    std::array<std::uint64_t, 3> deliveries{};  ///< calls with values, by `ValueKind`
    std::vector<std::string> rejected;          ///< names that the library refused to read
    std::uint64_t readValues = 0;               ///< values read once
    std::uint64_t wrongReads = 0;               ///< of these, those that memory did not hold
    std::vector<std::string> strangers;         ///< names of values that nobody asked for
};

/// Values of a DAQ list that come together were taken in one event, which a counter among them names: each
/// must be what its signal was then. A polled value must be what its signal was at some event since the
/// value before; if it took several commands, each of its pieces must. Any thread.
class EcuMonitor {
public:
    /// @param ecu  must outlive the object
    EcuMonitor(const EcuRecord& ecu, EcuProbe probe);

    void take(const ValueDelivery& delivery);

    /// From here on values are neither kept nor judged.
    void conclude();

    [[nodiscard]] EcuReport report() const;

private:
    void takeRead(const mcMeasureVariableValue& value);
    void takeMeasured(const mcMeasureVariableValue& value, ValueKind kind, std::optional<EventSpan> together);
    [[nodiscard]] std::optional<std::size_t> indexOf(const std::string& name);
    [[nodiscard]] std::map<std::uint16_t, std::uint64_t> eventsNamed(
        const std::vector<mcMeasureVariableValue>& values);
    void checkBytes(std::size_t index, std::span<const std::uint8_t> bytes, ValueKind kind,
                    std::optional<EventSpan> together);
    [[nodiscard]] bool holdsNow(const VariableRecord& variable, std::span<const std::uint8_t> bytes) const;
    void noteEvent(VariableReport& report, std::uint64_t event);
    [[nodiscard]] ShownValue shown(const VariableRecord& variable, std::span<const std::uint8_t> bytes) const;

    const EcuRecord& m_ecu;
    const EcuProbe m_probe;
    std::map<std::string, std::size_t> m_indices;  ///< fixed after construction

    /// Guards the report. Ahead of the lock of the simulated ECU, which is asked while it is held; the ECU
    /// never calls the host while it holds its own.
    mutable std::mutex m_mutex;
    EcuReport m_report;
    bool m_concluded = false;  ///< guarded by m_mutex
};

}  // namespace host
