/// @file
/// The library seen from the host: its callbacks as events that can be waited for.
#pragma once

#include <TalvexSDK.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// Commands of the library, as `taskResultFun` names them.
namespace command {
inline constexpr std::uint32_t kConnect = 1;
inline constexpr std::uint32_t kDisconnect = 2;
inline constexpr std::uint32_t kLinkLost = 3;
inline constexpr std::uint32_t kMeasurementBegins = 4;
inline constexpr std::uint32_t kStartMeasurement = 5;
inline constexpr std::uint32_t kMeasureVariables = 7;
inline constexpr std::uint32_t kCalibrate = 8;
inline constexpr std::uint32_t kSetPage = 9;  ///< also reported behind each memory operation
inline constexpr std::uint32_t kUpload = 10;
inline constexpr std::uint32_t kDownload = 11;
inline constexpr std::uint32_t kUploadPercent = 12;
inline constexpr std::uint32_t kDownloadPercent = 13;
inline constexpr std::uint32_t kErase = 15;
inline constexpr std::uint32_t kCheck = 16;
inline constexpr std::uint32_t kCopyPage = 18;
}  // namespace command

/// Where values come from, as `measureFun` numbers it.
enum class ValueKind : std::int32_t { read = 0, polled = 1, daq = 2 };

/// One call of `taskResultFun`.
struct TaskResult {
    std::uint32_t command = 0;
    std::uint8_t code = 0;
    std::vector<std::string> details;
    std::chrono::steady_clock::time_point when;
};

/// One call of `memResultFun` that is no progress.
struct MemoryResult {
    std::uint32_t command = 0;
    std::uint32_t code = 0;
    std::vector<mcMemoryData> data;
    std::chrono::steady_clock::time_point when;
};

/// Progress of a memory operation.
struct MemoryProgress {
    std::uint32_t reports = 0;  ///< that came
    std::uint32_t percent = 0;  ///< of the latest; never falls
};

/// One call of `measureFun`.
struct ValueDelivery {
    const std::string& ecuName;
    ValueKind kind;
    const std::vector<mcMeasureVariableValue>& values;
    const std::vector<std::string>& rejected;
};

/// A frame on its way out.
struct OutgoingFrame {
    std::uint8_t channel = 0;
    std::uint32_t id = 0;
    std::uint8_t flags = 0;  ///< bit 0 extended identifier, bit 1 CAN FD, bit 2 bit rate switch
    std::uint8_t length = 0;
    const std::uint8_t* data = nullptr;
};

/// Frames that the library analysed.
struct DecodeCounts {
    std::uint64_t commands = 0;
    std::uint64_t responses = 0;
    std::uint64_t events = 0;
};

/// A warning or an error of the library's log.
struct LogLine {
    std::uint32_t level = 0;
    std::string text;
};

/// What a host adds to the session. Called on threads of the library.
struct SessionHandlers {
    std::function<void(const OutgoingFrame&)> send;
    std::function<void(const ValueDelivery&)> values;
    std::function<SeedKeyFun(const std::string& path, bool ccp)> loadSeedKey;

    /// Each line of the library's log; may be empty. Any thread of the library, several at a time.
    std::function<void(std::uint32_t level, const std::string& text)> log;

    /// The live configuration of an ECU whose measurement has been planned and not started; may be empty.
    std::function<void(const EcuProtoCfg& cfg)> plan;
};

/// The library has one engine per process and calls plain functions that carry no context, so only one
/// Session can live at a time. All functions may be called from any thread.
class Session {
public:
    /// Sets the library's callbacks. @throws std::logic_error if there is another Session
    explicit Session(SessionHandlers handlers);

    /// Waits for callbacks that run; those that come later do nothing. Connections stay open.
    ~Session();

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Waits for the next result of @p command that nobody has taken yet, and takes it.
    /// @param giveUp  asked now and then, with nothing locked; true ends the wait
    /// @return nothing if it did not come within @p timeout, or if the wait was given up
    [[nodiscard]] std::optional<TaskResult> waitResult(std::uint32_t command,
                                                       std::chrono::milliseconds timeout,
                                                       const std::function<bool()>& giveUp);

    /// Forgets memory results and progress that came so far.
    void beginMemoryOperation();

    /// Takes the oldest memory result of @p command that nobody has taken yet.
    [[nodiscard]] std::optional<MemoryResult> takeMemoryResult(std::uint32_t command);

    /// Progress since `beginMemoryOperation`.
    [[nodiscard]] MemoryProgress progress() const;

    /// The plans of the last measurement, by ECU.
    [[nodiscard]] std::map<std::string, DaqFinishedNames> plans() const;

    [[nodiscard]] DecodeCounts decoded() const;

    /// Warnings and errors of the log, the last few of them.
    [[nodiscard]] std::vector<LogLine> complaints() const;

private:
    friend struct SessionCallbacks;

    /// Under m_mutex.
    [[nodiscard]] std::optional<TaskResult> takeResult(std::uint32_t command);
    void onResult(TaskResult result);
    void onMemory(MemoryResult result);
    void onPlan(const EcuProtoCfg& cfg, const DaqFinishedNames& plan);
    void onDecoded(const std::string& title);
    void onLog(std::uint32_t level, const std::string& text);

    const SessionHandlers m_handlers;  ///< fixed after construction

    mutable std::mutex m_mutex;  ///< guards all below; nothing else is locked while it is held
    std::condition_variable m_changed;
    std::list<TaskResult> m_results;          ///< not taken yet
    std::list<MemoryResult> m_memoryResults;  ///< not taken yet
    MemoryProgress m_progress;
    std::map<std::string, DaqFinishedNames> m_plans;
    DecodeCounts m_decoded;
    std::list<LogLine> m_complaints;
};

}  // namespace host
