/// @file
/// `XcpProtoTransmit`: one function per command, and what is kept of its response.
#include "xcp/XcpProtoTransmit.h"

namespace XCP_MOUDLE {

namespace {

constexpr std::uint8_t kSmallestCto = 8;  ///< a smaller MAX_CTO is not believed

}  // namespace

std::uint32_t XcpProtoTransmit::cmdConnect(std::uint8_t mode) {
    return runAndKeep(CommandFrame(kConnect, 2).put8(1, mode), [this](const msgBuf& response) {
        m_cfg.xcp.resource = response.data[1];
        m_cfg.xcp.commModeBasic = response.data[2];
        takeSlaveLimits(response);
    });
}

/// Merges the limits of a CONNECT response. Byte order does not touch MAX_DTO: it is read little endian
/// always.
void XcpProtoTransmit::takeSlaveLimits(const msgBuf& response) {
    const std::uint8_t maxCto = response.data[3];
    const std::uint16_t maxDto = fieldU16(response, 4);
    const bool asTheyCome = m_cfg.acceptSlaveLimits != 0;
    const bool smallerCto = (maxCto < m_cfg.maxCto && m_cfg.padFrames == 0) || m_cfg.maxCto < kSmallestCto;
    if (maxCto >= kSmallestCto && (asTheyCome || smallerCto)) {
        m_cfg.maxCto = maxCto;
    }
    if (maxDto != 0 && (asTheyCome || maxDto < m_cfg.maxDto)) {
        m_cfg.maxDto = maxDto;
    }
}

std::uint32_t XcpProtoTransmit::cmdDisconnect() {
    return run(CommandFrame(kDisconnect, 1));
}

std::uint32_t XcpProtoTransmit::cmdGetStatus() {
    return runAndKeep(CommandFrame(kGetStatus, 1), [this](const msgBuf& response) {
        m_cfg.xcp.sessionStatus = response.data[1];
        m_cfg.xcp.protectionStatus = response.data[2];
        m_cfg.xcp.stateNumber = response.data[3];
        m_cfg.xcp.sessionConfigId = fieldU16(response, 4);
    });
}

std::uint32_t XcpProtoTransmit::cmdSynch() {
    return run(CommandFrame(kSynch, 1));
}

std::uint32_t XcpProtoTransmit::cmdGetCommModeInfo() {
    return runAndKeep(CommandFrame(kGetCommModeInfo, 1), [this](const msgBuf& response) {
        m_cfg.xcp.commModeOptional = response.data[2];
        m_cfg.xcp.maxBs = response.data[4];
        m_cfg.xcp.minSt = response.data[5];
        m_cfg.xcp.queueSize = response.data[6];
        m_cfg.xcp.driverVersion = response.data[7];
    });
}

std::uint32_t XcpProtoTransmit::cmdSetMta(std::uint32_t address, std::uint8_t extension) {
    return run(CommandFrame(kSetMta, 8).put8(3, extension).put32(4, address, m_byteOrder != 0));
}

std::uint32_t XcpProtoTransmit::cmdBuildChecksum(std::uint32_t blockSize, std::uint32_t& checksum) {
    msgBuf response;
    const bool failed = run(CommandFrame(kBuildChecksum, 8).put32(4, blockSize), response) != 0;
    if (failed || response.data[0] < kPositive) {
        return 1;
    }
    const std::lock_guard lock(m_mutex);
    m_cfg.xcp.checksumType = response.data[1];
    checksum = fieldU32(response, 4);
    return 0;
}

std::uint32_t XcpProtoTransmit::cmdSetCalPage(std::uint8_t mode, std::uint8_t segment, std::uint8_t page) {
    return run(CommandFrame(kSetCalPage, 4).put8(1, mode).put8(2, segment).put8(3, page));
}

std::uint32_t XcpProtoTransmit::cmdCopyCalPage(std::uint8_t sourceSegment, std::uint8_t sourcePage,
                                               std::uint8_t targetSegment, std::uint8_t targetPage) {
    return run(CommandFrame(kCopyCalPage, 5)
                   .put8(1, sourceSegment)
                   .put8(2, sourcePage)
                   .put8(3, targetSegment)
                   .put8(4, targetPage));
}

std::uint32_t XcpProtoTransmit::cmdClearDaqList(std::uint16_t list) {
    return run(CommandFrame(kClearDaqList, 4).put16(2, list, m_byteOrder != 0));
}

std::uint32_t XcpProtoTransmit::cmdSetDaqPtr(std::uint16_t list, std::uint8_t odt, std::uint8_t entry) {
    return run(CommandFrame(kSetDaqPtr, 6).put16(2, list, m_byteOrder != 0).put8(4, odt).put8(5, entry));
}

std::uint32_t XcpProtoTransmit::cmdWriteDaq(std::uint8_t bitOffset, std::uint8_t size, std::uint8_t extension,
                                            std::uint32_t address) {
    return run(CommandFrame(kWriteDaq, 8)
                   .put8(1, bitOffset)
                   .put8(2, size)
                   .put8(3, extension)
                   .put32(4, address, m_byteOrder != 0));
}

std::uint32_t XcpProtoTransmit::cmdSetDaqListMode(std::uint8_t mode, std::uint16_t list, std::uint16_t event,
                                                  std::uint8_t prescaler, std::uint8_t priority) {
    const bool swap = m_byteOrder != 0;
    return run(CommandFrame(kSetDaqListMode, 8)
                   .put8(1, mode)
                   .put16(2, list, swap)
                   .put16(4, event, swap)
                   .put8(6, prescaler)
                   .put8(7, priority));
}

std::uint32_t XcpProtoTransmit::cmdStartStopDaqList(std::uint8_t mode, std::uint16_t list) {
    return runAndKeep(
        CommandFrame(kStartStopDaqList, 4).put8(1, mode).put16(2, list, m_byteOrder != 0),
        [=, this](const msgBuf& response) { m_cfg.xcp.daqListInfo[list].firstPid = response.data[1]; });
}

/// The planner is configured ahead of the frame, so that the first PIDs just learned reach the plan before
/// the first DAQ frame can come.
std::uint32_t XcpProtoTransmit::cmdStartStopSynch(std::uint8_t mode) {
    {
        const std::lock_guard lock(m_mutex);
        m_daq.configure(m_cfg);
    }
    return run(CommandFrame(kStartStopSynch, 2).put8(1, mode));
}

std::uint32_t XcpProtoTransmit::cmdGetDaqClock() {
    return runAndKeep(CommandFrame(kGetDaqClock, 1), [this](const msgBuf& response) {
        m_cfg.xcp.clockTriggerInfo = response.data[2];
        m_cfg.xcp.clockPayloadFormat = response.data[3];
        m_cfg.xcp.clockTimestamp = fieldU32(response, 4, m_byteOrder != 0);
    });
}

/// MIN_DAQ is one byte on the wire and a word in the configuration, and the word is swapped with the others:
/// a big-endian ECU so leaves MIN_DAQ times 256. Static set-ups count their CLEAR_DAQ_LIST with this value.
std::uint32_t XcpProtoTransmit::cmdGetDaqProcessorInfo() {
    return runAndKeep(CommandFrame(kGetDaqProcessorInfo, 1), [this](const msgBuf& response) {
        const bool swap = m_byteOrder != 0;
        const std::uint16_t minDaq = response.data[6];
        m_cfg.xcp.daqProperties = response.data[1];
        m_cfg.xcp.maxDaq = fieldU16(response, 2, swap);
        m_cfg.xcp.maxEventChannel = fieldU16(response, 4, swap);
        m_cfg.xcp.minDaq = swap ? swapped16(minDaq) : minDaq;
        m_cfg.xcp.daqKeyByte = response.data[7];
    });
}

std::uint32_t XcpProtoTransmit::cmdGetDaqResolutionInfo() {
    return runAndKeep(CommandFrame(kGetDaqResolutionInfo, 1), [this](const msgBuf& response) {
        m_cfg.xcp.granularityOdtEntryDaq = response.data[1];
        m_cfg.xcp.maxOdtEntrySizeDaq = response.data[2];
        m_cfg.xcp.granularityOdtEntryStim = response.data[3];
        m_cfg.xcp.maxOdtEntrySizeStim = response.data[4];
        m_cfg.xcp.timestampMode = response.data[5];
        m_cfg.xcp.timestampTicks = fieldU16(response, 6);
    });
}

std::uint32_t XcpProtoTransmit::cmdGetDaqEventInfo(std::uint8_t event) {
    if (refusesToSend()) {
        return 1;
    }
    const std::lock_guard lock(m_mutex);  // a read between the two would move the MTA away from the name
    return runAndKeep(CommandFrame(kGetDaqEventInfo, 4).put16(2, event, m_byteOrder != 0),
                      [=, this](const msgBuf& response) { takeEventInfo(event, response); });
}

/// The response leaves the ECU's MTA at the event's name, so the name is read without a SET_MTA.
void XcpProtoTransmit::takeEventInfo(std::uint8_t event, const msgBuf& response) {
    XcpEventCfg& info = m_cfg.xcp.events[event];
    info.properties = response.data[1];
    info.maxDaqList = response.data[2];
    info.nameLength = response.data[3];
    info.timeCycle = response.data[4];
    info.timeUnit = response.data[5];
    info.priority = response.data[6];
    if (info.nameLength > 0) {
        uploadBlock(info.name.data(), info.nameLength, 1);
    }
}

std::uint32_t XcpProtoTransmit::cmdFreeDaq() {
    return run(CommandFrame(kFreeDaq, 1));
}

std::uint32_t XcpProtoTransmit::cmdAllocDaq(std::uint16_t count) {
    return run(CommandFrame(kAllocDaq, 4).put16(2, count, m_byteOrder != 0));
}

std::uint32_t XcpProtoTransmit::cmdAllocOdt(std::uint16_t list, std::uint8_t count) {
    return run(CommandFrame(kAllocOdt, 5).put16(2, list, m_byteOrder != 0).put8(4, count));
}

std::uint32_t XcpProtoTransmit::cmdAllocOdtEntry(std::uint16_t list, std::uint8_t odt, std::uint8_t count) {
    return run(CommandFrame(kAllocOdtEntry, 6).put16(2, list, m_byteOrder != 0).put8(4, odt).put8(5, count));
}

std::uint32_t XcpProtoTransmit::cmdProgramStart() {
    return runAndKeep(CommandFrame(kProgramStart, 1), [this](const msgBuf& response) {
        m_cfg.xcp.commModePgm = response.data[2];
        m_cfg.xcp.maxCtoPgm = response.data[3];
        m_cfg.xcp.maxBsPgm = response.data[4];
        m_cfg.xcp.minStPgm = response.data[5];
        m_cfg.xcp.queueSizePgm = response.data[6];
    });
}

std::uint32_t XcpProtoTransmit::cmdProgramClear(std::uint8_t mode, std::uint32_t size) {
    return run(CommandFrame(kProgramClear, 8).put8(1, mode).put32(4, size, m_byteOrder != 0));
}

std::uint32_t XcpProtoTransmit::cmdProgramReset() {
    return run(CommandFrame(kProgramReset, 1));
}

}  // namespace XCP_MOUDLE
