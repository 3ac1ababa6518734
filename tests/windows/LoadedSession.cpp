#include "tests/windows/LoadedSession.h"

#include <atomic>
#include <chrono>
#include <thread>

/// The DLL's form of an export, with the type that the header declares; nothing is linked.
#define TALVEX_EXPORTED(name) (*m_library.function<decltype(::name)>(#name))

namespace windowstest {

using support::YesHost;

bool waitFor(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

LoadedSession::LoadedSession() : m_library(TALVEX_LIBRARY_FILE) {
    YesHost::begins(m_library.function<decltype(::recvCanMsg)>("recvCanMsg"));
}

void LoadedSession::configures(std::int32_t retryCount, std::uint16_t timeoutMs) {
    TALVEX_EXPORTED(setLogBackFuns)(YesHost::takeLog);
    TALVEX_EXPORTED(setCallBackFuns)(YesHost::callBacks());
    TALVEX_EXPORTED(setProtoCfgs)({YesHost::configuration(retryCount, timeoutMs)});
}

void LoadedSession::asksForConnection() {
    TALVEX_EXPORTED(EcuConnect)({"a"});
}

bool LoadedSession::connects() {
    asksForConnection();
    return waitFor([] { return YesHost::counts().connects == 1; });
}

bool LoadedSession::measures() {
    TALVEX_EXPORTED(StartMeasurement)({{"a", YesHost::variables(1)}});
    return waitFor(YesHost::hasMeasured);
}

void LoadedSession::asksForStop() {
    TALVEX_EXPORTED(StopMeasurement)();
}

void LoadedSession::answers(bool answers) {
    YesHost::answers(answers);
}

bool LoadedSession::isConnected() {
    return TALVEX_EXPORTED(isConnectEcu)();
}

std::size_t LoadedSession::ecuCount() {
    return TALVEX_EXPORTED(getProtoCfg)().size();
}

const support::YesCounts& LoadedSession::counts() {
    return YesHost::counts();
}

bool LoadedSession::frees() {
    if (!m_library.free()) {
        return false;
    }
    const std::atomic<int>& calls = YesHost::counts().calls;
    const int before = calls;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
    while (calls == before && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    return calls == before;
}

}  // namespace windowstest
