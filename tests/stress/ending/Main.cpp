// A host that ends in the middle of what it does.
//
//   talvex_ending xcp|ccp connect|measure|flash <frame> <code>
//
// Works with an ECU that answers at once, and ends the process with <code> as soon as frame <frame> went out:
// a thread of the library is in the middle of a command then, and waits for an answer that never comes. Ends
// with 99 if the work was done ahead of that frame, with 98 if it cannot be done.
#include "tests/support/HexText.h"
#include "tests/support/YesHost.h"

#include <TalvexSDK.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace {

constexpr int kDone = 99;
constexpr int kFailed = 98;
constexpr std::uint32_t kBase = 0x1000;
constexpr std::uint32_t kSize = 0x40;
constexpr std::uint16_t kTimeoutMs = 60'000;
constexpr std::uint32_t kConnected = 1;
constexpr std::uint32_t kDownloaded = 11;
constexpr std::uint32_t kPercent = 13;

/// What the callbacks and `main` share. Made ahead of the library's engine, so that it goes behind it.
struct Host {
    std::mutex mutex;
    std::condition_variable changed;
    bool xcp = true;
    std::uint64_t frames = 0;
    std::uint64_t endFrame = 0;
    std::vector<std::uint32_t> results;
    std::uint64_t values = 0;
};
Host g_host;

/// What is more than a plain yes, of an XCP ECU. CONNECT: no DAQ of its own, MAX_CTO 8, MAX_DTO 8.
std::vector<std::uint8_t> xcpAnswer(const std::uint8_t* data) {
    switch (data[0]) {
        case 0xFF:
            return support::bytes("ff 15 00 08 08 00 01 01");
        case 0xD2:
            return support::bytes("ff 00 00 08 00 00 00 00");
        default:
            return support::bytes("ff 11 11 11 11 11 11 11");
    }
}

std::vector<std::uint8_t> answerTo(const std::uint8_t* data) {
    if (g_host.xcp) {
        return xcpAnswer(data);
    }
    return {0xFF, 0x00, data[1], 0x02, 0x01, 0x11, 0x11, 0x11};
}

void answers(std::uint8_t channel, const std::vector<std::uint8_t>& answer) {
    recvCanMsg(0, 1, channel, 2, static_cast<std::uint16_t>(answer.size()), answer.data());
    const std::vector<std::uint8_t> dto = {0x00, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11};
    recvCanMsg(0, 2, channel, 2, static_cast<std::uint16_t>(dto.size()), dto.data());
}

/// From the last frame on there are no answers.
std::uint32_t send(std::uint8_t channel, std::uint32_t /*id*/, std::uint8_t /*flags*/,
                   std::uint8_t /*length*/, const std::uint8_t* data) {
    bool goesOn = false;
    {
        const std::lock_guard lock(g_host.mutex);
        goesOn = ++g_host.frames < g_host.endFrame;
    }
    g_host.changed.notify_all();
    if (goesOn) {
        answers(channel, answerTo(data));
    }
    return 1;
}

void takeResult(std::uint32_t command, std::uint8_t /*result*/, const std::vector<std::string>* /*details*/) {
    const std::lock_guard lock(g_host.mutex);
    g_host.results.push_back(command);
    g_host.changed.notify_all();
}

void takeMemory(std::uint32_t command, std::uint32_t result, std::vector<mcMemoryData> /*data*/) {
    if (command != kPercent) {
        takeResult(command, static_cast<std::uint8_t>(result), nullptr);
    }
}

void takeValues(const std::string& /*ecu*/, std::int32_t kind,
                const std::vector<mcMeasureVariableValue>& /*values*/,
                const std::vector<std::string>& /*rejected*/) {
    const std::lock_guard lock(g_host.mutex);
    g_host.values += kind != 0;
    g_host.changed.notify_all();
}

bool waitsFor(const std::function<bool()>& reached) {
    std::unique_lock lock(g_host.mutex);
    return g_host.changed.wait_for(lock, std::chrono::seconds(60),
                                   [&] { return g_host.frames >= g_host.endFrame || reached(); });
}

std::function<bool()> hasResult(std::uint32_t command) {
    return [command] {
        return std::find(g_host.results.begin(), g_host.results.end(), command) != g_host.results.end();
    };
}

EcuProtoCfg configuration() {
    EcuProtoCfg cfg;
    cfg.ecuName = "a";
    cfg.protoType = g_host.xcp ? 1 : 0;
    mcMemoryInfo code;
    code.address = kBase;
    code.length = kSize;
    code.programType = 1;
    cfg.codeSegments = {code};
    cfg.xcp.t1 = cfg.xcp.t2 = cfg.xcp.t3 = cfg.xcp.t4 = cfg.xcp.t5 = kTimeoutMs;
    cfg.xcp.retryCount = cfg.ccp.retryCount = 1;
    cfg.xcp.daqProperties = 1;
    cfg.xcp.events[0].maxDaqList = 1;
    cfg.ccp.timeoutMs = kTimeoutMs;
    cfg.ccp.daqLists[0].odtCount = 2;
    cfg.supportedCmds = g_host.xcp ? std::set<std::uint8_t>{0xF4, 0xD2, 0xD1, 0xD0, 0xCF}
                                   : std::set<std::uint8_t>{0x0F, 0x08, 0x18};
    return cfg;
}

/// @return whether the work was done, or its last frame reached
bool works(const std::string& work) {
    EcuConnect({"a"});
    if (!waitsFor(hasResult(kConnected))) {
        return false;
    }
    if (work == "measure") {
        StartMeasurement({{"a", support::YesHost::variables(2, 0, kBase)}});
        return waitsFor([] { return g_host.values > 5; });
    }
    if (work == "flash") {
        DownToEcuMem("a", mcMemCode, {mem_buf{kBase, std::vector<std::uint8_t>(kSize, 0x11)}});
        return waitsFor(hasResult(kDownloaded));
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        return kFailed;
    }
    g_host.xcp = std::string(argv[1]) == "xcp";
    g_host.endFrame = std::stoull(argv[3]);
    CallBackFuns table;
    table.sndFun = send;
    table.taskResultFun = takeResult;
    table.memResultFun = takeMemory;
    table.measureFun = takeValues;
    setCallBackFuns(table);
    setProtoCfgs({configuration()});
    const bool worked = works(argv[2]);
    std::unique_lock lock(g_host.mutex);
    const bool reached = g_host.frames >= g_host.endFrame;
    lock.unlock();
    if (!worked) {
        std::cerr << "the work does not end\n";
        return kFailed;
    }
    std::exit(reached ? std::stoi(argv[4]) : kDone);
}
