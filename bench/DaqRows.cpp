// Rows P7 and P8: DAQ frames on their way to values.

#include "TalvexSDK.h"
#include "bench/Harness.h"
#include "xcp/XcpTaskTransmit.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t kSlaveIds = 0x200;
constexpr std::uint32_t kMasterIds = 0x100;
constexpr std::size_t kMostEcus = 4;
constexpr std::uint64_t kMostUndelivered = 1800;
constexpr std::uint64_t kSeconds = 10;

/// What is measured: so many ECUs, each with so many frames a second of so many values.
struct Load {
    std::size_t ecus;
    std::uint64_t framesPerMs;
    std::size_t values;
    std::size_t ccpEcus = 0;  ///< how many of them speak CCP: the last ones
};

std::string nameOf(std::size_t ecu) {
    return "ecu" + std::to_string(ecu);
}

/// The value of one variable in one frame.
std::uint16_t valueAt(std::uint64_t frame, std::size_t variable) {
    return static_cast<std::uint16_t>(frame * 31 + variable * 7);
}

std::size_t g_firstCcpEcu = kMostEcus;

/// Every command is answered at once; the first PID of a list is 0. A CCP ECU echoes the counter, and tells
/// that it has version 2.
std::uint32_t answer(std::uint8_t, std::uint32_t id, std::uint8_t, std::uint8_t, const std::uint8_t* data) {
    std::array<std::uint8_t, 8> positive{0xFF};
    if (id - kMasterIds >= g_firstCcpEcu) {
        positive[2] = data[1];
        positive[3] = 2;
    }
    recvCanMsg(0, 0, 0, id - kMasterIds + kSlaveIds, positive.size(), positive.data());
    return 0;
}

EcuProtoCfg makeConfig(std::size_t ecu) {
    EcuProtoCfg cfg;
    cfg.ecuName = nameOf(ecu);
    cfg.protoType = ecu >= g_firstCcpEcu ? 0 : 1;
    cfg.canIdMaster = kMasterIds + static_cast<std::uint32_t>(ecu);
    cfg.canIdSlave = kSlaveIds + static_cast<std::uint32_t>(ecu);
    cfg.maxDto = 64;
    cfg.ccp.timeoutMs = 1000;
    cfg.ccp.statusPeriodMs = 0;
    cfg.ccp.packMode = 0;
    cfg.ccp.daqLists[0].odtCount = 1;
    cfg.xcp.t1 = 1000;
    cfg.xcp.statusPeriodMs = 0;
    cfg.xcp.daqProperties = 1;
    cfg.xcp.maxOdtEntrySizeDaq = 63;
    return cfg;
}

std::vector<mcMeasureVariable> makeVariables(std::size_t count) {
    std::vector<mcMeasureVariable> variables(count);
    for (std::size_t i = 0; i < count; ++i) {
        variables[i].name = "signal" + std::to_string(10 + i);  // in name order
        variables[i].size = 2;
        variables[i].address = static_cast<std::uint32_t>(0x1000 + 2 * i);
    }
    return variables;
}

/// One DAQ frame of an ECU; its time is its number.
void sendFrame(std::size_t ecu, std::uint64_t number, std::size_t values) {
    std::array<std::uint8_t, 64> data{};
    for (std::size_t i = 0; i < values; ++i) {
        const std::uint16_t value = valueAt(number, i);
        data[1 + 2 * i] = static_cast<std::uint8_t>(value);
        data[2 + 2 * i] = static_cast<std::uint8_t>(value >> 8);
    }
    recvCanMsg(0, number, 0, kSlaveIds + static_cast<std::uint32_t>(ecu),
               static_cast<std::uint16_t>(1 + 2 * values), data.data());
}

bool isRight(const std::vector<mcMeasureVariableValue>& values, std::uint64_t frame, std::size_t wanted) {
    bool right = values.size() == wanted;
    for (std::size_t i = 0; right && i < values.size(); ++i) {
        const std::vector<std::uint8_t>& data = values[i].data;
        right = data.size() == 2 && (data[0] | data[1] << 8) == valueAt(frame, i) && values[i].time == frame;
    }
    return right;
}

/// What came of the frames. Cycles are counted by the worker; each must be the next one, and right.
std::array<std::atomic<std::uint64_t>, kMostEcus> g_cycles;
std::atomic<std::uint64_t> g_wrong = 0;
std::atomic<std::size_t> g_values = 0;
std::atomic<std::uint64_t> g_workerNs = 0;  ///< processor time of the worker at its last delivery
std::atomic<std::uint32_t> g_lastResult = 0;

void checkValues(const std::string& ecu, std::int32_t, const std::vector<mcMeasureVariableValue>& values,
                 const std::vector<std::string>&) {
    std::atomic<std::uint64_t>& cycles = g_cycles[static_cast<std::size_t>(ecu.back() - '0')];
    g_wrong += isRight(values, cycles, g_values) ? 0U : 1U;
    ++cycles;
    g_workerNs = bench::threadNs();
}

void noteResult(std::uint32_t command, std::uint8_t, const std::vector<std::string>*) {
    g_lastResult = command;
}

void awaitResult(std::uint32_t command) {
    while (g_lastResult != command) {
        std::this_thread::sleep_for(1ms);
    }
}

