#include "xcp/XcpProtoTransmit.h"

#include "decode/StatusText.h"
#include "transport/StopFlag.h"

#include <algorithm>
#include <array>

namespace XCP_MOUDLE {

namespace {

/// Hosts tell the protocols apart by these heads: XCP has six equal signs, CCP five.
constexpr std::string_view kTraceSent = "======>  SND DATA:[";
constexpr std::string_view kTraceReceived = "======>  RCV DATA:[";

constexpr std::chrono::milliseconds kWaitSlice{5};
constexpr std::size_t kClassicCapacity = 8;
constexpr std::size_t kFdCapacity = 64;

/// Which of the protocol's times a command waits on.
struct TimeoutRow {
    std::uint8_t pid;
    std::uint16_t XcpCfg::*time;
};

constexpr std::array<TimeoutRow, 9> kTimeouts{{
    {kProgramVerify, &XcpCfg::t3},
    {kProgramPrepare, &XcpCfg::t3},
    {kProgramStart, &XcpCfg::t3},
    {kProgramClear, &XcpCfg::t4},
    {kProgramMax, &XcpCfg::t5},
    {kProgramNext, &XcpCfg::t5},
    {kProgramReset, &XcpCfg::t5},
    {kProgram, &XcpCfg::t5},
    {kBuildChecksum, &XcpCfg::t2},
}};

/// The status that a response stands for. An error packet without a code, and one that only acknowledges a
/// SYNCH, count as success.
std::uint32_t statusOf(const msgBuf& response) {
    const bool isError = response.data[0] == kError && response.length >= 2;
    if (!isError || response.data[1] == kErrCmdSynch) {
        return kStatusSuccess;
    }
    return response.data[1];
}

bool isSuccess(std::uint32_t status) {
    return status == kStatusSuccess;
}

bool isBusy(std::uint32_t status) {
    return status == kErrCmdBusy || status == kErrPgmActive;
}

}  // namespace

XcpProtoTransmit::XcpProtoTransmit(const EcuProtoCfg& cfg, const CallBackFuns& callBacks)
    : BasicCfgTransmit(cfg, callBacks) {}

std::uint32_t XcpProtoTransmit::sendFrame(msgBuf& frame) {
    const std::lock_guard lock(m_mutex);
    dropStaleResponses();
    if (refusesFrames()) {
        return 0;
    }
    const std::size_t capacity = m_cfg.masterFd != 0 ? kFdCapacity : kClassicCapacity;
    const std::size_t sentLength = pad(frame, capacity, m_cfg.padByte);
    return transmit(frame, {kTraceSent, kTraceReceived}, sentLength, sentLength);
}

std::uint32_t XcpProtoTransmit::receiveResponse(const msgBuf& request, msgBuf& response,
                                                std::int32_t timeoutMs) {
    const std::lock_guard lock(m_mutex);
    response.length = 0;
    if (timeoutMs < 1) {
        return kStatusNoAnswer;
    }
    const auto isResponse = [this](const msgBuf& frame) {
        return frame.id == m_cfg.canIdSlave && frame.data[0] >= kError;
    };
    Deadline deadline(timeoutMs);
    while (awaitPending(response, isResponse, deadline, kWaitSlice)) {
        traceResponse(request, response, {kTraceSent, kTraceReceived});
        const std::uint32_t status = statusOf(response);
        if (!isBusy(status)) {
            if (status != kStatusSuccess) {
                writeLog(kLogWarning, xcpStatusText(status));
            }
            return status;
        }
        deadline.restart(m_cfg.xcp.t7);
    }
    return kStatusNoAnswer;
}

bool XcpProtoTransmit::exchange(msgBuf& request, msgBuf& response) {
    if (refusesToSend()) {
        return false;
    }
    const std::lock_guard lock(m_mutex);
    const std::uint8_t secondByte = request.length > 1 ? request.data[1] : std::uint8_t{0};
    const std::uint16_t timeoutMs = commandTimeout(request.data[0], secondByte);
    if (attempt(request, response, timeoutMs) == kStatusSuccess) {
        m_lastResponse = response;
        return true;
    }
    // A response that a repeat won stays out of m_lastResponse: channel hosts are handed the last response of
    // a first attempt.
    if (repeatExchange(request, response, timeoutMs,
                       {m_cfg.xcp.retryCount, m_cfg.xcp.retryDelayMs, isSuccess})) {
        return true;
    }
    if (m_lastStatus == kStatusNoAnswer) {
        m_linkLost = true;
    }
    return false;
}

bool XcpProtoTransmit::refusesToSend() {
    if (m_linkLost) {
        writeLog(kLogError, "连接已断开");
    }
    return m_linkLost;
}

std::uint16_t XcpProtoTransmit::commandTimeout(std::uint8_t pid, std::uint8_t secondByte) const {
    if (pid == kConnect && secondByte == 1) {
        return m_cfg.xcp.t6;
    }
    const auto row = std::find_if(kTimeouts.begin(), kTimeouts.end(),
                                  [pid](const TimeoutRow& candidate) { return candidate.pid == pid; });
    return row == kTimeouts.end() ? m_cfg.xcp.t1 : m_cfg.xcp.*(row->time);
}

std::uint32_t XcpProtoTransmit::run(CommandFrame& command, msgBuf& response) {
    return exchange(command.frame(), response) ? 0 : 1;
}

std::uint32_t XcpProtoTransmit::run(CommandFrame& command) {
    msgBuf response;
    return run(command, response);
}

std::uint32_t XcpProtoTransmit::runAndKeep(CommandFrame command,
                                           const std::function<void(const msgBuf&)>& keep) {
    msgBuf response;
    if (run(command, response) != 0) {
        return 1;
    }
    const std::lock_guard lock(m_mutex);
    keep(response);
    return 0;
}

}  // namespace XCP_MOUDLE
