/// @file
/// The way to the ECUs that a sub-command works on: buses, library, logs, and what went wrong.
#pragma once

#include "host/AnswerWatch.h"
#include "host/BusSet.h"
#include "host/CandumpLog.h"
#include "host/ConfigRecords.h"
#include "host/HostError.h"
#include "host/LinkOptions.h"
#include "host/LogFile.h"
#include "host/Output.h"
#include "host/SeedKeyReports.h"
#include "host/Session.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// Reads the configuration that @p options name and puts their buses into it.
/// @throws ConfigError, HostError ExitCode::usage
[[nodiscard]] Config loadConfigFor(const LinkOptions& options);

/// The indices of the ECUs that @p options name, in the order of the configuration; all if they name none.
/// @throws HostError ExitCode::usage for a name that is not there
[[nodiscard]] std::vector<std::size_t> chosenEcus(const Config& config, const LinkOptions& options);

/// The one ECU that @p options name, or the only one of the configuration.
/// @throws HostError ExitCode::usage if that leaves a choice
[[nodiscard]] std::size_t chosenEcu(const Config& config, const LinkOptions& options);

/// What else a sub-command may follow, on threads of the library. Empty functions are not called.
struct LinkTaps {
    /// The live configuration of an ECU whose measurement has been planned and is about to start.
    std::function<void(const EcuProtoCfg& cfg)> plan;

    /// Each line of the library's log.
    std::function<void(std::uint32_t level, const std::string& text)> log;
};

/// Connections to some ECUs. One thread, but for what its comments say. Operations throw HostError with the
/// reason and the exit code that goes with it: what the ECU answered, a bus that is down, an interrupt.
class Link {
public:
    /// Takes values, on threads of the library.
    using ValueTaker = std::function<void(const ValueDelivery& delivery)>;

    /// Sees every frame of the buses that are used, on threads of the buses.
    using FrameWatcher = BusSet::Watcher;

    /// Opens the buses and the files of @p options.
    /// @param config  must outlive the object
    /// @throws HostError ExitCode::bus, ExitCode::usage for an URL that is none, or ExitCode::failed
    /// @throws ConfigError if an ECU cannot be simulated as it is described
    Link(const Config& config, std::vector<std::size_t> ecus, const LinkOptions& options,
         ValueTaker takeValues = {}, FrameWatcher watchFrames = {}, LinkTaps taps = {});

    /// Disconnects what is connected, and closes trace and log; a file that is not whole is noted as lost.
    ~Link();

    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    /// Connects all ECUs and unlocks what the configuration says.
    void connect();

    /// Disconnects; what an ECU answers to that does not matter any more.
    void disconnect();

    /// Gives the library an order and waits for the result.
    /// @param ecu      index of the configuration: whose answers tell why it failed
    /// @param command  of the result, as in `command`
    /// @param what     for the message, "read"
    TaskResult run(std::size_t ecu, std::uint32_t command, const std::string& what,
                   const std::function<void()>& order);

    /// Has the library start a measurement of all ECUs. Also throws if one of them refused what it takes, or
    /// did not answer: the library goes on behind that, and no values would come.
    void startMeasurement(const std::function<void()>& order);

    /// As `run`, for an operation on memory. Also throws if the ECU refused a part of it and the library went
    /// on.
    /// @param onPercent  called now and then with the progress, 0 to 100
    MemoryResult runMemory(std::size_t ecu, std::uint32_t command, const std::string& what,
                           const std::function<void()>& order,
                           const std::function<void(std::uint32_t percent)>& onPercent);

    /// What is to be told of a failure of @p what at that ECU.
    /// @param code  result code of the library
    [[nodiscard]] HostError failure(std::size_t ecu, const std::string& what, std::uint32_t code) const;

    /// What the ECU had against the last operation, for those whose result is 0 in any case: a command
    /// without an answer, or an error that no repeat helped.
    [[nodiscard]] std::optional<HostError> objection(std::size_t ecu, const std::string& what) const;

    /// @throws HostError if a bus is down
    void requireBuses() const;

    /// The library's callbacks as events; lives as long as the object.
    [[nodiscard]] Session& session() { return *m_session; }

    /// The open buses; live as long as the object.
    [[nodiscard]] BusSet& buses() { return *m_buses; }
    [[nodiscard]] const BusSet& buses() const { return *m_buses; }

    /// Whom it connects, as indices of the configuration.
    [[nodiscard]] const std::vector<std::size_t>& ecus() const { return m_ecus; }

private:
    [[nodiscard]] SessionHandlers handlers(ValueTaker takeValues);
    [[nodiscard]] SeedKeyFun loadSeedKeyOf(const std::string& key);
    void begin(std::size_t ecu);
    void closeFiles();
    [[nodiscard]] TaskResult await(std::uint32_t command, const std::string& what,
                                   const std::function<void()>& meanwhile);
    void stop(std::uint32_t command);
    void requireGoOn(const std::string& what) const;
    void log(std::uint32_t level, const std::string& text);
    [[nodiscard]] std::size_t blamed() const;
    [[nodiscard]] HostError failureBy(const AnswerVerdict& verdict, std::size_t ecu, const std::string& what,
                                      std::uint32_t code) const;

    const Config& m_config;
    const std::vector<std::size_t> m_ecus;
    const LinkTaps m_taps;
    const std::string m_tracePath;
    const std::string m_logPath;
    AnswerWatch m_answers;
    const std::shared_ptr<SeedKeyReports> m_seedKeys;
    std::unique_ptr<CandumpWriter> m_trace;
    std::unique_ptr<LogFile> m_log;
    std::unique_ptr<BusSet> m_buses;
    std::unique_ptr<Session> m_session;  ///< last, so that the library calls nothing that is gone
};

}  // namespace host
