#include "tests/windows/LoadedSession.h"

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

/// The DLL's form of an export, with the type that the header declares; nothing is linked.
#define TALVEX_EXPORTED(name) (*m_library.function<decltype(::name)>(#name))

namespace windowstest {

namespace {

std::atomic<int> g_calls = 0;
std::atomic<int> g_connects = 0;
std::atomic<int> g_polled = 0;
std::atomic<int> g_daqCycles = 0;
std::atomic<int> g_sent = 0;
std::atomic<bool> g_answers = true;
std::atomic<decltype(&::recvCanMsg)> g_receive = nullptr;

void takeLog(std::uint32_t /*level*/, std::uint64_t /*timeMs*/, const std::string& /*text*/) {
    ++g_calls;
}

std::uint32_t send(std::uint8_t channel, std::uint32_t /*id*/, std::uint8_t /*flags*/,
                   std::uint8_t /*length*/, const std::uint8_t* /*data*/) {
    ++g_calls;
    ++g_sent;
    const std::uint8_t positive[8] = {0xFF};
    const std::uint8_t dto[2] = {0x00, 0x11};
    if (g_answers) {
        g_receive.load()(0, 1, channel, 2, 8, positive);
        g_receive.load()(0, 2, channel, 2, 2, dto);
    }
    return 0;
}

void takeResult(std::uint32_t command, std::uint8_t result, const std::vector<std::string>* /*details*/) {
    ++g_calls;
    g_connects += command == 1 && result == 0;
}

void takeValues(const std::string& /*ecu*/, std::int32_t kind,
                const std::vector<mcMeasureVariableValue>& /*values*/,
                const std::vector<std::string>& /*rejected*/) {
    ++g_calls;
    g_polled += kind == 1;
    g_daqCycles += kind == 2;
}

}  // namespace

bool waitFor(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

LoadedSession::LoadedSession() : m_library(TALVEX_LIBRARY_FILE) {
    g_answers = true;
    g_calls = g_connects = g_polled = g_daqCycles = g_sent = 0;
    g_receive = m_library.function<decltype(::recvCanMsg)>("recvCanMsg");
}

void LoadedSession::configures(std::int32_t retryCount, std::uint16_t timeoutMs) {
    CallBackFuns table;
    table.sndFun = send;
    table.taskResultFun = takeResult;
    table.measureFun = takeValues;
    TALVEX_EXPORTED(setLogBackFuns)(takeLog);
    TALVEX_EXPORTED(setCallBackFuns)(table);
    EcuProtoCfg cfg;
    cfg.ecuName = "a";
    cfg.xcp.t1 = timeoutMs;
    cfg.xcp.retryCount = retryCount;
    cfg.xcp.statusPeriodMs = 1;
    cfg.xcp.events[1].maxDaqList = 1;
    cfg.supportedCmds = {0xF4};
    TALVEX_EXPORTED(setProtoCfgs)({cfg});
}

void LoadedSession::asksForConnection() {
    TALVEX_EXPORTED(EcuConnect)({"a"});
}

bool LoadedSession::connects() {
    asksForConnection();
    return waitFor([] { return g_connects == 1; });
}

bool LoadedSession::measures() {
    mcMeasureVariable byDaq;
    byDaq.name = "daq";
    byDaq.size = 1;
    byDaq.event = 1;
    mcMeasureVariable byPolling = byDaq;
    byPolling.name = "polled";
    byPolling.period = 1;
    TALVEX_EXPORTED(StartMeasurement)({{"a", {byDaq, byPolling}}});
    return waitFor([] { return g_polled > 1 && g_daqCycles > 1; });
}

void LoadedSession::asksForStop() {
    TALVEX_EXPORTED(StopMeasurement)();
}

void LoadedSession::answers(bool answers) {
    g_answers = answers;
}

bool LoadedSession::isConnected() {
    return TALVEX_EXPORTED(isConnectEcu)();
}

std::size_t LoadedSession::ecuCount() {
    return TALVEX_EXPORTED(getProtoCfg)().size();
}

Counts LoadedSession::counts() {
    return {g_calls, g_connects, g_polled, g_daqCycles, g_sent};
}

bool LoadedSession::frees() {
    if (!m_library.free()) {
        return false;
    }
    const int calls = g_calls;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
    while (g_calls == calls && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    return g_calls == calls;
}

}  // namespace windowstest
