/// @file
/// `CcpTaskTransmit`: from a list of variables to values.
#include "ccp/CcpTaskTransmit.h"
#include "daq/CycleUnit.h"
#include "transport/MeasurementTask.h"
#include "transport/ResultCode.h"

#include <algorithm>
#include <map>
#include <utility>

namespace CCP_MOUDLE {

namespace {

/// Modes of START_STOP.
enum StartStopMode : std::uint8_t { kStop = 0, kStart = 1, kPrepare = 2 };

constexpr std::uint32_t kShortUpLimit = 6;  ///< smaller variables go by SHORT_UP

/// Where a pending frame goes. Answers and event messages stay for whoever waits.
FrameFate fateOf(const EcuProtoCfg& cfg, const msgBuf& frame) {
    const bool isAnswer = frame.id == cfg.canIdSlave && frame.data[0] >= kEventMessage;
    return isAnswer ? FrameFate::kKeep : FrameFate::kDecode;
}

}  // namespace

std::uint32_t CcpTaskTransmit::prepareMeasurement(const std::vector<mcMeasureVariable>& variables) {
    return prepareMeasurementOn(*this, m_daq, *m_pollScheduler, variables, m_cfg.ccp.pollPeriodMs,
                                [this] { return askDaqSizes(); });
}

/// A list whose size the ECU does not tell stays as configured.
std::uint32_t CcpTaskTransmit::askDaqSizes() {
    if (m_cfg.ccp.queryDaqSizes == 0) {
        return kResultOk;
    }
    for (std::uint32_t number = m_cfg.ccp.firstDaqList; number < m_cfg.ccp.daqListLimit; ++number) {
        const auto list = m_cfg.ccp.daqLists.find(static_cast<std::uint16_t>(number));
        if (list == m_cfg.ccp.daqLists.end()) {
            continue;
        }
        std::uint8_t odtCount = 0;
        std::uint8_t firstPid = 0;
        if (cmdGetDaqSize(static_cast<std::uint8_t>(number), m_cfg.canIdSlave, odtCount, firstPid) == 0) {
            list->second.odtCount = odtCount;
            list->second.firstPid = firstPid;
        }
    }
    return kResultOk;
}

/// The last ODT of START_STOP is the last PID when a list is prepared or stopped, and the index of its last
/// ODT when it is started: the ECUs this serves expect just that.
std::uint32_t CcpTaskTransmit::startMeasurement() {
    if (m_cfg.ccp.pollPeriodMs != 0) {
        return kResultOk;
    }
    const std::map<std::uint16_t, DaqListPlan> lists = m_daq.m_daqLists;
    for (const auto& [list, plan] : lists) {
        writeList(list, plan);
    }
    for (const auto& [list, plan] : lists) {
        startStop(kStart, list, plan, static_cast<std::uint8_t>(plan.odts.size() - 1));
    }
    return kResultOk;
}

void CcpTaskTransmit::writeList(std::uint16_t list, const DaqListPlan& plan) {
    for (std::size_t odt = 0; odt < plan.odts.size(); ++odt) {
        writeOdt(list, odt, plan);
    }
    startStop(kPrepare, list, plan, plan.lastPid);
}

/// SET_DAQ_PTR counts bytes and not elements. A refused WRITE_DAQ sends its piece to polling; what stands
/// behind it in the ODT is neither measured nor polled.
void CcpTaskTransmit::writeOdt(std::uint16_t list, std::size_t odt, const DaqListPlan& plan) {
    std::uint32_t position = 0;
    for (const DaqOdtEntry& entry : plan.odts[odt].entries) {
        if (cmdSetDaqPtr(static_cast<std::uint8_t>(list), static_cast<std::uint8_t>(odt),
                         static_cast<std::uint8_t>(position)) != 0) {
            writeLog(kLogError, "CCP SetDaqPtr failed");
            return;
        }
        position += entry.size;
        if (cmdWriteDaq(static_cast<std::uint8_t>(entry.size), entry.addressExtension, entry.address) != 0) {
            const auto period = static_cast<std::uint32_t>(eventPeriod(plan.event));
            m_pollScheduler->add(entry.name, entry, period & 0xFFFF);
            writeLog(kLogError, "CCP WriteDaq failed");
            return;
        }
    }
}

void CcpTaskTransmit::startStop(std::uint8_t mode, std::uint16_t list, const DaqListPlan& plan,
                                std::uint8_t lastOdt) {
    cmdStartStop(mode, static_cast<std::uint8_t>(list), lastOdt, static_cast<std::uint8_t>(plan.event),
                 m_cfg.ccp.prescaler);
}

double CcpTaskTransmit::eventPeriod(std::uint16_t event) const {
    return eventPeriodMs(m_cfg.ccp.events, event, m_cfg.ccp.pollPeriodMs);
}

void CcpTaskTransmit::stopMeasurement() {
    if (m_cfg.ccp.pollPeriodMs == 0 && !m_daq.m_daqLists.empty()) {
        const std::map<std::uint16_t, DaqListPlan> lists = m_daq.m_daqLists;
        for (const auto& [list, plan] : lists) {
            startStop(kStop, list, plan, plan.lastPid);
        }
        if (isSupported(kStartStopAll)) {
            cmdStartStopAll();
        }
    }
    m_daq.reset();
    m_pollScheduler->clear();
}

bool CcpTaskTransmit::processDaqFrames() {
    deliverDaqFrames(*this, m_daq, fateOf);
    return true;
}

void CcpTaskTransmit::pollTick() {
    deliverPolled(*this, *m_pollScheduler);
}

std::vector<mcMeasureVariableValue> CcpTaskTransmit::readVariables(
    const std::vector<mcMeasureVariable>& variables) {
    return readAndDeliver(*this, variables, [this](const auto& variable, mcMeasureVariableValue& value) {
        return readVariable(variable, value) == static_cast<std::int32_t>(kResultOk);
    });
}

std::int32_t CcpTaskTransmit::readVariable(const mcMeasureVariable& variable, mcMeasureVariableValue& value) {
    std::vector<std::uint8_t> data;
    const std::uint32_t result = readBytes(variable, data);
    if (result == kResultOk) {
        value = valueReadNow(variable, std::move(data));
    }
    return static_cast<std::int32_t>(result);
}

std::uint32_t CcpTaskTransmit::readBytes(const mcMeasureVariable& variable, std::vector<std::uint8_t>& data) {
    if (variable.size == 0) {
        return kResultUpload;
    }
    if (variable.size < kShortUpLimit && isSupported(kShortUp)) {
        auto count = static_cast<std::uint8_t>(variable.size);
        data.resize(count);
        if (cmdShortUp(variable.address, variable.addressExtension, data.data(), count) != 0) {
            return kResultShortUpload;
        }
        data.resize(count);  // fewer bytes than wanted count as read
        return kResultOk;
    }
    if (cmdSetMta(variable.address, variable.addressExtension) != 0) {
        return kResultSetMta;
    }
    return uploadBlock(data, variable.size) < variable.size ? kResultUpload : kResultOk;
}

}  // namespace CCP_MOUDLE
