/// @file
/// One run of the demo: simulated ECUs connected, unlocked, calibrated, programmed, measured, one lost, all
/// disconnected.
#pragma once

#include "host/CandumpLog.h"
#include "host/ConfigRecords.h"
#include "host/DemoChecks.h"
#include "host/DemoJournal.h"
#include "host/DemoMemory.h"
#include "host/EcuMonitor.h"
#include "host/ExitCode.h"
#include "host/Output.h"
#include "host/Session.h"
#include "host/SimulatedBus.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// Runs once. Prints each step, a table of what was measured, the load of the buses and a verdict.
class DemoRun {
public:
    /// Powers on the ECUs. @param config, output, trace  must outlive the object
    /// @param trace  gets every frame of all buses; null for none
    /// @throws ConfigError if an ECU cannot be simulated as it is described
    DemoRun(const Config& config, Output& output, CandumpWriter* trace);

    /// @return done only if every check of the verdict held
    [[nodiscard]] ExitCode run();

private:
    // The steps, in their order. Each returns false if there is no point in going on.
    [[nodiscard]] bool connect();
    [[nodiscard]] bool readOnce();
    [[nodiscard]] bool workOnMemory();
    [[nodiscard]] bool startMeasurement();
    [[nodiscard]] bool measure();
    [[nodiscard]] bool loseOne();
    [[nodiscard]] bool disconnectAfterLoss();

    /// Waits for the values that are still on their way and takes no more.
    void concludeMeasurement();

    /// Whether an ECU was declared lost before its time; that goes into the verdict.
    [[nodiscard]] bool lostEarly();

    /// Closes what is still open when a step ended the run.
    void closeConnection();

    [[nodiscard]] SessionHandlers handlers();
    void takeValues(const ValueDelivery& delivery);
    void makeBuses(CandumpWriter* trace);
    void makeMonitors();
    void sayUnlocked(std::size_t index);
    void send(const OutgoingFrame& frame);
    [[nodiscard]] SimulatedBus& busOf(std::size_t ecu);
    [[nodiscard]] SimulatedStation& ecu(std::size_t index) { return busOf(index).ecu(index); }
    [[nodiscard]] std::vector<std::uint64_t> eventIndices(std::size_t index);
    [[nodiscard]] std::vector<sim::BusCounters> busCounters() const;

    [[nodiscard]] std::optional<TaskResult> await(std::uint32_t command, const std::string& what) {
        return m_journal.await(m_session, command, what);
    }

    void sayPlan(std::size_t ecu);
    void checkAll();
    void printHead();
    void printTable();
    void printLoads();
    [[nodiscard]] ExitCode printVerdict();

    const Config& m_config;
    Output& m_output;
    DemoJournal m_journal;
    std::vector<MeasuredEvents> m_events;  ///< by ECU
    std::vector<sim::BusCounters> m_countersBefore;
    std::vector<sim::BusCounters> m_countersAfter;
    std::vector<std::unique_ptr<SimulatedBus>> m_buses;   ///< by index; fixed after construction
    std::vector<std::unique_ptr<EcuMonitor>> m_monitors;  ///< by ECU; fixed after construction
    std::vector<std::unique_ptr<DemoMemory>> m_memories;  ///< by ECU; fixed after construction
    Session m_session;  ///< last: its end stops the callbacks, which use the rest
};

}  // namespace host
