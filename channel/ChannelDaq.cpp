/// @file
/// The channel interface: DAQ and programming.
#include "TalvexChannel.h"
#include "channel/FrameForms.h"
#include "channel/SlaveCommand.h"

#include <mutex>

using channel::exchangeFrame;
using channel::runCommand;
using channel::Slave;

namespace {

/// Bits of a DAQ list's mode that GET_DAQ_LIST_MODE tells: direction, DTO counter, timestamp, PID off.
constexpr std::uint8_t kToldModeBits = 0x3A;

/// A frame that names a DAQ list in bytes 2 and 3.
msgBuf listFrame(const Slave& slave, std::uint8_t code, std::uint16_t list) {
    return CommandFrame(code, 4).put16(2, list, slave.m_byteOrder != 0).frame();
}

void keepListInfo(Slave& slave, std::uint16_t list, const msgBuf& response) {
    XcpDaqListCfg& info = slave.m_cfg.xcp.daqListInfo[list];
    info.listNumber = list;
    info.properties = response.data[1];
    info.maxOdt = response.data[2];
    info.maxOdtEntries = response.data[3];
    info.event = fieldU16(response, 4);
}

void keepListMode(Slave& slave, std::uint16_t list, const msgBuf& response) {
    XcpDaqListCfg& info = slave.m_cfg.xcp.daqListInfo[list];
    info.listNumber = list;
    info.mode = static_cast<std::uint8_t>((info.mode & ~kToldModeBits) | (response.data[1] & kToldModeBits));
    info.event = fieldU16(response, 4);
    info.prescaler = response.data[6];
    info.priority = response.data[7];
}

/// Forgets the plan ahead of a command that takes its lists away.
void resetPlan(Slave& slave) {
    const std::lock_guard lock(slave.m_mutex);
    slave.m_daq.reset();
}

}  // namespace

std::uint32_t xcpGetDaqClock(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [](Slave& s) { return s.cmdGetDaqClock(); });
}

std::uint32_t xcpGetDaqProcessorInfo(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [](Slave& s) { return s.cmdGetDaqProcessorInfo(); });
}

std::uint32_t xcpGetDaqResolutionInfo(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [](Slave& s) { return s.cmdGetDaqResolutionInfo(); });
}

std::uint32_t xcpGetDaqEventInfo(std::uint32_t slave, std::uint8_t event, std::uint8_t* buffer,
                                 std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [event](Slave& s) { return s.cmdGetDaqEventInfo(event); });
}

std::uint32_t xcpGetDaqListInfo(std::uint32_t slave, std::uint16_t list, std::uint8_t* buffer,
                                std::uint16_t size) {
    return exchangeFrame(
        slave, {buffer, size},
        [list](const Slave& s) { return listFrame(s, channel::kGetDaqListInfo, list); },
        [list](Slave& s, const msgBuf& response) { keepListInfo(s, list, response); });
}

std::uint32_t xcpGetDaqListMode(std::uint32_t slave, std::uint16_t list, std::uint8_t* buffer,
                                std::uint16_t size) {
    return exchangeFrame(
        slave, {buffer, size},
        [list](const Slave& s) { return listFrame(s, channel::kGetDaqListMode, list); },
        [list](Slave& s, const msgBuf& response) { keepListMode(s, list, response); });
}

std::uint32_t xcpFreeDaqLists(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [](Slave& s) {
        resetPlan(s);
        return s.cmdFreeDaq();
    });
}

std::uint32_t xcpAllocateDaqLists(std::uint32_t slave, std::uint16_t count, std::uint8_t* buffer,
                                  std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [count](Slave& s) { return s.cmdAllocDaq(count); });
}

std::uint32_t xcpAllocateOdt(std::uint32_t slave, std::uint16_t list, std::uint8_t count,
                             std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [=](Slave& s) { return s.cmdAllocOdt(list, count); });
}

std::uint32_t xcpAllocateOdtEntry(std::uint32_t slave, std::uint16_t list, std::uint8_t odt,
                                  std::uint8_t count, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [=](Slave& s) { return s.cmdAllocOdtEntry(list, odt, count); });
}

std::uint32_t xcpClearDaqList(std::uint32_t slave, std::uint16_t list, std::uint8_t* buffer,
                              std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [list](Slave& s) {
        resetPlan(s);
        return s.cmdClearDaqList(list);
    });
}

