#include "engine/ProtoThread.h"

#include "transport/FrameEvent.h"
#include "transport/FrameStore.h"
#include "transport/IdRegistry.h"
#include "transport/Logger.h"
#include "transport/ResultCode.h"
#include "transport/StopFlag.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr auto kTurnSleep = 1ms;
constexpr auto kStopTime = 100ms;

std::string firstName(const TaskCmd& cmd) {
    return cmd.names.empty() ? std::string() : cmd.names.front();
}

std::string outcome(const char* text, std::uint8_t result) {
    return std::string(text) + (result == kResultOk ? " success" : " failed");
}

std::uint32_t resultLevel(std::uint8_t result) {
    if (result == kResultOk) {
        return kLogSuccess;
    }
    return result == kResultNoOptCmd ? kLogWarning : kLogError;
}

}  // namespace

/// A command as the worker runs and reports it.
struct ProtoThread::Command {
    using Handler = std::uint32_t (ProtoThread::*)(const TaskCmd& cmd, std::vector<mcMemoryData>& data);
    /// How the outcome reaches the host.
    enum Report {
        kAsTask,    ///< `taskResultFun`
        kAsMemory,  ///< `memResultFun`, then the page
        kByItself,  ///< the operation has reported through `memResultFun`; then the page
    };

    std::uint32_t code;
    const char* text;
    Handler handler;
    Report report;
    bool detailIsName;
};

ProtoThread::ProtoThread() {
    // What the threads of the engine use outlives the engine only if it was made before it.
    frameStore();
    idRegistry();
    frameEvent();
    stopFlag();
}

ProtoThread::~ProtoThread() {
    stopFlag().close();
    {
        const std::lock_guard lock(m_pollMutex);
        m_closing = true;
    }
    stopPolling();
    end();
    m_taskMap.clear();
    clearQueue();
}

void ProtoThread::run() {
    while (isRunning()) {
        if (!stopFlag().isStopped()) {
            const std::optional<TaskCmd> cmd = takeCommand();
            if (cmd) {
                runCommand(*cmd);
            }
            pumpTasks();
        }
        std::this_thread::sleep_for(kTurnSleep);
    }
}

std::optional<TaskCmd> ProtoThread::takeCommand() {
    const std::lock_guard lock(m_cmdMutex);
    if (m_cmdList.empty()) {
        return std::nullopt;
    }
    TaskCmd cmd = std::move(m_cmdList.front());
    m_cmdList.pop_front();
    return cmd;
}

void ProtoThread::runCommand(const TaskCmd& cmd) {
    using P = ProtoThread;
    static constexpr std::array<Command, 13> kCommands{{
        {kTaskConnect, "Connect", &P::connectEcus, Command::kAsTask, false},
        {kTaskDisconnect, "Disconnect", &P::disconnectEcus, Command::kAsTask, false},
        {kTaskStartMeasurement, "Start measurement", &P::beginMeasurement, Command::kAsTask, false},
        {kTaskStopMeasurement, "Stop measurement", &P::stopMeasurement, Command::kAsTask, false},
        {kTaskMeasureVars, "Measurement vars", &P::measureVariables, Command::kAsTask, false},
        {kTaskCalibration, "Calibration vars", &P::writeVariable, Command::kAsTask, true},
        {kTaskSetPage, "Set memory page", &P::setPage, Command::kAsTask, false},
        {kTaskUpload, "Upload ecu to mem", &P::upload, Command::kByItself, true},
        {kTaskDownload, "Download ecu from mem", &P::download, Command::kAsMemory, true},
        {kTaskForceDownload, "Force download", &P::forceDownload, Command::kAsTask, true},
        {kTaskErase, "Earse ecu", &P::erase, Command::kAsMemory, true},
        {kTaskCheck, "Checksum ecu", &P::check, Command::kAsMemory, true},
        {kTaskCopyPage, "Copy refe to work", &P::copyPage, Command::kAsTask, true},
    }};
    const auto command = std::find_if(kCommands.begin(), kCommands.end(),
                                      [&](const Command& row) { return row.code == cmd.cmd; });
    if (command == kCommands.end()) {
        deliverResult(cmd.cmd, kResultNoTaskCmd, {outcome("unknow cmd.", kResultNoTaskCmd), ""});
        return;
    }
    std::vector<mcMemoryData> data;
    const auto result = static_cast<std::uint8_t>((this->*command->handler)(cmd, data));
    reportCommand(*command, result, command->detailIsName ? firstName(cmd) : std::string(), data);
}

void ProtoThread::reportCommand(const Command& command, std::uint8_t result, const std::string& detail,
                                const std::vector<mcMemoryData>& data) {
    if (command.report == Command::kAsTask) {
        deliverResult(command.code, result, {outcome(command.text, result), detail});
        return;
    }
    if (command.report == Command::kAsMemory) {
        deliverMemResult(command.code, result, data);
    }
    restorePage(detail);
}

/// Memory operations may have moved the calibration page: puts the last one asked for back, and reports that
/// as a page command, which hosts count on.
void ProtoThread::restorePage(const std::string& name) {
    const auto result = static_cast<std::uint8_t>(selectPages({name}, m_calPage));
    deliverResult(kTaskSetPage, result, {outcome("Set memory page", result), name});
}