void startEcus(const Load& load) {
    CallBackFuns callBacks;
    callBacks.sndFun = answer;
    callBacks.measureFun = checkValues;
    callBacks.taskResultFun = noteResult;
    setCallBackFuns(callBacks);
    std::list<EcuProtoCfg> configs;
    std::vector<std::string> names;
    std::map<std::string, std::vector<mcMeasureVariable>> measured;
    g_firstCcpEcu = load.ecus - load.ccpEcus;
    for (std::size_t ecu = 0; ecu < load.ecus; ++ecu) {
        g_cycles[ecu] = 0;
        configs.push_back(makeConfig(ecu));
        names.push_back(nameOf(ecu));
        measured[nameOf(ecu)] = makeVariables(load.values);
    }
    g_values = load.values;
    g_wrong = 0;
    setProtoCfgs(configs);
    EcuConnect(names);
    awaitResult(1);
    StartMeasurement(measured);
    awaitResult(5);
}

/// Sends frames [first, end) of every ECU. A producer that falls behind shifts its schedule, and it keeps few
/// frames undelivered, as the library drops above 2,000 by design.
void produce(const Load& load, std::uint64_t first, std::uint64_t end) {
    auto due = std::chrono::steady_clock::now();
    for (std::uint64_t sent = first; sent < end; sent += load.framesPerMs) {
        std::this_thread::sleep_until(due);
        due = std::max(due + 1ms, std::chrono::steady_clock::now());
        for (std::size_t ecu = 0; ecu < load.ecus; ++ecu) {
            while (sent + load.framesPerMs > g_cycles[ecu] + kMostUndelivered) {
                std::this_thread::sleep_for(100us);
            }
            for (std::uint64_t i = 0; i < load.framesPerMs; ++i) {
                sendFrame(ecu, sent + i, load.values);
            }
        }
    }
}

/// Waits until all but the last of @p frames have come out: a cycle ends with the next one.
bool awaitCycles(const Load& load, std::uint64_t frames) {
    const auto end = std::chrono::steady_clock::now() + 10s;
    for (std::size_t ecu = 0; ecu < load.ecus; ++ecu) {
        while (g_cycles[ecu] + 1 < frames) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::sleep_for(1ms);
        }
    }
    return true;
}

/// @return what the worker used of a processor, in percent
bench::Figure workerLoad(const Load& load) {
    startEcus(load);
    const std::uint64_t frames = load.framesPerMs * 1000 * kSeconds;
    produce(load, 0, load.framesPerMs);
    bool complete = awaitCycles(load, load.framesPerMs);
    const std::uint64_t wallBefore = bench::wallNs();
    const std::uint64_t workerBefore = g_workerNs;
    produce(load, load.framesPerMs, frames);
    complete = complete && awaitCycles(load, frames);
    const auto wall = static_cast<double>(bench::wallNs() - wallBefore);
    const auto worker = static_cast<double>(g_workerNs - workerBefore);
    EcuDisconnect();
    awaitResult(2);
    if (!complete || g_wrong != 0) {
        return bench::failed(std::to_string(g_wrong) + " cycles wrong" + (complete ? "" : ", some lost"));
    }
    return bench::measured(100.0 * worker / wall);
}

std::uint64_t g_drained = 0;

/// Draining @p waiting frames by one turn of a task object.
bench::Block drainBlock(XCP_MOUDLE::XcpTaskTransmit& task, std::uint64_t waiting) {
    return [&task, waiting] {
        for (std::uint64_t i = 0; i < waiting; ++i) {
            sendFrame(0, i, 3);
        }
        return bench::wallBlock(1, [&task] { task.processDaqFrames(); })();
    };
}

bench::Figure drainManyAndFew() {
    CallBackFuns callBacks;
    callBacks.sndFun = answer;
    callBacks.measureFun = [](const std::string&, std::int32_t, const auto&, const auto&) { ++g_drained; };
    XCP_MOUDLE::XcpTaskTransmit task(makeConfig(0), callBacks);
    task.prepareMeasurement(makeVariables(3));
    task.startMeasurement();
    g_drained = 0;
    constexpr std::uint64_t kMany = XCP_MOUDLE::XcpTaskTransmit::kPendingLimit;
    constexpr std::uint64_t kFew = kMany / 10;
    const bench::Figure figure = bench::compareInterleaved(drainBlock(task, kMany), drainBlock(task, kFew));
    const std::uint64_t sent = (bench::kBlocks + 1) * (kMany + kFew);
    if (g_drained + 1 != sent) {
        return bench::failed(std::to_string(g_drained) + " cycles of " + std::to_string(sent) + " frames");
    }
    return figure;
}

[[maybe_unused]] const bool kAdded[] = {
    bench::addRow({"P7", "worker, 3 ECUs with 20,000 frames/s, 3 values each", "", "% of a processor",
                   bench::atMost(15.0),
                   [] {
                       return workerLoad({3, 20, 3});
                   },
                   bench::Processors::All}),
    bench::addRow({"P7", "worker, one ECU with 60,000 frames/s, 3 values each", "", "% of a processor",
                   bench::atMost(15.0),
                   [] {
                       return workerLoad({1, 60, 3});
                   },
                   bench::Processors::All}),
    bench::addRow({"P7", "worker, one ECU with 60,000 frames/s, 15 values each", "", "% of a processor",
                   bench::atMost(15.0),
                   [] {
                       return workerLoad({1, 60, 15});
                   },
                   bench::Processors::All}),
    bench::addRow({"P7", "worker, 2 XCP and 2 CCP ECUs with 20,000 frames/s, 3 values each", "",
                   "% of a processor", bench::atMost(15.0),
                   [] { return workerLoad({.ecus = 4, .framesPerMs = 20, .values = 3, .ccpEcus = 2}); },
                   bench::Processors::All}),
    bench::addRow(
        {"P8", "draining 2,000 waiting frames", "draining 200", "ns", bench::atMost(15.0), drainManyAndFew}),
};

}  // namespace
