/// @file
/// `ProtoThread`: the handlers of the commands. The asymmetries between them (what an unknown ECU gives,
/// levels, words) are what hosts have come to rely on.
#include "TalvexSDK.h"
#include "engine/ProtoThread.h"
#include "engine/TaskFactory.h"
#include "transport/Logger.h"
#include "transport/ResultCode.h"

#include <functional>
#include <utility>

namespace {

std::string nameAt(const TaskCmd& cmd, std::size_t index) {
    return index < cmd.names.size() ? cmd.names[index] : std::string();
}

std::string textOf(std::uint32_t result) {
    return getErrorString(static_cast<std::int32_t>(result));
}

}  // namespace

/// What differs between the handlers that run one operation on one ECU.
struct ProtoThread::NameHandler {
    const char* progress;         ///< ahead of the name at level 2
    std::uint32_t unknownResult;  ///< for an ECU that is not there
    std::function<std::uint32_t(ITask_Transmit&)> operation;
    const char* failure;           ///< ahead of the text of the result at level 4; null: no line
    bool failureNamesEcu = false;  ///< the name stands between the failure and the text
};

std::uint32_t ProtoThread::runOnEcu(const NameHandler& handler, const std::string& name) {
    writeLog(kLogProgress, handler.progress + name + ")");
    ITask_Transmit* task = findTask(name);
    if (task == nullptr) {
        return handler.unknownResult;
    }
    const std::uint32_t result = handler.operation(*task);
    if (result != kResultOk && handler.failure != nullptr) {
        writeLog(kLogError, handler.failure +
                                (handler.failureNamesEcu ? name + ") failed: " : std::string()) +
                                textOf(result));
    }
    return result;
}

/// The worker alone writes the map, so its own look needs no lock.
ITask_Transmit* ProtoThread::findTask(const std::string& name) {
    const auto task = m_taskMap.find(name);
    return task == m_taskMap.end() ? nullptr : task->second.get();
}

void ProtoThread::createTask(const std::string& name) {
    std::vector<std::shared_ptr<ITask_Transmit>> replaced;  // destroyed behind the locks
    const std::lock_guard cfgLock(m_cfgMutex);
    const std::lock_guard taskLock(m_taskMutex);
    for (const EcuProtoCfg& cfg : m_cfgList) {
        if (cfg.ecuName != name) {
            continue;
        }
        replaced.push_back(std::exchange(m_taskMap[name], makeTask(cfg, m_callBacks)));
    }
}

std::uint32_t ProtoThread::connectEcus(const TaskCmd& cmd, std::vector<mcMemoryData>& /*data*/) {
    std::uint32_t result = kResultOk;
    for (const std::string& name : cmd.names) {
        createTask(name);
        writeLog(kLogProgress, "Connecting ecu(" + name + ")");
        ITask_Transmit* task = findTask(name);
        if (task == nullptr) {
            continue;
        }
        result = connectEcu(name, *task);
        if (result != kResultOk) {
            break;
        }
    }
    if (result != kResultConnect) {
        const std::lock_guard lock(m_stateMutex);
        m_isConnect = true;
    }
    return result;
}

std::uint32_t ProtoThread::connectEcu(const std::string& name, ITask_Transmit& task) {
    const std::uint32_t result = task.connect();
    if (result != kResultOk) {
        writeLog(kLogError, "Connect error: " + std::to_string(result));
    } else {
        writeLog(kLogProgress, "Connect ecu(" + name + ") success");
    }
    return result;
}

std::uint32_t ProtoThread::disconnectEcus(const TaskCmd& /*cmd*/, std::vector<mcMemoryData>& /*data*/) {
    stopPolling();
    m_pollLost = false;
    m_lostSince = 0;
    for (const auto& [name, task] : m_taskMap) {
        writeLog(kLogProgress, "Disconnect ecu(" + name + ")");
        task->disconnect();
    }
    {
        TaskMap gone;  // destroyed behind the lock
        const std::lock_guard lock(m_taskMutex);
        gone.swap(m_taskMap);
    }
    {
        const std::lock_guard lock(m_stateMutex);
        m_isConnect = false;
        m_isMeasure = false;
    }
    clearQueue();
    return kResultOk;
}

