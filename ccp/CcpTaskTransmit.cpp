#include "ccp/CcpTaskTransmit.h"

#include "decode/StatusText.h"
#include "transport/MeasurementTask.h"
#include "transport/ResultCode.h"
#include "transport/SystemClock.h"

#include <algorithm>
#include <array>
#include <random>

namespace CCP_MOUDLE {

namespace {

constexpr const char* kSeedKeyEntry = "ASAP1A_CCP_ComputeKeyFromSeed";
constexpr std::array kResources{kResourceCal, kResourceDaq, kResourcePgm};

/// Session status bits that a master sets: calibration, DAQ, run.
constexpr std::uint8_t kSessionBits = 0x83;

/// "mast" and 15 random bits, so that two masters on one bus can be told apart.
std::array<std::uint8_t, 6> makeMasterId() {
    std::random_device seed;
    std::mt19937 generator(seed());
    const auto number = static_cast<std::uint16_t>(generator() >> 17);
    return {'m', 'a', 's', 't', static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8)};
}

}  // namespace

CcpTaskTransmit::CcpTaskTransmit(const EcuProtoCfg& cfg, const CallBackFuns& callBacks)
    : CcpProtoTransmit(cfg, callBacks),
      m_pollScheduler(std::make_unique<PollScheduler>(
          [this](const mcMeasureVariable& variable, mcMeasureVariableValue& value) {
              return readVariable(variable, value);
          })) {}

std::uint32_t CcpTaskTransmit::connect() {
    resetLink();
    if (cmdConnect(m_cfg.ccp.stationAddress) != 0) {
        return kResultConnect;
    }
    bool isVersion2 = false;
    if (cmdGetCcpVersion(isVersion2) != 0) {
        return kResultGetCcpVersion;
    }
    if (!isVersion2) {
        return kResultVersionMismatch;
    }
    const std::uint32_t result = identify();
    return result != kResultOk ? result : enterSession();
}

std::uint32_t CcpTaskTransmit::identify() {
    m_masterId = makeMasterId();
    std::uint8_t slaveIdLength = 0;
    std::uint8_t resources = 0;
    if (cmdExchangeId(m_masterId, slaveIdLength, resources) != 0) {
        return kResultExchangeId;
    }
    if (slaveIdLength != 0) {
        uploadBlock(m_slaveId.data(), slaveIdLength);  // the ECU's MTA stands at the identification
        writeLog(kLogProgress,
                 "Get slave id :" + std::string(m_slaveId.begin(), m_slaveId.begin() + slaveIdLength));
    }
    return unlockAll(resources);
}

std::uint32_t CcpTaskTransmit::unlockAll(std::uint8_t resources) {
    if (m_callBacks.ccpSeedLibFun == nullptr || m_cfg.seedkey_path.empty()) {
        return kResultOk;
    }
    if (!loadSeedKey(m_callBacks.ccpSeedLibFun, kSeedKeyEntry)) {
        return kResultSeedKey;
    }
    for (const std::uint8_t resource : kResources) {
        if ((resources & m_cfg.ccp.unlockMask & resource) != 0 && unlockResource(resource) != 0) {
            return kResultSeedKey;
        }
    }
    m_lib = nullptr;
    return kResultOk;
}

std::uint32_t CcpTaskTransmit::enterSession() {
    std::uint32_t pageAddress = 0;
    std::uint8_t pageExtension = 0;
    if (isSupported(kGetActiveCalPage) && cmdGetActiveCalPage(pageAddress, pageExtension) != 0) {
        writeLog(kLogWarning, "Send GetActiveCalPage failed.");
    }
    std::uint8_t status = 0;
    if (isSupported(kGetSStatus) && cmdGetSStatus(status) != 0) {
        writeLog(kLogWarning, "Send GetStatus failed.");
    }
    if (isSupported(kSetSStatus) && cmdSetSStatus(status | kSessionBits) != 0) {
        // The words are those of the other command; hosts know the line as it is.
        writeLog(kLogError, "Send GetStatus failed.");
        return kResultConnect;
    }
    if (isSupported(kGetSStatus) && cmdGetSStatus(status) != 0) {
        return kResultConnect;
    }
    return kResultOk;
}

std::uint32_t CcpTaskTransmit::disconnect() {
    m_pollScheduler->clear();
    return cmdDisconnect(m_cfg.ccp.stationAddress) ? 1 : 0;
}

void CcpTaskTransmit::keepAlive() {
    if (!isPeriodOver(systemMicros(), m_lastStatusPoll, m_cfg.ccp.statusPeriodMs) ||
        !isSupported(kGetSStatus)) {
        return;
    }
    std::uint8_t status = 0;
    if (cmdGetSStatus(status) != 0) {
        writeLog(kLogWarning, "Send GetStatus failed.");
    }
}

bool CcpTaskTransmit::isLinkLost() {
    return statusClass(m_lastStatus) == StatusClass::kRefused;  // silence is one of them
}

std::string CcpTaskTransmit::lastErrorText() {
    return ccpStatusText(m_lastStatus);
}

std::int32_t CcpTaskTransmit::responseBudget() {
    return responseBudgetMs(m_cfg.ccp.timeoutMs, m_cfg.ccp.retryCount, m_cfg.ccp.retryDelayMs);
}

}  // namespace CCP_MOUDLE