void ProtoThread::pumpTasks() {
    for (const auto& [name, task] : snapshot()) {
        task->processDaqFrames();
        task->keepAlive();
    }
}

ProtoThread::Snapshot ProtoThread::snapshot() {
    const std::lock_guard lock(m_taskMutex);
    return {m_taskMap.begin(), m_taskMap.end()};
}

void ProtoThread::clearQueue() {
    std::list<TaskCmd> dropped;
    const std::lock_guard lock(m_cmdMutex);
    dropped.swap(m_cmdList);
}

void ProtoThread::enqueue(TaskCmd cmd) {
    std::list<TaskCmd> dropped;
    {
        const std::lock_guard lock(m_cmdMutex);
        if (m_cmdList.size() >= kQueueLimit) {
            writeLog(kLogWarning,
                     "Command queue full(" + std::to_string(m_cmdList.size()) + "), dropping oldest command");
            dropped.splice(dropped.end(), m_cmdList, m_cmdList.begin());
        }
        m_cmdList.push_back(std::move(cmd));
    }
    start();
}

void ProtoThread::stopAll() {
    writeLog(kLogWarning, "stopTaskCmd");
    stopFlag().setStopTransmit(true);
    clearQueue();
    std::this_thread::sleep_for(kStopTime);
    stopFlag().setStopTransmit(false);
}

void ProtoThread::writeLog(std::uint32_t level, const std::string& text) {
    writeLogLine(callBacks().logFuns, level, text);
}

void ProtoThread::deliverResult(std::uint32_t code, std::uint8_t result,
                                const std::vector<std::string>& details) {
    std::string line = "Task cmd result:(" + std::to_string(result) + ") ";
    for (const std::string& detail : details) {
        line += detail;
        line += ';';
    }
    writeLog(resultLevel(result), line);
    const auto taskResultFun = callBacks().taskResultFun;
    if (taskResultFun != nullptr) {
        taskResultFun(code, result, &details);
    }
}

void ProtoThread::deliverMemResult(std::uint32_t code, std::uint8_t result,
                                   const std::vector<mcMemoryData>& data) {
    writeLog(result == kResultOk ? kLogSuccess : kLogError,
             "Task cmd syn result: cmd:" + std::to_string(code) + " ret:" + std::to_string(result) +
                 " segments:" + std::to_string(data.size()));
    const auto memResultFun = callBacks().memResultFun;
    if (memResultFun != nullptr) {
        memResultFun(code, result, data);
    }
}

void ProtoThread::setConfigs(const std::list<EcuProtoCfg>& cfgs) {
    std::list<EcuProtoCfg> copy = cfgs;
    const std::lock_guard lock(m_cfgMutex);
    m_cfgList.swap(copy);
}

void ProtoThread::setConfig(const std::string& name, const EcuProtoCfg& cfg) {
    const std::lock_guard lock(m_cfgMutex);
    const auto record = std::find_if(m_cfgList.begin(), m_cfgList.end(),
                                     [&](const EcuProtoCfg& candidate) { return candidate.ecuName == name; });
    if (record != m_cfgList.end()) {
        *record = cfg;
    }
}

std::list<EcuProtoCfg> ProtoThread::configs() {
    const std::lock_guard lock(m_cfgMutex);
    return m_cfgList;
}

void ProtoThread::setCallBacks(const CallBackFuns& callBacks) {
    const std::lock_guard lock(m_cfgMutex);
    const auto take = [&](auto member) {
        if (callBacks.*member != nullptr) {
            m_callBacks.*member = callBacks.*member;
        }
    };
    take(&CallBackFuns::measureFun);
    take(&CallBackFuns::sndFun);
    take(&CallBackFuns::msgDecodeFun);
    take(&CallBackFuns::taskResultFun);
    take(&CallBackFuns::memResultFun);
    take(&CallBackFuns::xcpSeedLibFun);
    take(&CallBackFuns::ccpSeedLibFun);
    take(&CallBackFuns::daqInfoFun);
}

CallBackFuns ProtoThread::callBacks() {
    const std::lock_guard lock(m_cfgMutex);
    return m_callBacks;
}

void ProtoThread::addLogFun(logFun log) {
    const std::lock_guard lock(m_cfgMutex);
    std::vector<logFun>& logFuns = m_callBacks.logFuns;
    if (std::find(logFuns.begin(), logFuns.end(), log) == logFuns.end()) {
        logFuns.push_back(log);
    }
}

bool ProtoThread::isConnected() {
    const std::lock_guard lock(m_stateMutex);
    return m_isConnect;
}

bool ProtoThread::isEcuConnected(const std::string& name) {
    if (!isConnected()) {
        return false;
    }
    const std::lock_guard lock(m_taskMutex);
    return m_taskMap.contains(name);
}

bool ProtoThread::isMeasuring() {
    const std::lock_guard lock(m_stateMutex);
    return m_isMeasure;
}

ProtoThread& protoThread() {
    static ProtoThread engine;
    return engine;
}
