// Uses the installed library: connects to an ECU, measures a variable ten times, disconnects.
#include "ToyEcu.h"

#include <TalvexSDK.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kWantedValues = 10;
constexpr std::uint16_t kPeriodMs = 10;

ToyEcu ecu;

// What the callbacks note for the main thread.
std::mutex mutex;
std::condition_variable noted;
std::map<std::uint32_t, std::uint8_t> results;  // by command; guarded by mutex
std::vector<std::uint32_t> values;              // guarded by mutex

std::uint32_t send(std::uint8_t, std::uint32_t id, std::uint8_t, std::uint8_t length,
                   const std::uint8_t* data) {
    ecu.take(id, length, data);
    return 0;
}

void onResult(std::uint32_t command, std::uint8_t result, const std::vector<std::string>*) {
    const std::lock_guard<std::mutex> lock(mutex);
    results[command] = result;
    noted.notify_all();
}

void onValues(const std::string&, std::int32_t, const std::vector<mcMeasureVariableValue>& measured,
              const std::vector<std::string>&) {
    const std::lock_guard<std::mutex> lock(mutex);
    for (const mcMeasureVariableValue& value : measured) {
        std::uint32_t number = 0;
        for (std::size_t i = value.data.size(); i > 0; --i) {
            number = number << 8 | value.data[i - 1];
        }
        values.push_back(number);
    }
    noted.notify_all();
}

EcuProtoCfg configuration() {
    EcuProtoCfg cfg;
    cfg.ecuName = "toy";
    cfg.canIdMaster = ToyEcu::kMasterId;
    cfg.canIdSlave = ToyEcu::kSlaveId;
    cfg.xcp.t1 = 1000;  // milliseconds
    cfg.xcp.pollPeriodMs = kPeriodMs;
    cfg.supportedCmds = {0xF4};  // SHORT_UPLOAD
    return cfg;
}

mcMeasureVariable counter() {
    mcMeasureVariable variable;
    variable.name = "counter";
    variable.address = ToyEcu::kCounterAddress;
    variable.size = ToyEcu::kCounterSize;
    return variable;
}

// Waits for the result of a command. Returns true if it came and is a success.
bool succeeds(std::uint32_t command) {
    std::unique_lock<std::mutex> lock(mutex);
    return noted.wait_for(lock, std::chrono::minutes(1), [&] { return results.count(command) != 0; }) &&
           results[command] == 0;
}

// Waits for values. Returns true if they came and count up one by one.
bool countsUp() {
    std::unique_lock<std::mutex> lock(mutex);
    if (!noted.wait_for(lock, std::chrono::minutes(1), [] { return values.size() >= kWantedValues; })) {
        return false;
    }
    for (std::size_t i = 1; i < values.size(); ++i) {
        if (values[i] != values[i - 1] + 1) {
            return false;
        }
    }
    return true;
}

bool tell(const char* step, bool good) {
    std::printf("%s: %s\n", step, good ? "good" : "FAILED");
    return good;
}

bool session() {
    EcuConnect({"toy"});
    if (!tell("connect", succeeds(1))) {
        return false;
    }
    StartMeasurement({{"toy", {counter()}}});
    const bool measured = tell("start", succeeds(5)) && tell("measure", countsUp());
    StopMeasurement();
    EcuDisconnect();
    return tell("disconnect", succeeds(2)) && measured;
}

}  // namespace

int main() {
    CallBackFuns callbacks;
    callbacks.sndFun = send;
    callbacks.taskResultFun = onResult;
    callbacks.measureFun = onValues;
    setCallBackFuns(callbacks);
    setProtoCfgs({configuration()});
    return session() ? 0 : 1;
}
