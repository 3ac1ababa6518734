#include "xcp/XcpTaskTransmit.h"

#include "decode/StatusText.h"
#include "transport/MeasurementTask.h"
#include "transport/ResultCode.h"
#include "transport/SystemClock.h"

#include <array>

namespace XCP_MOUDLE {

namespace {

constexpr const char* kSeedKeyEntry = "XCP_ComputeKeyFromSeed";
constexpr std::array kResources{kResourceCalPag, kResourceDaq, kResourceStim, kResourcePgm};

}  // namespace

XcpTaskTransmit::XcpTaskTransmit(const EcuProtoCfg& cfg, const CallBackFuns& callBacks)
    : XcpProtoTransmit(cfg, callBacks),
      m_pollScheduler(std::make_unique<PollScheduler>(
          [this](const mcMeasureVariable& variable, mcMeasureVariableValue& value) {
              return readVariable(variable, value);
          })) {}

std::uint32_t XcpTaskTransmit::connect() {
    resetLink();
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
    if (m_callBacks.xcpSeedLibFun != nullptr && !loadSeedKey(m_callBacks.xcpSeedLibFun, kSeedKeyEntry)) {
        return kResultSeedKeyGenerator;
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
    if (isPeriodOver(now, m_lastSynchTime, m_cfg.xcp.synchPeriodMs)) {
        cmdSynch();
    }
    if (isPeriodOver(now, m_lastStatusTime, m_cfg.xcp.statusPeriodMs) && cmdGetStatus() != 0) {
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
    return responseBudgetMs(m_cfg.xcp.t1, m_cfg.xcp.retryCount, m_cfg.xcp.retryDelayMs);
}

}  // namespace XCP_MOUDLE