std::uint32_t ProtoThread::beginMeasurement(const TaskCmd& cmd, std::vector<mcMemoryData>& /*data*/) {
    deliverResult(kTaskMeasureBegun, kResultOk, {});
    const std::uint32_t result = startTasks(cmd.variables);
    {
        const std::lock_guard lock(m_stateMutex);
        m_isMeasure = result == kResultOk;
    }
    if (result != kResultOk) {
        stopTasks();
        return result;
    }
    stopPolling();
    m_pollLost = false;
    m_lostSince = 0;
    startPolling();
    writeLog(kLogProgress, "PollingThread started");
    return kResultOk;
}

/// Goes through the connected ECUs in name order, whatever the order of the host's map.
std::uint32_t ProtoThread::startTasks(
    const std::map<std::string, std::vector<mcMeasureVariable>>& variables) {
    for (const auto& [name, task] : m_taskMap) {
        writeLog(kLogProgress, "Start measurement ecu(" + name + ")");
        const auto wanted = variables.find(name);
        if (wanted == variables.end()) {
            continue;
        }
        const std::uint32_t result = startTask(name, *task, wanted->second);
        if (result != kResultOk) {
            return result;
        }
    }
    return kResultOk;
}

std::uint32_t ProtoThread::startTask(const std::string& name, ITask_Transmit& task,
                                     const std::vector<mcMeasureVariable>& variables) {
    std::uint32_t result = task.prepareMeasurement(variables);
    if (result != kResultOk) {
        writeLog(kLogError, "Set DAQ failed: " + textOf(result));
        return result;
    }
    result = task.startMeasurement();
    if (result != kResultOk) {
        writeLog(kLogError, "Start measurement (" + name + ") failed: " + textOf(result));
    }
    return result;
}

std::uint32_t ProtoThread::stopMeasurement(const TaskCmd& /*cmd*/, std::vector<mcMemoryData>& /*data*/) {
    return stopTasks();
}

std::uint32_t ProtoThread::stopTasks() {
    stopPolling();
    writeLog(kLogProgress, "PollingThread stopped");
    for (const auto& [name, task] : m_taskMap) {
        writeLog(kLogProgress, "StopMeasurement ecu(" + name + ")");
        task->stopMeasurement();
    }
    const std::lock_guard lock(m_stateMutex);
    m_isMeasure = false;
    return kResultOk;
}

std::uint32_t ProtoThread::measureVariables(const TaskCmd& cmd, std::vector<mcMemoryData>& /*data*/) {
    for (const auto& [name, variables] : cmd.variables) {
        const auto& wanted = variables;
        const auto read = [&wanted](ITask_Transmit& task) {
            task.readVariables(wanted);  // the values reach the host through measureFun
            return kResultOk;
        };
        runOnEcu({"Measure variables ecu(", kResultOk, read, nullptr}, name);
    }
    return kResultOk;
}

/// A write that the ECU refused counts as done here: hosts learn of it from the log.
std::uint32_t ProtoThread::writeVariable(const TaskCmd& cmd, std::vector<mcMemoryData>& /*data*/) {
    const auto write = [&cmd](ITask_Transmit& task) {
        task.writeVariable(cmd.variable, cmd.bytes);
        return kResultOk;
    };
    return runOnEcu({"Calibration variables ecu(", kResultNoEcu, write, nullptr}, nameAt(cmd, 0));
}

std::uint32_t ProtoThread::setPage(const TaskCmd& cmd, std::vector<mcMemoryData>& /*data*/) {
    const std::uint32_t result = selectPages(cmd.names, cmd.page);
    m_calPage = cmd.page;
    return result;
}

