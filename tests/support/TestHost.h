/// @file
/// The host of a test: gives the library its callbacks and keeps what came through them.
#pragma once

#include <TalvexSDK.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace support {

/// One frame that the library gave to `sndFun`.
struct SentFrame {
    std::uint8_t channel = 0;
    std::uint32_t id = 0;
    std::uint8_t flags = 0;
    std::vector<std::uint8_t> data;                  ///< as many bytes as the length said
    std::chrono::steady_clock::time_point moment{};  ///< when `sndFun` was entered
};

struct LogLine {
    std::uint32_t level = 0;
    std::uint64_t timeMs = 0;
    std::string text;
};

/// One call of `measureFun`.
struct Measured {
    std::string ecuName;
    std::int32_t kind = 0;
    std::vector<mcMeasureVariableValue> values;
    std::vector<std::string> rejected;
};

/// One call of `taskResultFun`.
struct TaskResult {
    std::uint32_t command = 0;
    std::uint8_t result = 0;
    std::vector<std::string> details;
};

/// One call of `memResultFun`.
struct MemResult {
    std::uint32_t command = 0;
    std::uint32_t result = 0;
    std::vector<mcMemoryData> data;
};

/// One call of `msgDecodeFun`.
struct Decoded {
    std::uint64_t hostTag = 0;
    mcDecodeMsg message;
};

/// One call of `daqInfoFun`.
struct ShownPlan {
    EcuProtoCfg cfg;
    DaqFinishedNames plan;
};

/// One call of `xcpSeedLibFun` or `ccpSeedLibFun`.
struct SeedLoad {
    bool xcp = false;
    std::string path;
    std::string entry;
};

/// There is one host at a time, because callbacks are plain functions: the one made last takes the calls,
/// until it is destroyed. All members may be called from any thread; what is recorded is handed out in
/// copies.
class TestHost {
public:
    TestHost();
    TestHost(const TestHost&) = delete;
    TestHost& operator=(const TestHost&) = delete;
    ~TestHost();

    /// @return the callback table with every position set and one log function, for objects made directly
    [[nodiscard]] static CallBackFuns callBacks();

    /// Hands the callbacks to the library through its exports.
    static void install();

    /// Takes frames that are sent; ECUs plug in here. @return a number for `unplug`
    int plug(std::function<void(const SentFrame&)> receiver);
    void unplug(int number);

    /// The function that both seed loaders return from now on. Until then they return an empty one.
    void setSeedFun(SeedKeyFun function);
    /// What `sndFun` returns from now on; 1 until then.
    void setSndResult(std::uint32_t result);
    /// Called with each journal entry, on the thread of the callback, with no lock of the host held.
    void onEvent(std::function<void(const std::string& entry)> hook);

    [[nodiscard]] std::vector<SentFrame> sent() const { return copyOf(m_sent); }
    [[nodiscard]] std::vector<LogLine> logs() const { return copyOf(m_logs); }
    [[nodiscard]] std::vector<Measured> measured() const { return copyOf(m_measured); }
    [[nodiscard]] std::vector<TaskResult> taskResults() const { return copyOf(m_taskResults); }
    [[nodiscard]] std::vector<MemResult> memResults() const { return copyOf(m_memResults); }
    [[nodiscard]] std::vector<Decoded> decoded() const { return copyOf(m_decoded); }
    [[nodiscard]] std::vector<ShownPlan> plans() const { return copyOf(m_plans); }
    [[nodiscard]] std::vector<SeedLoad> seedLoads() const { return copyOf(m_seedLoads); }

    /// @return the log lines of @p level, oldest first
    [[nodiscard]] std::vector<std::string> logTexts(std::uint32_t level) const;

    /// Everything in the order in which it came, one entry per call:
    ///   "snd ff 00"              a sent frame
    ///   "log 3 text"             a log line with its level; level 0 stays out
    ///   "task 1 0"               command and result
    ///   "task 1 3 [a, b]"        the same with details
    ///   "mem 12 50"              command and result, followed by " +1" if one range of data came along
    ///   "measure ecu 2 [a=01 02] [rejected]"   ECU, kind, values, rejected names
    ///   "plan ecu"               a shown plan
    ///   "seed path entry"        a loaded seed library
    [[nodiscard]] std::vector<std::string> journal() const { return copyOf(m_journal); }

    /// Forgets all that was recorded.
    void clear();

private:
    template <typename T>
    std::vector<T> copyOf(const std::vector<T>& records) const {
        const std::lock_guard lock(m_mutex);
        return records;
    }

    template <typename T>
    void record(std::vector<T>& records, T call, const std::string& entry);

    static TestHost* current() { return s_current.load(); }
    static void takeMeasured(const std::string& ecuName, std::int32_t kind,
                             const std::vector<mcMeasureVariableValue>& values,
                             const std::vector<std::string>& rejected);
    static std::uint32_t takeSent(std::uint8_t channel, std::uint32_t id, std::uint8_t flags,
                                  std::uint8_t length, const std::uint8_t* data);
    static void takeDecoded(std::uint64_t hostTag, mcDecodeMsg message);
    static void takeTaskResult(std::uint32_t command, std::uint8_t result,
                               const std::vector<std::string>* details);
    static void takeMemResult(std::uint32_t command, std::uint32_t result, std::vector<mcMemoryData> data);
    static SeedKeyFun loadXcpSeed(const char* path, const char* entry);
    static SeedKeyFun loadCcpSeed(const char* path, const char* entry);
    static SeedKeyFun loadSeed(bool xcp, const char* path, const char* entry);
    static void takePlan(const EcuProtoCfg* cfg, const DaqFinishedNames* plan);
    static void takeLog(std::uint32_t level, std::uint64_t timeMs, const std::string& text);

    static std::atomic<TestHost*> s_current;

    mutable std::mutex m_mutex;  ///< guards all below; never held while something is called
    std::vector<SentFrame> m_sent;
    std::vector<LogLine> m_logs;
    std::vector<Measured> m_measured;
    std::vector<TaskResult> m_taskResults;
    std::vector<MemResult> m_memResults;
    std::vector<Decoded> m_decoded;
    std::vector<ShownPlan> m_plans;
    std::vector<SeedLoad> m_seedLoads;
    std::vector<std::string> m_journal;
    std::vector<std::pair<int, std::function<void(const SentFrame&)>>> m_receivers;
    std::function<void(const std::string&)> m_hook;
    SeedKeyFun m_seedFun;
    std::uint32_t m_sndResult = 1;
    int m_nextReceiver = 0;
};

/// Waits until @p predicate is true. @return what it said last; false only after @p limit
bool waitFor(const std::function<bool()>& predicate,
             std::chrono::milliseconds limit = std::chrono::seconds(30));

}  // namespace support
