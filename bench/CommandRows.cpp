// Rows P3 and P4: one command and its response.

#include "TalvexPlain.h"
#include "bench/Harness.h"
#include "xcp/XcpProtoTransmit.h"

#include <benchmark/benchmark.h>

#include <array>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace {

constexpr std::size_t kCommands = 500;
constexpr std::uint32_t kMasterId = 0x10;
constexpr std::uint32_t kSlaveId = 0x20;
constexpr std::array<std::uint8_t, 8> kAnswer{0xFF};

/// A flag that one thread sets and another waits for.
class Signal {
public:
    void set() {
        {
            const std::lock_guard lock(m_mutex);
            m_set = true;
        }
        m_condition.notify_one();
    }

    void wait() {
        std::unique_lock lock(m_mutex);
        m_condition.wait(lock, [this] { return m_set; });
        m_set = false;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_set = false;
};

/// A thread that does something each time it is called for.
class Responder {
public:
    explicit Responder(void (*respond)(Responder&)) : m_thread([this, respond] { run(respond); }) {}

    ~Responder() {
        m_end = true;
        called.set();
        m_thread.join();
    }

    Signal called;
    Signal answered;

private:
    void run(void (*respond)(Responder&)) {
        for (called.wait(); !m_end; called.wait()) {
            respond(*this);
        }
    }

    bool m_end = false;  ///< handed over by `called`
    std::thread m_thread;
};

Responder* g_ecu = nullptr;

void answerNow() {
    recvCanMsg(0, 0, 0, kSlaveId, kAnswer.size(), kAnswer.data());
}

std::uint32_t callEcu(std::uint8_t, std::uint32_t, std::uint8_t, std::uint8_t, const std::uint8_t*) {
    g_ecu->called.set();
    return 0;
}

std::uint32_t answerInside(std::uint8_t, std::uint32_t, std::uint8_t, std::uint8_t, const std::uint8_t*) {
    answerNow();
    return 0;
}

void takeLine(std::uint32_t, std::uint64_t, const std::string& text) {
    benchmark::DoNotOptimize(text.data());
}

void takeMessage(std::uint64_t, mcDecodeMsg message) {
    benchmark::DoNotOptimize(message.fields.data());
}

std::unique_ptr<XCP_MOUDLE::XcpProtoTransmit> makeMaster(decltype(CallBackFuns::sndFun) send,
                                                         bool withCallbacks) {
    EcuProtoCfg cfg;
    cfg.canIdMaster = kMasterId;
    cfg.canIdSlave = kSlaveId;
    cfg.xcp.t1 = 1000;
    CallBackFuns callBacks;
    callBacks.sndFun = send;
    if (withCallbacks) {
        callBacks.msgDecodeFun = takeMessage;
        callBacks.logFuns = {takeLine};
    }
    return std::make_unique<XCP_MOUDLE::XcpProtoTransmit>(cfg, callBacks);
}

/// Commands against the ping-pong of two threads over a condition variable.
bench::Figure commandAgainstPingPong(decltype(CallBackFuns::sndFun) send, bool withCallbacks) {
    Responder ecu([](Responder&) { answerNow(); });
    Responder partner([](Responder& self) { self.answered.set(); });
    g_ecu = &ecu;
    const auto master = makeMaster(send, withCallbacks);
    std::size_t failures = 0;
    const auto command = [&] { failures += master->cmdGetStatus(); };
    const auto pingPong = [&] {
        partner.called.set();
        partner.answered.wait();
    };
    bench::Figure figure = bench::compareInterleaved(bench::wallBlock(kCommands, command),
                                                     bench::wallBlock(kCommands, pingPong));
    return failures == 0 ? figure : bench::failed(std::to_string(failures) + " commands failed");
}

constexpr const char* kPingPong = "ping-pong of two threads";

[[maybe_unused]] const bool kAdded[] = {
    bench::addRow({"P3", "one command, ECU on another thread", kPingPong, "ns", bench::atMost(1.3),
                   [] { return commandAgainstPingPong(callEcu, false); }}),
    bench::addRow({"P3", "the same with log and analysis", kPingPong, "ns", bench::atMost(2.5),
                   [] { return commandAgainstPingPong(callEcu, true); }}),
    bench::addRow({"P4", "one command answered inside sndFun", kPingPong, "ns", bench::atMost(0.3),
                   [] { return commandAgainstPingPong(answerInside, false); }}),
    bench::addRow({"P4", "the same with log and analysis", kPingPong, "ns", bench::atMost(1.5),
                   [] { return commandAgainstPingPong(answerInside, true); }}),
};

}  // namespace
