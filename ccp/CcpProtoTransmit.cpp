#include "ccp/CcpProtoTransmit.h"

#include "decode/StatusText.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace CCP_MOUDLE {

namespace {

/// Hosts tell the protocols apart by these heads: CCP has five equal signs, XCP six.
constexpr std::string_view kTraceSent = "=====>  SND DATA:[";
constexpr std::string_view kTraceReceived = "=====>  RCV DATA:[";

constexpr std::chrono::milliseconds kWaitSlice{10};
constexpr std::int32_t kDefaultTimeoutMs = 25;

/// Time-outs of commands that take longer than the others, in milliseconds.
struct TimeoutRow {
    std::uint8_t code;
    std::int32_t timeoutMs;
};

constexpr std::array<TimeoutRow, 7> kTimeouts{{
    {kBuildChksum, 30000},
    {kClearMemory, 30000},
    {kMove, 30000},
    {kProgram, 100},
    {kProgram6, 100},
    {kDiagService, 500},
    {kActionService, 5000},
}};

/// Classes of statuses; what is not here, an overloaded DAQ processor among them, is a warning.
struct ClassRow {
    std::uint32_t status;
    StatusClass statusClass;
};

constexpr std::array<ClassRow, 17> kClasses{{
    {kStatusSuccess, StatusClass::kDone},
    {0x10, StatusClass::kBusy},
    {0x11, StatusClass::kBusy},
    {0x12, StatusClass::kBusy},
    {0x18, StatusClass::kBusy},
    {0x19, StatusClass::kBusy},
    {0x20, StatusClass::kRequest},
    {0x21, StatusClass::kRequest},
    {0x22, StatusClass::kRequest},
    {0x23, StatusClass::kRequest},
    {0x30, StatusClass::kRefused},
    {0x32, StatusClass::kRefused},
    {0x33, StatusClass::kRefused},
    {0x34, StatusClass::kRefused},
    {0x35, StatusClass::kRefused},
    {0x36, StatusClass::kRefused},
    {kStatusNoAnswer, StatusClass::kRefused},
}};

bool countsAsDone(std::uint32_t status) {
    const StatusClass found = CcpProtoTransmit::statusClass(status);
    return found == StatusClass::kDone || found == StatusClass::kWarning;
}

std::uint8_t returnCodeOf(const msgBuf& response) {
    return response.length >= 2 ? response.data[1] : std::uint8_t{0};
}

}  // namespace

CcpProtoTransmit::CcpProtoTransmit(const EcuProtoCfg& cfg, const CallBackFuns& callBacks)
    : BasicCfgTransmit(cfg, callBacks) {}

/// Padding is always zeros: CCP has no padding byte of its own.
std::uint32_t CcpProtoTransmit::sendFrame(msgBuf& frame) {
    const std::lock_guard lock(m_mutex);
    dropStaleResponses();
    if (refusesFrames()) {
        return 0;
    }
    const std::size_t sentLength = pad(frame, frame.data.size(), 0);
    return transmit(frame, {kTraceSent, kTraceReceived}, frame.length, sentLength);
}

std::uint32_t CcpProtoTransmit::receiveResponse(const msgBuf& request, msgBuf& response,
                                                std::int32_t timeoutMs) {
    const std::lock_guard lock(m_mutex);
    response.length = 0;
    if (timeoutMs < 1) {
        return kStatusNoAnswer;
    }
    const auto isResponse = [this, counter = request.data[1]](const msgBuf& frame) {
        const bool isError = returnCodeOf(frame) != 0;
        const bool isOurs = frame.length >= 3 && frame.data[2] == counter;
        return frame.id == m_cfg.canIdSlave && frame.data[0] == kCommandReturn && (isError || isOurs);
    };
    Deadline deadline(timeoutMs);
    if (!awaitPending(response, isResponse, deadline, kWaitSlice)) {
        return kStatusNoAnswer;
    }
    traceResponse(request, response, {kTraceSent, kTraceReceived});
    const std::uint8_t code = returnCodeOf(response);
    if (code != 0) {
        writeLog(kLogWarning, ccpStatusText(code));
    }
    return code;
}

bool CcpProtoTransmit::exchange(msgBuf& request, msgBuf& response) {
    if (m_linkLost) {
        return false;
    }
    const std::lock_guard lock(m_mutex);
    const std::int32_t timeoutMs = commandTimeout(request.data[0]);
    const std::uint32_t status = attempt(request, response, timeoutMs);
    if (countsAsDone(status)) {
        return true;
    }
    const StatusClass first = statusClass(status);
    if (first == StatusClass::kRefused) {
        m_linkLost = true;
    }
    return repeatExchange(request, response, timeoutMs,
                          {repeatLimit(first), m_cfg.ccp.retryDelayMs, countsAsDone});
}

/// The class found first sets the limit for all repeats. No CCP command is repeated without end.
std::int32_t CcpProtoTransmit::repeatLimit(StatusClass first) const {
    if (first == StatusClass::kBusy) {
        return 2;
    }
    return first == StatusClass::kRequest ? 1 : std::max(m_cfg.ccp.retryCount, 0);
}

bool CcpProtoTransmit::computeKey(std::uint8_t resource, std::uint8_t* seed, std::uint8_t seedLength,
                                  std::uint8_t* key, std::uint8_t& keyLength) {
    return makeKey(resource, seed, seedLength, key, keyLength);
}

std::int32_t CcpProtoTransmit::commandTimeout(std::uint8_t code) const {
    if (m_cfg.ccp.timeoutMs != 0) {
        return m_cfg.ccp.timeoutMs;
    }
    const auto row = std::find_if(kTimeouts.begin(), kTimeouts.end(),
                                  [code](const TimeoutRow& candidate) { return candidate.code == code; });
    return row == kTimeouts.end() ? kDefaultTimeoutMs : row->timeoutMs;
}

StatusClass CcpProtoTransmit::statusClass(std::uint32_t status) {
    const auto row = std::find_if(kClasses.begin(), kClasses.end(),
                                  [status](const ClassRow& candidate) { return candidate.status == status; });
    return row == kClasses.end() ? StatusClass::kWarning : row->statusClass;
}

/// A command with the next counter value. Called with m_mutex held, so that counters leave in order.
CommandFrame CcpProtoTransmit::command(std::uint8_t code, std::uint16_t length) {
    CommandFrame frame(code, length);
    frame.put8(1, m_commandCounter++);
    return frame;
}

std::uint32_t CcpProtoTransmit::run(CommandFrame& frame, msgBuf& response) {
    return exchange(frame.frame(), response) ? 0 : 1;
}

std::uint32_t CcpProtoTransmit::run(CommandFrame& frame) {
    msgBuf response;
    return run(frame, response);
}

}  // namespace CCP_MOUDLE
