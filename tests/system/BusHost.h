/// @file
/// A host program between the library's exports and simulated buses with ECUs on them.
#pragma once

#include "sim/BusPort.h"
#include "sim/VirtualBus.h"
#include "sim/XcpEcu.h"
#include "tests/system/EcuPair.h"
#include "tests/system/SignalProof.h"

#include <TalvexSDK.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace systemtest {

/// What `taskResultFun` and `memResultFun` report.
enum Command : std::uint32_t {
    kConnect = 1,
    kDisconnect = 2,
    kLinkLost = 3,
    kMeasurementBegins = 4,
    kStart = 5,
    kStop = 6,
    kMeasureVars = 7,
    kCalibrate = 8,
    kSetPage = 9,
    kUpload = 10,
    kDownload = 11,
    kUploadPercent = 12,
    kDownloadPercent = 13,
};

/// One call of `taskResultFun`, or of `memResultFun` with a final result: memory operations report by the
/// latter alone.
struct TaskResult {
    std::uint32_t command = 0;
    int result = 0;
    std::vector<std::string> details;
};

using Variables = std::map<std::string, std::vector<mcMeasureVariable>>;

/// What a test waits for at most, also with a sanitizer on a machine that does other things too.
inline constexpr std::chrono::seconds kPatience{120};

/// A bus as fast as the machine goes.
[[nodiscard]] sim::VirtualBusConfig fastBus();
/// A bus in real time, whose events may come some 100 us late.
[[nodiscard]] sim::VirtualBusConfig realTimeBus();

/// Plays the host tool by the exports alone: frames go between the library and the buses, results and log
/// lines are kept, and all values are held against the ECUs' signals. One at a time.
///
/// A fast bus stands still while the library has too many DAQ frames of an ECU to digest, because the library
/// drops what is beyond 2,000. It moves on for the answer of a command, though, and during the start of a
/// measurement for nothing else: nobody takes the DAQ frames of the ECUs that run already.
///
/// All functions may be called from any thread, but `addBus` and `addEcu` only while no ECU is connected.
class BusHost {
public:
    /// Frames that may wait for the library, by ECU. Below the limit of 2,000, because some still come.
    static constexpr std::size_t kMostUndelivered = 1'500;

    BusHost();
    BusHost(const BusHost&) = delete;
    BusHost& operator=(const BusHost&) = delete;
    /// Disconnects, and reports wrong values as failures of the test.
    ~BusHost();

    sim::VirtualBus& addBus(const sim::VirtualBusConfig& config, std::uint8_t channel = 0);

    /// Puts the ECU on the bus of its channel, switches it on and gives its configuration to the library.
    sim::XcpEcu& addEcu(const EcuPair& pair);

    /// Replaces the configuration of an ECU that was added.
    void configure(const EcuProtoCfg& cfg);

    [[nodiscard]] sim::PortNumber portOf(const std::string& ecuName) const;
    [[nodiscard]] SignalProof& proofOf(const std::string& ecuName) const;

    /// As `kMostUndelivered`, for tests that have a fast bus wait for the clock of the machine.
    void limitUndelivered(std::size_t frames) { m_mostUndelivered = frames; }

    // Each queues a command and waits for its result.
    int connects(const std::vector<std::string>& names);
    int starts(const Variables& variables);
    int stops();
    int disconnects();

    /// Waits for the next result of @p command, in the order of the results.
    /// @return with result -1 if none came
    TaskResult awaitResult(std::uint32_t command, std::chrono::milliseconds limit = kPatience);

    /// Results that nobody waited for yet are forgotten.
    void forgetResults();

    /// All results since the start, oldest first.
    [[nodiscard]] std::vector<TaskResult> results() const;
    /// Results of @p command, and how often a line @p text of @p level was logged.
    [[nodiscard]] std::size_t resultCount(std::uint32_t command) const;
    [[nodiscard]] std::size_t logCount(std::uint32_t level, const std::string& text) const;
    /// Names that `readVariables` rejected, in order.
    [[nodiscard]] std::vector<std::string> rejected() const;
    /// The data of the latest final result of a memory operation.
    [[nodiscard]] std::vector<mcMemoryData> memoryData() const;

    /// The table that the host gave to the library.
    [[nodiscard]] static CallBackFuns callBacks();

private:
    struct Seat;

    /// The host's own place on a bus.
    struct Line final : sim::Node {
        Line(BusHost& owner, std::uint8_t number, const sim::VirtualBusConfig& config);
        ~Line() override;
        void onFrame(const sim::Frame& frame, sim::Time end) override;

        BusHost& host;
        const std::uint8_t channel;
        sim::VirtualBus bus;
        std::vector<std::unique_ptr<Seat>> seats;
        std::unique_ptr<sim::BusPort> port;
    };

    /// An ECU on a bus, and what is under way between it and the library.
    struct Seat {
        explicit Seat(const EcuPair& pair) : cfg(pair.cfg), ecu(pair.ecu) {}

        /// With CCP an event is no answer, nor is the late one to a command that was given up.
        [[nodiscard]] bool isAnsweredBy(const sim::Frame& frame) const;

        EcuProtoCfg cfg;
        sim::XcpEcu ecu;
        std::unique_ptr<sim::BusPort> port;
        std::unique_ptr<SignalProof> proof;
        std::deque<std::uint64_t> undelivered{};  ///< times in us of DAQ frames that no values came for yet
        bool commandPending = false;
        std::uint8_t commandCounter = 0;  ///< CCP: which one that is
        sim::Time commandSent = 0;
    };

    // What the library calls.
    static std::uint32_t send(std::uint8_t channel, std::uint32_t id, std::uint8_t flags, std::uint8_t length,
                              const std::uint8_t* data);
    static void takeValues(const std::string& ecuName, std::int32_t kind,
                           const std::vector<mcMeasureVariableValue>& values,
                           const std::vector<std::string>& rejected);
    static void takeResult(std::uint32_t command, std::uint8_t result,
                           const std::vector<std::string>* details);
    static void takeMemory(std::uint32_t command, std::uint32_t result, std::vector<mcMemoryData> data);
    static void takeDecoded(std::uint64_t hostTag, mcDecodeMsg message);
    static void takePlan(const EcuProtoCfg* cfg, const DaqFinishedNames* plan);
    static void takeLog(std::uint32_t level, std::uint64_t timeMs, const std::string& text);
    static SeedKeyFun loadKeys(const char* path, const char* entry);

    void onSent(Line& line, const sim::Frame& frame);
    void onReceived(const Line& line, const sim::Frame& frame, sim::Time end);
    void onDelivered(Seat& seat, std::uint64_t time);
    void onResult(const TaskResult& result);
    [[nodiscard]] bool brakes(const Line& line) const;
    [[nodiscard]] Seat* findSeat(const std::string& name) const;
    [[nodiscard]] Line* findLine(std::uint8_t channel) const;
    void giveConfigurations() const;

    std::atomic<std::size_t> m_mostUndelivered{kMostUndelivered};
    std::map<std::uint8_t, std::unique_ptr<Line>> m_lines;  ///< changed only while no ECU is connected

    /// Guards the mutable part of the seats and all below. Nothing is called while it is held.
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_starting = false;  ///< a measurement is being started
    std::vector<TaskResult> m_results;
    std::map<std::uint32_t, std::size_t> m_awaited;  ///< results taken by awaitResult(), by command
    std::map<std::pair<std::uint32_t, std::string>, std::size_t> m_logs;
    std::vector<std::string> m_rejected;
    std::vector<mcMemoryData> m_memory;
};

}  // namespace systemtest
