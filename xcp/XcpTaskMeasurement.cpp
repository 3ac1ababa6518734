/// @file
/// `XcpTaskTransmit`: from a list of variables to values.
#include "daq/CycleUnit.h"
#include "transport/MeasurementTask.h"
#include "transport/ResultCode.h"
#include "transport/StopFlag.h"
#include "xcp/XcpTaskTransmit.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>
#include <utility>

namespace XCP_MOUDLE {

namespace {

/// Time an ECU is given to take a list, and to start.
constexpr std::chrono::milliseconds kSettleTime{10};

constexpr std::uint8_t kDynamicDaq = 0x01;      ///< bit of DAQ_PROPERTIES
constexpr std::uint8_t kSelectList = 2;         ///< mode of START_STOP_DAQ_LIST
constexpr std::uint8_t kStopAll = 0;            ///< mode of START_STOP_SYNCH
constexpr std::uint8_t kStartSelected = 1;      ///< mode of START_STOP_SYNCH
constexpr std::uint32_t kShortUploadLimit = 5;  ///< smaller variables go by SHORT_UPLOAD
constexpr std::size_t kUploadStep = 255;

std::string shortReadText(const mcMeasureVariable& variable, std::int32_t read) {
    return "readData failed, var: " + variable.name + ", total: " + std::to_string(variable.size) +
           ",read: " + std::to_string(read);
}

/// Where a pending frame goes. Answers stay for whoever waits; packets with 0xFB go only with the next send
/// or a discard.
FrameFate fateOf(const EcuProtoCfg& /*cfg*/, const msgBuf& frame) {
    switch (frame.data[0]) {
        case kPositive:
        case kError:
        case kReserved:
            return FrameFate::kKeep;
        case kEvent:
            return FrameFate::kEvent;
        case kService:
            return FrameFate::kDrop;
        default:
            return FrameFate::kDecode;
    }
}

}  // namespace

std::uint32_t XcpTaskTransmit::prepareMeasurement(const std::vector<mcMeasureVariable>& variables) {
    dropMadeEntries();
    return prepareMeasurementOn(*this, m_daq, *m_pollScheduler, variables, m_cfg.xcp.pollPeriodMs,
                                [this] { return askDaqFacts(); });
}

std::uint32_t XcpTaskTransmit::askDaqFacts() {
    if (isSupported(kGetDaqProcessorInfo) && cmdGetDaqProcessorInfo() != 0) {
        return kResultGetDaqProcessInfo;
    }
    if (isSupported(kGetDaqResolutionInfo) && cmdGetDaqResolutionInfo() != 0) {
        return kResultGetDaqResolutionInfo;
    }
    if (isSupported(kGetDaqEventInfo)) {
        for (std::uint32_t event = 0; event < m_cfg.xcp.maxEventChannel; ++event) {
            cmdGetDaqEventInfo(static_cast<std::uint8_t>(event));  // an event that fails stays as configured
        }
    }
    return kResultOk;
}

std::uint32_t XcpTaskTransmit::startMeasurement() {
    if (m_cfg.xcp.pollPeriodMs != 0) {
        return kResultOk;
    }
    const std::map<std::uint16_t, DaqListPlan> lists = m_daq.m_daqLists;
    if (lists.empty()) {
        return kResultOk;
    }
    writePlan(lists);
    selectLists(lists);
    if (isSupported(kGetDaqClock)) {
        cmdGetDaqClock();
    }
    m_daq.configure(m_cfg);
    if (cmdStartStopSynch(kStartSelected) != 0) {
        return kResultStartStopSynch;
    }
    std::this_thread::sleep_for(kSettleTime);
    return kResultOk;
}

/// Brings the plan to the ECU. What the ECU refuses here shows in its silence later.
void XcpTaskTransmit::writePlan(const std::map<std::uint16_t, DaqListPlan>& lists) {
    if (isDynamic()) {
        allocate(lists);
    } else {
        clearStaticLists();
    }
    for (const auto& [list, plan] : lists) {
        writeList(list, plan);
    }
}

bool XcpTaskTransmit::isDynamic() const {
    return (m_cfg.xcp.daqProperties & kDynamicDaq) != 0;
}

void XcpTaskTransmit::clearStaticLists() {
    for (std::uint32_t list = 0; list < m_cfg.xcp.minDaq; ++list) {
        cmdClearDaqList(static_cast<std::uint16_t>(list));
    }
}

void XcpTaskTransmit::allocate(const std::map<std::uint16_t, DaqListPlan>& lists) {
    cmdFreeDaq();
    cmdAllocDaq(static_cast<std::uint16_t>(lists.size()));
    for (const auto& [list, plan] : lists) {
        cmdAllocOdt(list, static_cast<std::uint8_t>(plan.odts.size()));
    }
    for (const auto& [list, plan] : lists) {
        for (std::size_t odt = 0; odt < plan.odts.size(); ++odt) {
            cmdAllocOdtEntry(list, static_cast<std::uint8_t>(odt),
                             static_cast<std::uint8_t>(plan.odts[odt].entries.size()));
        }
    }
}

/// A piece that the ECU does not take into its list is polled under its variable's name.
void XcpTaskTransmit::writeList(std::uint16_t list, const DaqListPlan& plan) {
    const auto fallbackPeriod =
        static_cast<std::uint16_t>(static_cast<std::uint32_t>(eventPeriodMs(plan.event)));
    for (std::size_t odt = 0; odt < plan.odts.size(); ++odt) {
        cmdSetDaqPtr(list, static_cast<std::uint8_t>(odt), 0);
        for (const DaqOdtEntry& entry : plan.odts[odt].entries) {
            const auto size = static_cast<std::uint8_t>(entry.size);
            if (cmdWriteDaq(entry.type, size, entry.addressExtension, entry.address) != 0) {
                m_pollScheduler->add(entry.name, entry, fallbackPeriod);
            }
        }
    }
}

void XcpTaskTransmit::selectLists(const std::map<std::uint16_t, DaqListPlan>& lists) {
    for (const auto& [list, plan] : lists) {
        if (stopFlag().isStopped()) {
            return;
        }
        selectList(list, plan);
        std::this_thread::sleep_for(kSettleTime);
    }
}

void XcpTaskTransmit::selectList(std::uint16_t list, const DaqListPlan& plan) {
    if (isSupported(kSetDaqListMode)) {
        const auto [event, made] = m_cfg.xcp.events.try_emplace(plan.event);
        if (made) {
            m_madeEvents.insert(plan.event);
        }
        cmdSetDaqListMode(m_cfg.xcp.daqListMode, list, plan.event, m_cfg.xcp.daqListPrescaler,
                          event->second.priority);
    }
    const bool known = m_cfg.xcp.daqListInfo.contains(list);
    cmdStartStopDaqList(kSelectList, list);
    if (!known) {
        m_madeListInfo.insert(list);
    }
    if (!isDynamic()) {
        takeStaticPids(list);
    }
}

void XcpTaskTransmit::takeStaticPids(std::uint16_t list) {
    const auto info = m_cfg.xcp.daqListInfo.find(list);
    const auto planned = m_daq.m_daqLists.find(list);
    if (planned == m_daq.m_daqLists.end()) {
        return;
    }
    DaqListPlan& plan = planned->second;
    plan.firstPid = info != m_cfg.xcp.daqListInfo.end() ? info->second.firstPid : std::uint8_t{0};
    const std::size_t behindFirst = plan.odts.empty() ? 0 : plan.odts.size() - 1;
    plan.lastPid = static_cast<std::uint8_t>(plan.firstPid + behindFirst);
}

void XcpTaskTransmit::dropMadeEntries() {
    const std::lock_guard lock(m_mutex);
    for (const std::uint16_t list : m_madeListInfo) {
        m_cfg.xcp.daqListInfo.erase(list);
    }
    for (const std::uint16_t event : m_madeEvents) {
        m_cfg.xcp.events.erase(event);
    }
    m_madeListInfo.clear();
    m_madeEvents.clear();
}

double XcpTaskTransmit::eventPeriodMs(std::uint16_t event) const {
    return ::eventPeriodMs(m_cfg.xcp.events, event, m_cfg.xcp.pollPeriodMs);
}

void XcpTaskTransmit::stopMeasurement() {
    if (m_cfg.xcp.pollPeriodMs == 0 && !m_daq.m_daqLists.empty()) {
        cmdStartStopSynch(kStopAll);
    }
    m_daq.reset();
    m_pollScheduler->clear();
}

bool XcpTaskTransmit::processDaqFrames() {
    deliverDaqFrames(*this, m_daq, fateOf);
    return false;
}

void XcpTaskTransmit::pollTick() {
    deliverPolled(*this, *m_pollScheduler);
}

/// A variable whose read failed is delivered all the same, with no bytes.
std::vector<mcMeasureVariableValue> XcpTaskTransmit::readVariables(
    const std::vector<mcMeasureVariable>& variables) {
    return readAndDeliver(*this, variables, [this](const auto& variable, mcMeasureVariableValue& value) {
        std::vector<std::uint8_t> data;
        if (!readOrReport(variable, data)) {
            data.clear();
        }
        value = valueReadNow(variable, std::move(data));
        return true;
    });
}

std::int32_t XcpTaskTransmit::readVariable(const mcMeasureVariable& variable, mcMeasureVariableValue& value) {
    if (!isVariableAllowed(variable)) {
        return kResultCheckMeasureVar;
    }
    std::vector<std::uint8_t> data;
    if (!readOrReport(variable, data)) {
        return kResultReadData;
    }
    value = valueReadNow(variable, std::move(data));
    return kResultOk;
}

/// Reads a whole variable, or logs how much came. @return true if all of it came
bool XcpTaskTransmit::readOrReport(const mcMeasureVariable& variable, std::vector<std::uint8_t>& buffer) {
    const std::int32_t read = readVariableData(variable, buffer);
    if (static_cast<std::uint32_t>(read) < variable.size) {
        writeLog(kLogError, shortReadText(variable, read));
        return false;
    }
    buffer.resize(variable.size);
    return true;
}

std::int32_t XcpTaskTransmit::readVariableData(const AddressBlock& block, std::vector<std::uint8_t>& buffer) {
    buffer.clear();
    const std::uint8_t granularity = m_cfg.xcp.addressGranularity;
    if (block.size < kShortUploadLimit && isSupported(kShortUpload)) {
        buffer.resize(kFrameRoom);
        const auto size = static_cast<std::uint8_t>(block.size);
        if (shortUpload(block.address, block.addressExtension, buffer.data(), size, granularity) != 0) {
            return 1;
        }
        return static_cast<std::int32_t>(block.size);
    }
    if (cmdSetMta(block.address, block.addressExtension) != 0) {
        return 1;
    }
    std::array<std::uint8_t, kUploadStep> step{};
    while (buffer.size() < block.size) {
        const auto wanted = static_cast<std::uint8_t>(std::min(kUploadStep, block.size - buffer.size()));
        const std::uint8_t came = uploadBlock(step.data(), wanted, granularity);
        buffer.insert(buffer.end(), step.begin(), step.begin() + came);
        if (came < wanted) {
            break;
        }
    }
    return static_cast<std::int32_t>(buffer.size());
}

}  // namespace XCP_MOUDLE
