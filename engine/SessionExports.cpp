/// @file
/// The exported session interface: thin functions over the one engine.
#include "TalvexSDK.h"
#include "engine/ProtoThread.h"

#include <utility>

namespace {

/// A command for one ECU.
TaskCmd commandFor(TaskCode code, const std::string& name) {
    TaskCmd cmd;
    cmd.cmd = code;
    cmd.names = {name};
    return cmd;
}

void enqueueBare(TaskCode code) {
    TaskCmd cmd;
    cmd.cmd = code;
    protoThread().enqueue(std::move(cmd));
}

}  // namespace

void setProtoCfgs(const std::list<EcuProtoCfg>& cfgs) {
    protoThread().setConfigs(cfgs);
}

void setProtoCfg(const std::string& name, const EcuProtoCfg& cfg) {
    protoThread().setConfig(name, cfg);
}

std::list<EcuProtoCfg> getProtoCfg() {
    return protoThread().configs();
}

bool isConnectEcu() {
    return protoThread().isConnected();
}

bool isEcuConnect(const std::string& name) {
    return protoThread().isEcuConnected(name);
}

bool isMeasureing() {
    return protoThread().isMeasuring();
}

void setCallBackFuns(CallBackFuns callbacks) {
    protoThread().setCallBacks(callbacks);
}

void setLogBackFuns(logFun log) {
    protoThread().addLogFun(log);
}

void stopAllTask() {
    protoThread().stopAll();
}

void EcuConnect(const std::vector<std::string>& names) {
    TaskCmd cmd;
    cmd.cmd = kTaskConnect;
    cmd.names = names;
    protoThread().enqueue(std::move(cmd));
}

void EcuDisconnect() {
    enqueueBare(kTaskDisconnect);
}

void StartMeasurement(const std::map<std::string, std::vector<mcMeasureVariable>>& variables) {
    TaskCmd cmd;
    cmd.cmd = kTaskStartMeasurement;
    cmd.variables = variables;
    protoThread().enqueue(std::move(cmd));
}

void StopMeasurement() {
    enqueueBare(kTaskStopMeasurement);
}

void MeasureVars(const std::string& name, const std::vector<mcMeasureVariable>& variables) {
    TaskCmd cmd;
    cmd.cmd = kTaskMeasureVars;
    cmd.variables = {{name, variables}};
    protoThread().enqueue(std::move(cmd));
}

void CalibrationVar(const std::string& name, const mcMeasureVariable& variable,
                    const std::vector<std::uint8_t>& bytes) {
    TaskCmd cmd = commandFor(kTaskCalibration, name);
    cmd.variable = variable;
    cmd.bytes = bytes;
    protoThread().enqueue(std::move(cmd));
}

void SetCalPage(const std::string& name, bool page) {
    TaskCmd cmd = commandFor(kTaskSetPage, name);
    cmd.page = page;
    protoThread().enqueue(std::move(cmd));
}

void UploadFromEcuMem(const std::string& name, mcMemOperType memType) {
    TaskCmd cmd = commandFor(kTaskUpload, name);
    cmd.memType = memType;
    protoThread().enqueue(std::move(cmd));
}

void DownToEcuMem(const std::string& name, mcMemOperType memType, const std::list<mem_buf>& blocks) {
    TaskCmd cmd = commandFor(kTaskDownload, name);
    cmd.memType = memType;
    cmd.blocks = blocks;
    protoThread().enqueue(std::move(cmd));
}

void ForceDataDownToEcu(const std::string& name, const std::string& path) {
    TaskCmd cmd = commandFor(kTaskForceDownload, name);
    cmd.names.push_back(path);
    protoThread().enqueue(std::move(cmd));
}

void EarseEcu(const std::string& name, mcMemOperType memType) {
    TaskCmd cmd = commandFor(kTaskErase, name);
    cmd.memType = memType;
    protoThread().enqueue(std::move(cmd));
}

void CheckEcuMemory(const std::string& name, const std::list<mem_buf>& blocks, mcMemOperType memType) {
    TaskCmd cmd = commandFor(kTaskCheck, name);
    cmd.memType = memType;
    cmd.blocks = blocks;
    protoThread().enqueue(std::move(cmd));
}

void EcuCopyRefeToWork(const std::string& name) {
    protoThread().enqueue(commandFor(kTaskCopyPage, name));
}
