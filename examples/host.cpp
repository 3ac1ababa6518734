// A host in one file, read from top to bottom: configuration, callbacks, connect, measure, write, flash,
// disconnect. Its ECU is simulated; where simulated_bus.h stands, a host of your own has its CAN driver.
#include "examples/simulated_bus.h"

#include <TalvexSDK.h>  // brings the containers of its records along

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>

using Bytes = std::vector<std::uint8_t>;

// The configuration. A tool would read it from a file of its own: the library keeps none.
static EcuProtoCfg configuration() {
    EcuProtoCfg cfg;  // XCP on classic CAN unless told otherwise
    cfg.ecuName = "engine";
    cfg.canIdMaster = 0x600;
    cfg.canIdSlave = 0x601;
    XcpCfg& xcp = cfg.xcp;
    xcp.t1 = xcp.t2 = xcp.t3 = xcp.t4 = xcp.t5 = xcp.t6 = xcp.t7 = 2000;  // milliseconds
    xcp.daqListPrescaler = 1;
    // Optional commands are sent only if they stand here: seed and key, reading, checksums, DAQ, programming.
    cfg.supportedCmds = {0xF8, 0xF7, 0xF4, 0xF3, 0xDA, 0xD9, 0xD7, 0xE0, 0xD2};
    cfg.seedkey_path = "engine";  // what the loader below is asked for
    mcMemoryInfo flash;
    flash.address = 0x8000;
    flash.length = 0x400;
    flash.programType = 1;   // no pages to select
    flash.checksumType = 1;  // checked; which checksum, the ECU says
    cfg.codeSegments = {flash};
    return cfg;
}

static mcMeasureVariable variable(const char* name, std::uint32_t address, std::uint32_t size) {
    mcMeasureVariable made;
    made.name = name;
    made.address = address;
    made.size = size;  // `event` stays 0, a channel of 10 ms
    return made;
}

// The callbacks run on threads of the library: they note what they are told, and main waits for it.
static std::mutex g_mutex;  // guards all below
static std::condition_variable g_noted;
static std::map<std::uint32_t, std::uint8_t> g_results;  // by command
static std::vector<Bytes> g_values;
static std::vector<mcMemoryData> g_checked;

static CallBackFuns callbacks() {
    CallBackFuns funs;
    funs.sndFun = [](std::uint8_t, std::uint32_t id, std::uint8_t, std::uint8_t length,
                     const std::uint8_t* data) -> std::uint32_t {
        simulatedBusSend(id, length, data);
        return 0;
    };
    funs.taskResultFun = [](std::uint32_t command, std::uint8_t result, const std::vector<std::string>*) {
        const std::lock_guard<std::mutex> lock(g_mutex);
        g_results[command] = result;
        g_noted.notify_all();
    };
    funs.measureFun = [](const std::string&, std::int32_t, const std::vector<mcMeasureVariableValue>& values,
                         const std::vector<std::string>&) {
        const std::lock_guard<std::mutex> lock(g_mutex);
        g_values.push_back(values.front().data);  // one variable, the bytes as the ECU sent them
        g_noted.notify_all();
    };
    funs.memResultFun = [](std::uint32_t command, std::uint32_t result, std::vector<mcMemoryData> data) {
        const std::lock_guard<std::mutex> lock(g_mutex);
        g_results[command] = static_cast<std::uint8_t>(result);  // 12 and 13: progress in percent
        g_checked = data;
        g_noted.notify_all();
    };
    // A host would open the library of the ECU's maker here and look up the function that it is told.
    funs.xcpSeedLibFun = [](const char*, const char*) -> SeedKeyFun {
        return [](std::uint8_t resource, std::uint8_t length, std::uint8_t* seed, std::uint8_t* keyLength,
                  std::uint8_t* key) {
            simulatedBusKey(resource, length, seed, key);
            *keyLength = length;
            return 1;
        };
    };
    return funs;
}

static void check(bool good, const char* what, const std::string& why) {
    if (!good) {
        std::fprintf(stderr, "%s: %s\n", what, why.c_str());
        std::fflush(stdout);
        std::_Exit(1);
    }
}

static void await(const char* what, const std::function<bool()>& condition) {
    std::unique_lock<std::mutex> lock(g_mutex);
    check(g_noted.wait_for(lock, std::chrono::minutes(1), condition), what, "nothing came");
}

// Commands only queue: each has a number under which its result comes, 0 for success.
static void awaitResult(const char* what, std::uint32_t command) {
    await(what, [&] { return g_results.count(command) != 0; });
    const std::lock_guard<std::mutex> lock(g_mutex);
    check(g_results[command] == 0, what, getErrorString(g_results[command]));
    g_results.clear();
    std::puts(what);
}

static void connect() {
    EcuConnect({"engine"});  // with seed and key
    awaitResult("connected", 1);
}

static void session() {
    connect();
    StartMeasurement({{"engine", {variable("count", 0x1000, 4)}}});
    await("values", [] { return g_values.size() >= 20; });
    StopMeasurement();
    awaitResult("measured", 6);

    const mcMeasureVariable limit = variable("limit", 0x2000, 2);
    CalibrationVar("engine", limit, {0x34, 0x12});
    awaitResult("written", 8);  // also if the ECU refused it: a host reads it back
    MeasureVars("engine", {limit});
    awaitResult("read", 7);
    check(g_values.back() == Bytes{0x34, 0x12}, "limit", "reads differently");

    const std::list<mem_buf> image = {{0x8000, Bytes(0x400, 0x5A)}};  // or ParseMemFile("app.hex")
    EarseEcu("engine", mcMemCode);
    awaitResult("erased", 15);
    connect();  // the ECU started anew
    DownToEcuMem("engine", mcMemCode, image);
    awaitResult("programmed", 11);
    connect();
    CheckEcuMemory("engine", image, mcMemCode);
    awaitResult("checked", 16);
    check(!g_checked.empty() && g_checked[0].data == g_checked[0].expected, "flash", "checksums differ");
    EcuDisconnect();
    awaitResult("disconnected", 2);
}

int main() {
    setCallBackFuns(callbacks());
    setProtoCfgs({configuration()});
    // From here on the library gets every frame of the bus.
    simulatedBusOpen([](auto id, auto at, auto size, auto data) { recvCanMsg(0, at, 0, id, size, data); });
    session();
    simulatedBusClose();
}
