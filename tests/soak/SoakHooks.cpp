#include "tests/soak/SoakHooks.h"

#include "tests/system/BusHost.h"

#include <TalvexSDK.h>

#include <optional>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

namespace soak {
namespace {

constexpr std::int32_t kDaqKind = 2;

struct Target {
    SoakVerdict& verdict;
    FlowMeter& meter;
    std::chrono::microseconds slowness;
};

/// Held shared while a callback uses the target.
std::shared_mutex g_gate;
std::optional<Target> g_target;

void takeLog(std::uint32_t level, std::uint64_t /*timeMs*/, const std::string& text) {
    const std::shared_lock gate(g_gate);
    if (g_target) {
        g_target->verdict.onLog(level, text);
    }
}

void takeResult(std::uint32_t command, std::uint8_t result, const std::vector<std::string>* details) {
    {
        const std::shared_lock gate(g_gate);
        if (g_target && command == systemtest::kLinkLost) {
            g_target->verdict.blame("a link was lost: " + (details->empty() ? "" : details->front()));
        }
        // Nobody takes what came ahead of a measurement or behind it.
        if (g_target && (command == systemtest::kMeasurementBegins || command == systemtest::kStop)) {
            g_target->meter.clear();
        }
    }
    systemtest::BusHost::callBacks().taskResultFun(command, result, details);
}

void takeValues(const std::string& ecuName, std::int32_t kind,
                const std::vector<mcMeasureVariableValue>& values, const std::vector<std::string>& rejected) {
    if (kind == kDaqKind && !values.empty()) {
        const std::shared_lock gate(g_gate);
        if (g_target) {
            g_target->meter.onValues(ecuName, values.front().time, values.size());
            if (g_target->slowness.count() > 0) {
                std::this_thread::sleep_for(g_target->slowness);  // a host that works at its values so long
            }
        }
    }
    systemtest::BusHost::callBacks().measureFun(ecuName, kind, values, rejected);
}

}  // namespace

SoakHooks::SoakHooks(SoakVerdict& verdict, FlowMeter& meter, std::chrono::microseconds slowness) {
    {
        const std::unique_lock gate(g_gate);
        g_target.emplace(Target{verdict, meter, slowness});
    }
    setLogBackFuns(takeLog);
    CallBackFuns table;
    table.taskResultFun = takeResult;
    table.measureFun = takeValues;
    setCallBackFuns(table);
}

SoakHooks::~SoakHooks() {
    const std::unique_lock gate(g_gate);
    g_target.reset();
}

}  // namespace soak
