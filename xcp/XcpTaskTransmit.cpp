#include "xcp/XcpTaskTransmit.h"

#include "decode/StatusText.h"
#include "transport/ResultCode.h"
#include "transport/SystemClock.h"

#include <algorithm>
#include <array>
#include <limits>

namespace XCP_MOUDLE {

namespace {

constexpr const char* kSeedKeyEntry = "XCP_ComputeKeyFromSeed";
constexpr std::array kResources{kResourceCalPag, kResourceDaq, kResourceStim, kResourcePgm};

/// Counts as T1 in the response budget if none is configured.
constexpr std::int64_t kDefaultTimeoutMs = 25;

/// @return true if @p periodMs is set and has passed since @p last, which then becomes @p now
bool isDue(std::uint64_t now, std::uint64_t& last, std::uint32_t periodMs) {
    if (periodMs == 0 || now - last < std::uint64_t{periodMs} * 1000) {
        return false;
    }
    last = now;
    return true;
}

}  // namespace

XcpTaskTransmit::XcpTaskTransmit(const EcuProtoCfg& cfg, const CallBackFuns& callBacks)
    : XcpProtoTransmit(cfg, callBacks),
      m_pollScheduler(std::make_unique<PollScheduler>(
          [this](const mcMeasureVariable& variable, mcMeasureVariableValue& value) {
              return readVariable(variable, value);
          })) {}

std::uint32_t XcpTaskTransmit::connect() {
    m_linkLost = false;
    m_lastStatus = m_cfg.protoType != 0 ? kStatusSuccess : 0U;
    if (cmdConnect(0) != 0) {
        return kResultConnect;
    }
    if (isSupported(kGetCommModeInfo) && cmdGetCommModeInfo() != 0) {
        return kResultGetCommModeInfo;
    }
    if (m_cfg.seedkey_path.empty() || !isSupported(kGetSeed)) {
        writeLog(kLogWarning, "seedkey_path or XCP_GET_SEED_CMD not found");
        return kResultOk;
    }
    if (cmdGetStatus() != 0) {
        return kResultGetStatus;
    }
    return unlockAll();
}

std::uint32_t XcpTaskTransmit::unlockAll() {
    if (m_callBacks.xcpSeedLibFun != nullptr) {
        m_lib = m_callBacks.xcpSeedLibFun(m_cfg.seedkey_path.c_str(), kSeedKeyEntry);
        if (!m_lib) {
            writeLog(kLogError, "SeedKey dll load failed, seedkey_path=" + m_cfg.seedkey_path);
            return kResultSeedKeyGenerator;
        }
    }
    for (const std::uint8_t resource : kResources) {
        // Looked at afresh for each resource: one UNLOCK may drop several protections.
        const std::uint32_t locked = m_cfg.xcp.resource & m_cfg.xcp.protectionStatus & m_cfg.xcp.unlockMask;
        if ((locked & resource) != 0 && unlockResource(resource) != 0) {
            return kResultSeedUnlock;
        }
    }
    m_lib = nullptr;
    return kResultOk;
}

std::uint32_t XcpTaskTransmit::disconnect() {
    m_pollScheduler->clear();
    return cmdDisconnect();
}

void XcpTaskTransmit::keepAlive() {
    const std::uint64_t now = systemMicros();
    if (isDue(now, m_lastSynchTime, m_cfg.xcp.synchPeriodMs)) {
        cmdSynch();
    }
    if (isDue(now, m_lastStatusTime, m_cfg.xcp.statusPeriodMs) && cmdGetStatus() != 0) {
        writeLog(kLogWarning, "Send GetStatus failed.");
    }
}

bool XcpTaskTransmit::isLinkLost() {
    return m_lastStatus == kStatusNoAnswer;
}

std::string XcpTaskTransmit::lastErrorText() {
    return xcpStatusText(m_lastStatus);
}

std::int32_t XcpTaskTransmit::responseBudget() {
    const std::int64_t timeoutMs = m_cfg.xcp.t1 != 0 ? m_cfg.xcp.t1 : kDefaultTimeoutMs;
    const std::int64_t repeats = std::max(m_cfg.xcp.retryCount, 0);
    const std::int64_t budget = m_cfg.xcp.retryDelayMs * repeats + timeoutMs * (repeats + 1);
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(budget, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace XCP_MOUDLE