std::uint32_t ProtoThread::selectPages(const std::vector<std::string>& names, bool page) {
    std::uint32_t result = kResultOk;
    for (const std::string& name : names) {
        writeLog(kLogProgress, "Set calibration page ecu(" + name + ")");
        ITask_Transmit* task = findTask(name);
        if (task == nullptr) {
            reportMissingEcu(name);
            result = kResultNoEcu;
            continue;
        }
        result = page ? task->selectWorkingPage() : task->selectReferencePage();
        if (result != kResultOk) {
            logPageFailure("Set calibration page ecu(" + name, result);
            break;
        }
    }
    return result;
}

std::uint32_t ProtoThread::copyPage(const TaskCmd& cmd, std::vector<mcMemoryData>& /*data*/) {
    if (cmd.names.empty()) {
        return kResultNoEcu;
    }
    const std::string& name = cmd.names.front();
    writeLog(kLogProgress, "Copy reference cal page to working cal page ecu(" + name + ")");
    ITask_Transmit* task = findTask(name);
    if (task == nullptr) {
        reportMissingEcu(name);
        return kResultNoEcu;
    }
    const std::uint32_t result = task->copyReferenceToWorking();
    if (result != kResultOk) {
        logPageFailure("Copy refe to work ecu(" + name, result);
    }
    return result;
}

/// Hosts match this line as it is: no parenthesis opens ahead of the name.
void ProtoThread::reportMissingEcu(const std::string& name) {
    writeLog(kLogWarning, "Can't find task ecu" + name + ")");
}

/// An ECU without pages is worth a warning only.
void ProtoThread::logPageFailure(const std::string& head, std::uint32_t result) {
    writeLog(result == kResultNoOptCmd ? kLogWarning : kLogError, head + ") failed: " + textOf(result));
}

std::uint32_t ProtoThread::upload(const TaskCmd& cmd, std::vector<mcMemoryData>& /*data*/) {
    const auto run = [&cmd](ITask_Transmit& task) { return task.uploadMemory(cmd.memType, nullptr); };
    return runOnEcu({"Upload ecu to mem(", kResultNoEcu, run, "Upload to mem failed: "}, nameAt(cmd, 0));
}

std::uint32_t ProtoThread::download(const TaskCmd& cmd, std::vector<mcMemoryData>& /*data*/) {
    if (cmd.blocks.empty()) {
        writeLog(kLogProgress, "Download ecu from mem(" + nameAt(cmd, 0) + ")");
        return kResultMemFileParse;
    }
    const auto run = [&cmd](ITask_Transmit& task) { return task.downloadMemory(cmd.blocks, cmd.memType); };
    return runOnEcu({"Download ecu from mem(", kResultNoEcu, run, "Download from mem failed: "},
                    nameAt(cmd, 0));
}

std::uint32_t ProtoThread::forceDownload(const TaskCmd& cmd, std::vector<mcMemoryData>& /*data*/) {
    const auto run = [&cmd](ITask_Transmit& task) { return task.forceDownload(nameAt(cmd, 1)); };
    return runOnEcu({"Force Download ecu(", kResultOk, run, "Download failed: "}, nameAt(cmd, 0));
}

std::uint32_t ProtoThread::erase(const TaskCmd& cmd, std::vector<mcMemoryData>& /*data*/) {
    if (cmd.memType == 0) {
        writeLog(kLogProgress, "Erase ecu(" + nameAt(cmd, 0) + ")");
        return kResultOk;
    }
    const auto run = [&cmd](ITask_Transmit& task) { return task.eraseMemory(cmd.memType); };
    return runOnEcu({"Erase ecu(", kResultNoEcu, run, "Erase failed: "}, nameAt(cmd, 0));
}

std::uint32_t ProtoThread::check(const TaskCmd& cmd, std::vector<mcMemoryData>& data) {
    const auto run = [&](ITask_Transmit& task) { return task.checkMemory(cmd.blocks, cmd.memType, &data); };
    return runOnEcu({"Checksum ecu(", kResultOk, run, "Checksum ecu(", true}, nameAt(cmd, 0));
}
