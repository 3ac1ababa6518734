#include "tests/support/YesHost.h"

namespace support {

namespace {

constexpr std::uint8_t kShortUpload = 0xF4;

YesCounts g_counts;
std::atomic<bool> g_answers = true;
std::atomic<YesHost::Receive> g_receive = nullptr;

std::uint32_t send(std::uint8_t channel, std::uint32_t /*id*/, std::uint8_t /*flags*/,
                   std::uint8_t /*length*/, const std::uint8_t* /*data*/) {
    ++g_counts.calls;
    ++g_counts.sent;
    const std::uint8_t positive[8] = {0xFF};
    const std::uint8_t dto[2] = {0x00, 0x11};
    if (g_answers) {
        const YesHost::Receive receive = g_receive;
        receive(0, 1, channel, 2, 8, positive);
        receive(0, 2, channel, 2, 2, dto);
    }
    return 0;
}

void takeResult(std::uint32_t command, std::uint8_t result, const std::vector<std::string>* /*details*/) {
    ++g_counts.calls;
    g_counts.connects += command == 1 && result == 0;
}

void takeValues(const std::string& /*ecu*/, std::int32_t kind,
                const std::vector<mcMeasureVariableValue>& /*values*/,
                const std::vector<std::string>& /*rejected*/) {
    ++g_counts.calls;
    g_counts.polled += kind == 1;
    g_counts.daqCycles += kind == 2;
}

}  // namespace

void YesHost::begins(Receive receive) {
    g_answers = true;
    g_counts.calls = g_counts.connects = g_counts.polled = g_counts.daqCycles = g_counts.sent = 0;
    g_receive = receive;
}

void YesHost::answers(bool answers) {
    g_answers = answers;
}

CallBackFuns YesHost::callBacks() {
    CallBackFuns table;
    table.sndFun = send;
    table.taskResultFun = takeResult;
    table.measureFun = takeValues;
    return table;
}

void YesHost::takeLog(std::uint32_t /*level*/, std::uint64_t /*timeMs*/, const std::string& /*text*/) {
    ++g_counts.calls;
}

EcuProtoCfg YesHost::configuration(std::int32_t retryCount, std::uint16_t timeoutMs) {
    EcuProtoCfg cfg;
    cfg.ecuName = std::string("a");  // optimised, g++ 12 warns of the assignment of one character
    cfg.xcp.t1 = timeoutMs;
    cfg.xcp.retryCount = retryCount;
    cfg.xcp.statusPeriodMs = 1;
    cfg.xcp.events[1].maxDaqList = 1;
    cfg.supportedCmds = {kShortUpload};
    return cfg;
}

std::vector<mcMeasureVariable> YesHost::variables(std::uint32_t size, std::uint16_t event,
                                                  std::uint32_t address) {
    std::vector<mcMeasureVariable> made(2);
    made[0].name = "daq";
    made[1].name = "polled";
    made[1].period = 1;
    for (mcMeasureVariable& variable : made) {
        variable.address = address;
        variable.size = size;
        variable.event = event;
    }
    return made;
}

const YesCounts& YesHost::counts() {
    return g_counts;
}

bool YesHost::hasMeasured() {
    return g_counts.polled > 1 && g_counts.daqCycles > 1;
}

}  // namespace support
