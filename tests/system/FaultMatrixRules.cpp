// What is common to the operations of both protocols.
#include "tests/system/FaultMatrixRules.h"

#include "tests/support/HexText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

namespace systemtest {
namespace {

constexpr std::uint32_t kCode = 0x10000;
constexpr std::uint32_t kOtherCode = 0x20000;
constexpr std::uint32_t kData = 0x8000;
constexpr std::uint32_t kDataLength = 20;

mcMemoryInfo range(std::uint32_t address, std::uint32_t length) {
    mcMemoryInfo made;
    made.address = address;
    made.length = length;
    return made;
}

mcMemoryInfo dataRange() {
    mcMemoryInfo made = range(kData, kDataLength);
    made.segmentNumber = 1;
    made.programType = 2;
    made.memoryType = 2;
    made.pages = {mcMemoryPage{}};
    made.checksumBlockSize = 8;
    made.checksumType = 9;
    return made;
}

mem_buf block(std::uint32_t address, std::size_t length) {
    mem_buf made;
    made.address = address;
    made.data = support::countingBytes(length);
    return made;
}

mcMeasureVariable variable(const std::string& name, std::uint32_t offset, std::uint32_t size,
                           std::uint16_t event = 0) {
    mcMeasureVariable made;
    made.name = name;
    made.address = kData + offset;
    made.size = size;
    made.event = event;
    return made;
}

void setPatience(EcuProtoCfg& cfg, std::uint16_t timeoutMs) {
    XcpCfg& xcp = cfg.xcp;
    xcp.t1 = xcp.t2 = xcp.t3 = xcp.t4 = xcp.t5 = xcp.t6 = xcp.t7 = timeoutMs;
    xcp.retryCount = cfg.ccp.retryCount = Reckoning::kRetries;
    xcp.statusPeriodMs = cfg.ccp.statusPeriodMs = 0;
    cfg.ccp.timeoutMs = timeoutMs;
}

/// A file with one block, made with the first call and removed as the process ends.
const std::string& imageFile() {
    struct File {
        File() {
#ifdef _WIN32
            const int process = _getpid();
#else
            const int process = getpid();
#endif
            path = testing::TempDir() + "fault_matrix_" + std::to_string(process) + ".hex";
            SaveToHexFile({block(kData, kDataLength)}, path);
        }
        ~File() {
            std::remove(path.c_str());
        }
        std::string path;
    };
    static const File file;
    return file.path;
}

}  // namespace

EcuProtoCfg matrixConfig(Protocol protocol, std::uint16_t timeoutMs) {
    EcuProtoCfg cfg;
    cfg.ecuName = kMatrixEcu;
    cfg.protoType = protocol == Protocol::xcp ? 1 : 0;
    cfg.canIdMaster = 0x100;
    cfg.canIdSlave = 0x101;
    cfg.codeSegments = {range(kCode, 24), range(kOtherCode, 12)};
    cfg.dataSegments = {dataRange()};
    setPatience(cfg, timeoutMs);
    if (protocol == Protocol::xcp) {
        cfg.supportedCmds = {0xFB, 0xF8, 0xF7, 0xF4, 0xEB, 0xE4, 0xE0, 0xDC, 0xDA, 0xD9, 0xD7, 0xD2};
        cfg.xcp.packMode = 0;
        return cfg;
    }
    cfg.supportedCmds = {0x08, 0x09, 0x0C, 0x0D, 0x0F, 0x11, 0x19};
    cfg.ccp.packMode = 0;
    cfg.ccp.queryDaqSizes = 1;
    cfg.ccp.daqListLimit = 2;
    cfg.ccp.daqLists[0].odtCount = 2;
    cfg.ccp.daqLists[0].firstPid = 0x10;
    cfg.ccp.daqLists[1].odtCount = 1;
    cfg.ccp.daqLists[1].firstPid = 0x20;
    return cfg;
}

std::vector<mcMeasureVariable> matrixDaqVariables(Protocol protocol) {
    if (protocol == Protocol::xcp) {  // two ODTs with one variable each
        return {variable("a", 0, 4), variable("b", 4, 4)};
    }
    // list 0: "a" and "b", then "c"; list 1: "d"
    return {variable("a", 0, 4), variable("b", 4, 2), variable("c", 6, 4), variable("d", 10, 1, 1)};
}

std::vector<mcMeasureVariable> matrixReadVariables() {
    return {variable("word", 0, 2), variable("long", 2, 12)};
}

const Operation* findOperation(Protocol protocol, const std::string& name) {
    const std::vector<Operation>& all = protocol == Protocol::xcp ? xcpOperations() : ccpOperations();
    const auto found =
        std::find_if(all.begin(), all.end(), [&name](const Operation& row) { return row.name == name; });
    return found == all.end() ? nullptr : &*found;
}

std::uint32_t runSteps(Reckoning& ecu, std::initializer_list<Step> steps) {
    for (const Step& step : steps) {
        if (!ecu.exchange(step.command)) {
            if (step.line != nullptr) {
                ecu.log(4, step.line);
            }
            return step.failure;
        }
    }
    return 0;
}

void exchangeAll(Reckoning& ecu, std::initializer_list<std::uint8_t> commands) {
    for (const std::uint8_t command : commands) {
        ecu.exchange(command);
    }
}

void logFailure(Reckoning& ecu, std::uint32_t code, const std::string& head) {
    if (code != 0) {
        ecu.log(4, head + getErrorString(static_cast<std::int32_t>(code)));
    }
}

void reportProgress(Reckoning& ecu, std::uint32_t command, std::size_t done, std::size_t total) {
    ecu.memory(command, static_cast<std::uint32_t>(std::min<std::size_t>(100, done * 100 / total)));
}

std::uint32_t uploadSteps(Reckoning& ecu, std::size_t total,
                          const std::function<std::size_t(std::size_t left)>& step) {
    std::size_t done = 0;
    while (done < total) {
        const std::size_t got = step(total - done);
        if (got == 0) {
            break;
        }
        done += got;
        reportProgress(ecu, 12, done, total);
    }
    if (done == 0) {
        return 34;
    }
    reportProgress(ecu, 12, done, total);
    return 0;
}

/// Whatever else fails behind it, the ECU counts as connected once CONNECT succeeded; code 3 stands for that.
void connectBy(Reckoning& ecu, Rule connect) {
    ecu.log(2, "Connecting ecu(ecu)");
    const std::uint32_t code = connect(ecu);
    if (code == 0) {
        ecu.log(2, "Connect ecu(ecu) success");
    } else {
        ecu.log(4, "Connect error: " + std::to_string(code));
    }
    ecu.connected = code != 3;
    ecu.result(1, code, "Connect");
}

void disconnectBy(Reckoning& ecu, std::uint8_t command) {
    ecu.log(2, "Disconnect ecu(ecu)");
    ecu.exchange(command);
    ecu.connected = false;
    ecu.measuring = false;
    ecu.result(2, 0, "Disconnect");
}

void loseLinkBy(Reckoning& ecu, std::uint8_t disconnect) {
    ecu.notifiesLoss();
    disconnectBy(ecu, disconnect);
}

void stopBy(Reckoning& ecu, const std::function<void()>& stop) {
    ecu.log(2, "PollingThread stopped");
    ecu.log(2, "StopMeasurement ecu(ecu)");
    stop();
    ecu.measuring = false;
}

void startBy(Reckoning& ecu, Rule prepare, Rule start, bool isStart, const std::function<void()>& stop) {
    ecu.notifies(4);
    ecu.log(2, "Start measurement ecu(ecu)");
    std::uint32_t code = prepare(ecu);
    logFailure(ecu, code, "Set DAQ failed: ");
    if (isStart) {
        ecu.begins();
    } else {
        ecu.ends();
    }
    if (code == 0) {
        code = start(ecu);
        logFailure(ecu, code, "Start measurement (ecu) failed: ");
        if (isStart) {
            ecu.ends();
        }
    }
    if (code == 0) {
        ecu.measuring = true;
        ecu.log(2, "PollingThread started");
    } else {
        stopBy(ecu, stop);
    }
    ecu.result(5, code, "Start measurement");
}

void selectPageBy(Reckoning& ecu, Rule selectPage, const std::string& detail) {
    ecu.log(2, "Set calibration page ecu(ecu)");
    const std::uint32_t code = selectPage(ecu);
    logFailure(ecu, code, "Set calibration page ecu(ecu) failed: ");
    ecu.result(9, code, "Set memory page", detail);
}

void copyBy(Reckoning& ecu, Rule copy) {
    ecu.log(2, "Copy reference cal page to working cal page ecu(ecu)");
    const std::uint32_t code = copy(ecu);
    logFailure(ecu, code, "Copy refe to work ecu(ecu) failed: ");
    ecu.result(18, code, "Copy refe to work", kMatrixEcu);
}

void uploadBy(Reckoning& ecu, Rule upload, Rule selectPage) {
    ecu.log(2, "Upload ecu to mem(ecu)");
    const std::uint32_t code = upload(ecu);
    ecu.memory(10, code, code == 0 ? 1 : 0);
    logFailure(ecu, code, "Upload to mem failed: ");
    ecu.ends();
    selectPageBy(ecu, selectPage, kMatrixEcu);
}

namespace {

/// An operation whose result is that of @p command.
void changeMemoryBy(Reckoning& ecu, const char* line, const char* failure, std::uint32_t command, Rule change,
                    Rule selectPage) {
    ecu.log(2, line);
    const std::uint32_t code = change(ecu);
    logFailure(ecu, code, failure);
    ecu.ends();
    ecu.memoryResult(command, code);
    selectPageBy(ecu, selectPage, kMatrixEcu);
}

}  // namespace

void downloadBy(Reckoning& ecu, Rule download, Rule selectPage) {
    changeMemoryBy(ecu, "Download ecu from mem(ecu)", "Download from mem failed: ", 11, download, selectPage);
}

void eraseBy(Reckoning& ecu, Rule erase, Rule selectPage) {
    changeMemoryBy(ecu, "Erase ecu(ecu)", "Erase failed: ", 15, erase, selectPage);
}

void checkBy(Reckoning& ecu, std::uint32_t (*check)(Reckoning&, std::size_t&), Rule selectPage) {
    ecu.log(2, "Checksum ecu(ecu)");
    std::size_t ranges = 0;
    const std::uint32_t code = check(ecu, ranges);
    logFailure(ecu, code, "Checksum ecu(ecu) failed: ");
    ecu.ends();
    ecu.memoryResult(16, code, ranges);
    selectPageBy(ecu, selectPage, kMatrixEcu);
}

void forceBy(Reckoning& ecu, Rule force) {
    ecu.log(2, "Force Download ecu(ecu)");
    const std::uint32_t code = force(ecu);
    logFailure(ecu, code, "Download failed: ");
    ecu.result(14, code, "Force download", kMatrixEcu);
}

void askStart(Protocol protocol) {
    StartMeasurement({{kMatrixEcu, matrixDaqVariables(protocol)}});
}

void askDownload() {
    DownToEcuMem(kMatrixEcu, mcMemCode | mcMemDataReference, {block(kCode, 14), block(kData, 10)});
}

void askCheck() {
    CheckEcuMemory(kMatrixEcu, {block(kData, kDataLength)}, mcMemDataReference);
}

void askForce() {
    ForceDataDownToEcu(kMatrixEcu, imageFile());
}

void askRead() {
    MeasureVars(kMatrixEcu, matrixReadVariables());
}

void askWrite(std::size_t count) {
    CalibrationVar(kMatrixEcu, variable("map", 0, static_cast<std::uint32_t>(count)),
                   support::countingBytes(count));
}

void askPoll() {
    StartMeasurement({{kMatrixEcu, matrixReadVariables()}});
}

void pollsAll(EcuProtoCfg& cfg) {
    cfg.xcp.pollPeriodMs = cfg.ccp.pollPeriodMs = 2;
}

}  // namespace systemtest
