/// @file
/// The engine of the library: the configurations, the connected ECUs, the command queue and its worker.
#pragma once

#include "TalvexRecords.h"
#include "engine/BaseThread.h"
#include "engine/ITask_Transmit.h"
#include "engine/TaskCmd.h"

#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// One object per process.
///
/// Threads: host threads call the operations above `handlers` below; the worker runs commands one at a time
/// and pumps all task objects between them; the polling thread exists only while a measurement runs.
///
/// Locks: no two of them are held together, but for m_cfgMutex and then m_taskMutex while a task object is
/// made, and m_cmdMutex and then m_cfgMutex while the line about a full queue is logged. Callbacks are called
/// with none of them held, but for that line.
class ProtoThread : public BaseThread {
public:
    /// Commands that wait at most; one more drops the oldest.
    static constexpr std::size_t kQueueLimit = 100;

    ProtoThread();
    /// Ends every loop and every thread; calls nothing of the host afterwards.
    ~ProtoThread() override;

    /// One call lasts until the engine ends: commands, then the pumping of all task objects, then 1 ms of
    /// sleep.
    void run() override;

    // Configuration and query. Any thread.
    void setConfigs(const std::list<EcuProtoCfg>& cfgs);
    void setConfig(const std::string& name, const EcuProtoCfg& cfg);
    std::list<EcuProtoCfg> configs();
    void setCallBacks(const CallBackFuns& callBacks);
    void addLogFun(logFun log);
    /// A copy of the callback table with the log functions: what a new ECU keeps.
    CallBackFuns callBacks();
    bool isConnected();
    bool isEcuConnected(const std::string& name);
    bool isMeasuring();

    /// Queues a command and wakes the engine up, if it is the first. Any thread.
    void enqueue(TaskCmd cmd);

    /// Empties the queue and stops all sends and waits for 100 ms. Blocks that long.
    void stopAll();

    /// Writes a line to the engine's log functions. Any thread.
    void writeLog(std::uint32_t level, const std::string& text);

    /// Logs and reports the outcome of a command, or a notification. Worker and polling thread.
    void deliverResult(std::uint32_t code, std::uint8_t result, const std::vector<std::string>& details);

    /// Logs and reports the outcome of a memory operation. Worker thread.
    void deliverMemResult(std::uint32_t code, std::uint8_t result, const std::vector<mcMemoryData>& data);

private:
    using TaskMap = std::map<std::string, std::shared_ptr<ITask_Transmit>>;
    using Snapshot = std::vector<std::pair<std::string, std::shared_ptr<ITask_Transmit>>>;
    struct Command;
    struct NameHandler;

    // Worker.
    std::optional<TaskCmd> takeCommand();
    void runCommand(const TaskCmd& cmd);
    void reportCommand(const Command& command, std::uint8_t result, const std::string& detail,
                       const std::vector<mcMemoryData>& data);
    void restorePage(const std::string& name);
    void pumpTasks();
    Snapshot snapshot();
    void clearQueue();

    // Handlers, on the worker. Each returns a result code.
    std::uint32_t connectEcus(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    std::uint32_t disconnectEcus(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    std::uint32_t beginMeasurement(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    std::uint32_t stopMeasurement(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    std::uint32_t measureVariables(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    std::uint32_t writeVariable(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    std::uint32_t setPage(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    std::uint32_t upload(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    std::uint32_t download(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    std::uint32_t forceDownload(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    std::uint32_t erase(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    std::uint32_t check(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    std::uint32_t copyPage(const TaskCmd& cmd, std::vector<mcMemoryData>& data);

    void createTask(const std::string& name);
    ITask_Transmit* findTask(const std::string& name);
    std::uint32_t connectEcu(const std::string& name, ITask_Transmit& task);
    std::uint32_t startTasks(const std::map<std::string, std::vector<mcMeasureVariable>>& variables);
    std::uint32_t startTask(const std::string& name, ITask_Transmit& task,
                            const std::vector<mcMeasureVariable>& variables);
    std::uint32_t stopTasks();
    std::uint32_t selectPages(const std::vector<std::string>& names, bool page);
    std::uint32_t runOnEcu(const NameHandler& handler, const std::string& name);
    void reportMissingEcu(const std::string& name);
    void logPageFailure(const std::string& head, std::uint32_t result);

    // Polling thread.
    void startPolling();
    void stopPolling();
    void pollLoop();
    bool pollTurn();
    bool hasOutlastedBudget(ITask_Transmit& task);
    void reportLostLinks(const std::vector<std::string>& lost);

    TaskMap m_taskMap;       ///< by ECU name; written by the worker under m_taskMutex, which reads without
    std::mutex m_taskMutex;  ///< guards m_taskMap against other threads
    std::mutex m_cmdMutex;   ///< guards m_cmdList
    std::list<TaskCmd> m_cmdList;  ///< oldest first
    std::mutex m_cfgMutex;         ///< guards m_cfgList and m_callBacks
    std::list<EcuProtoCfg> m_cfgList;
    CallBackFuns m_callBacks;  ///< log functions included
    std::mutex m_stateMutex;   ///< guards m_isConnect and m_isMeasure
    bool m_isConnect = false;
    bool m_isMeasure = false;
    bool m_calPage = true;   ///< the last page given, whether it worked or not; worker only
    std::mutex m_pollMutex;  ///< guards m_pollThread and m_closing; never taken by the polling thread
    platform::OwnThread m_pollThread;
    bool m_closing = false;                ///< no polling thread starts any more
    std::atomic<bool> m_pollRun = false;   ///< the polling thread shall run
    std::atomic<bool> m_pollLost = false;  ///< a loss was reported and the disconnect queued
    std::int64_t m_lostSince = 0;  ///< steady clock in nanoseconds, when a link first looked lost, 0 if none
                                   ///< does; polling thread, others only while that is not running
};

/// The one engine of the process, made at the first call.
ProtoThread& protoThread();