std::uint32_t xcpSetDaqPtr(std::uint32_t slave, std::uint16_t list, std::uint8_t odt, std::uint8_t entry,
                           std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [=](Slave& s) { return s.cmdSetDaqPtr(list, odt, entry); });
}

std::uint32_t xcpWriteDaqListEntry(std::uint32_t slave, XcpDaqEntry entry, std::uint8_t* buffer,
                                   std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [entry](Slave& s) {
        return s.cmdWriteDaq(entry.bitOffset, entry.size, entry.addressExtension, entry.address);
    });
}

std::uint32_t xcpWriteDaqListEntries(std::uint32_t slave, std::uint8_t count, const XcpDaqEntry* entries,
                                     std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size},
                         [=](const Slave& s) { return channel::writeDaqMultipleFrame(s, entries, count); });
}

std::uint32_t xcpReadDaqListEntry(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, CommandFrame(channel::kReadDaq, 1));
}

std::uint32_t xcpSetDaqListMode(std::uint32_t slave, std::uint8_t mode, XcpDaqListSetup setup,
                                std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [=](Slave& s) {
        return s.cmdSetDaqListMode(mode, setup.listNumber, setup.event, setup.prescaler, setup.priority);
    });
}

std::uint32_t xcpStartStopDaqList(std::uint32_t slave, std::uint8_t mode, std::uint16_t list,
                                  std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [=](Slave& s) {
        {
            const std::lock_guard lock(s.m_mutex);
            s.m_daq.configure(s.m_cfg);
        }
        return s.cmdStartStopDaqList(mode, list);
    });
}

std::uint32_t xcpStartStopSynch(std::uint32_t slave, std::uint8_t mode, std::uint8_t* buffer,
                                std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [mode](Slave& s) { return s.cmdStartStopSynch(mode); });
}

std::uint32_t xcpProgramStart(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [](Slave& s) { return s.cmdProgramStart(); });
}

std::uint32_t xcpProgramClear(std::uint32_t slave, std::uint8_t mode, std::uint32_t range,
                              std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [=](Slave& s) { return s.cmdProgramClear(mode, range); });
}

std::uint32_t xcpProgram(std::uint32_t slave, std::uint8_t /*unused*/, const std::uint8_t* data,
                         std::uint8_t count, std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, [=](const Slave& s) {
        return channel::plainFrame(s, XCP_MOUDLE::kProgram, data, count);
    });
}

std::uint32_t xcpProgramNext(std::uint32_t slave, std::uint8_t /*unused*/, const std::uint8_t* data,
                             std::uint8_t count, std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, [=](const Slave& s) {
        return channel::nextFrame(s, XCP_MOUDLE::kProgramNext, data, count);
    });
}

std::uint32_t xcpProgramMax(std::uint32_t slave, const std::uint8_t* data, std::uint8_t* buffer,
                            std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size},
                         [=](const Slave& s) { return channel::maxFrame(s, XCP_MOUDLE::kProgramMax, data); });
}

std::uint32_t xcpProgramReset(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [](Slave& s) { return s.cmdProgramReset(); });
}

std::uint32_t xcpProgramVerify(std::uint32_t slave, std::uint8_t mode, std::uint16_t type,
                               std::uint32_t value, std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, [=](const Slave& s) {
        const bool swap = s.m_byteOrder != 0;
        return CommandFrame(XCP_MOUDLE::kProgramVerify, 8)
            .put8(1, mode)
            .put16(2, type, swap)
            .put32(4, value, swap)
            .frame();
    });
}

std::uint32_t xcpProgramPrepare(std::uint32_t slave, std::uint16_t codeSize, std::uint8_t* buffer,
                                std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size},
                         CommandFrame(XCP_MOUDLE::kProgramPrepare, 4).put16(2, codeSize));
}

std::uint32_t xcpProgramFormat(std::uint32_t slave, std::uint32_t format, std::uint8_t* buffer,
                               std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, CommandFrame(channel::kProgramFormat, 5).put32(1, format));
}

std::uint32_t xcpGetPgmProcessorInfo(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, CommandFrame(channel::kGetPgmProcessorInfo, 1));
}

std::uint32_t xcpGetSectorInfo(std::uint32_t slave, std::uint8_t /*mode*/, std::uint8_t /*sector*/,
                               std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, CommandFrame(channel::kGetSectorInfo, 3));
}
