/// @file
/// The channel interface: session, seed and key, memory, calibration pages.
#include "TalvexChannel.h"
#include "channel/FrameForms.h"
#include "channel/SlaveCommand.h"
#include "transport/StopFlag.h"

#include <algorithm>
#include <array>
#include <mutex>

using channel::exchangeFrame;
using channel::runCommand;
using channel::runOnSlave;
using channel::Slave;

namespace {

/// Read under the slave's lock, as another thread may be configuring it.
std::uint8_t granularityOf(Slave& slave) {
    const std::lock_guard lock(slave.m_mutex);
    return slave.m_cfg.xcp.addressGranularity;
}

}  // namespace

std::uint32_t xcpConnect(std::uint32_t slave, std::uint8_t mode, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [mode](Slave& s) {
        stopFlag().setStopTransmit(false);
        return s.cmdConnect(mode);
    });
}

std::uint32_t xcpDisconnect(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [](Slave& s) { return s.cmdDisconnect(); });
}

std::uint32_t xcpGetStatus(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [](Slave& s) { return s.cmdGetStatus(); });
}

std::uint32_t xcpSynchronize(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [](Slave& s) { return s.cmdSynch(); });
}

std::uint32_t xcpGetCommModeInfo(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [](Slave& s) { return s.cmdGetCommModeInfo(); });
}

std::uint32_t xcpGetIdentification(std::uint32_t slave, std::uint8_t type, std::uint8_t* buffer,
                                   std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, CommandFrame(channel::kGetId, 2).put8(1, type));
}

std::uint32_t xcpSetRequest(std::uint32_t slave, std::uint8_t mode, std::uint16_t sessionId,
                            std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size},
                         CommandFrame(channel::kSetRequest, 4).put8(1, mode).put16(2, sessionId));
}

std::uint32_t xcpTransportLayerCommand(std::uint32_t slave, std::uint8_t subCommand, const std::uint8_t* data,
                                       std::uint8_t dataLength, std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size},
                         channel::subCommandFrame(channel::kTransportLayerCmd, subCommand, data, dataLength));
}

std::uint32_t xcpUserCommand(std::uint32_t slave, std::uint8_t subCommand, const std::uint8_t* data,
                             std::uint8_t dataLength, std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size},
                         channel::subCommandFrame(channel::kUserCmd, subCommand, data, dataLength));
}

std::uint32_t xcpGetSeed(std::uint32_t slave, std::uint8_t mode, std::uint8_t resource, std::uint8_t* buffer,
                         std::uint16_t size) {
    const auto form = [=](const Slave&) {
        return CommandFrame(XCP_MOUDLE::kGetSeed, 3).put8(1, mode).put8(2, resource).frame();
    };
    const auto read = [mode](Slave& s, const msgBuf& response) {
        std::array<std::uint8_t, Slave::kFrameRoom> part{};  // the host reads it from the buffer
        std::uint8_t length = 0;
        s.parseSeedResponse(mode != 0, response, part.data(), length);
    };
    return exchangeFrame(slave, {buffer, size}, form, read);
}

std::uint32_t xcpUnlock(std::uint32_t slave, std::uint8_t keyLength, const std::uint8_t* key,
                        std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size},
                         [=](const Slave& s) { return channel::unlockFrame(s, key, keyLength); });
}

std::uint32_t xcpGetSeedEx(std::uint32_t slave, std::uint8_t resource, std::uint8_t* seed,
                           std::uint8_t* seedLength) {
    return channel::runBare(slave, [=](Slave& s) {
        std::array<std::uint8_t, Slave::kSeedRoom> collected{};
        std::uint8_t length = 0;
        const bool came = s.getSeed(resource, collected.data(), length) == 0;
        if (seed != nullptr) {
            std::copy_n(collected.begin(), length, seed);
        }
        if (seedLength != nullptr) {
            *seedLength = length;
        }
        return came;
    });
}

std::uint32_t xcpUnlockEx(std::uint32_t slave, std::uint8_t keyLength, const std::uint8_t* key) {
    const std::uint8_t length = key != nullptr ? keyLength : std::uint8_t{0};
    return channel::runBare(slave, [=](Slave& s) { return s.sendKey(key, length) == 0; });
}

std::uint32_t xcpSetMta(std::uint32_t slave, std::uint8_t addressExtension, std::uint32_t address,
                        std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size},
                      [=](Slave& s) { return s.cmdSetMta(address, addressExtension); });
}

std::uint32_t xcpUpload(std::uint32_t slave, std::uint8_t count, std::uint8_t* buffer, std::uint16_t size) {
    return runOnSlave(slave, {buffer, size}, [count](Slave& s) {
        const bool refused = s.m_linkLost;  // no byte of none would look like success
        return s.cmdUpload(count) == count && !refused;
    });
}

std::uint32_t xcpShortUpload(std::uint32_t slave, std::uint8_t count, std::uint8_t addressExtension,
                             std::uint32_t address, std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [=](Slave& s) {
        std::array<std::uint8_t, Slave::kFrameRoom> dropped{};  // the buffer gets the whole response
        return s.shortUpload(address, addressExtension, dropped.data(), count, granularityOf(s));
    });
}

std::uint32_t xcpBuildChecksum(std::uint32_t slave, std::uint32_t blockSize, std::uint8_t* buffer,
                               std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [blockSize](Slave& s) {
        std::uint32_t checksum = 0;
        return s.cmdBuildChecksum(blockSize, checksum);
    });
}

std::uint32_t xcpDownload(std::uint32_t slave, std::uint8_t /*unused*/, const std::uint8_t* data,
                          std::uint8_t count, std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, [=](const Slave& s) {
        return channel::plainFrame(s, XCP_MOUDLE::kDownload, data, count);
    });
}

std::uint32_t xcpDownloadNext(std::uint32_t slave, std::uint8_t /*unused*/, const std::uint8_t* data,
                              std::uint8_t count, std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, [=](const Slave& s) {
        return channel::nextFrame(s, XCP_MOUDLE::kDownloadNext, data, count);
    });
}

/// Goes out with the code of DOWNLOAD_NEXT: hosts of this interface know it so.
std::uint32_t xcpDownloadMax(std::uint32_t slave, const std::uint8_t* data, std::uint8_t* buffer,
                             std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, [=](const Slave& s) {
        return channel::maxFrame(s, XCP_MOUDLE::kDownloadNext, data);
    });
}

std::uint32_t xcpShortDownload(std::uint32_t slave, std::uint8_t count, std::uint8_t addressExtension,
                               std::uint32_t address, const std::uint8_t* data, std::uint8_t /*unused*/,
                               std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, [=](const Slave& s) {
        return channel::shortDownloadFrame(s, addressExtension, address, data, count);
    });
}

std::uint32_t xcpModifyBits(std::uint32_t slave, std::uint8_t shift, std::uint16_t andMask,
                            std::uint16_t xorMask, std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(
        slave, {buffer, size},
        CommandFrame(channel::kModifyBits, 6).put8(1, shift).put16(2, andMask).put16(4, xorMask));
}

std::uint32_t xcpSetCalibrationPage(std::uint32_t slave, std::uint8_t mode, XcpPageRef page,
                                    std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size},
                      [=](Slave& s) { return s.cmdSetCalPage(mode, page.segment, page.page); });
}

std::uint32_t xcpGetCalibrationPage(std::uint32_t slave, std::uint8_t mode, std::uint8_t segment,
                                    std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size},
                         CommandFrame(channel::kGetCalPage, 3).put8(1, mode).put8(2, segment));
}

std::uint32_t xcpCopyCalibrationPage(std::uint32_t slave, XcpPageRef source, XcpPageRef target,
                                     std::uint8_t* buffer, std::uint16_t size) {
    return runCommand(slave, {buffer, size}, [=](Slave& s) {
        return s.cmdCopyCalPage(source.segment, source.page, target.segment, target.page);
    });
}

std::uint32_t xcpGetPagingProcessorInfo(std::uint32_t slave, std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, CommandFrame(channel::kGetPagProcessorInfo, 1));
}

std::uint32_t xcpGetSegmentInformation(std::uint32_t slave, std::uint8_t mode, std::uint8_t segment,
                                       std::uint8_t info, std::uint8_t mappingIndex, std::uint8_t* buffer,
                                       std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size},
                         CommandFrame(channel::kGetSegmentInfo, 5)
                             .put8(1, mode)
                             .put8(2, segment)
                             .put8(3, info)
                             .put8(4, mappingIndex));
}

std::uint32_t xcpGetPageInformation(std::uint32_t slave, XcpPageRef page, std::uint8_t* buffer,
                                    std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size},
                         CommandFrame(channel::kGetPageInfo, 4).put8(2, page.segment).put8(3, page.page));
}

std::uint32_t xcpSetSegmentMode(std::uint32_t slave, std::uint8_t mode, std::uint8_t segment,
                                std::uint8_t* buffer, std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size},
                         CommandFrame(channel::kSetSegmentMode, 3).put8(1, mode).put8(2, segment));
}

/// Goes out with the code of SET_SEGMENT_MODE: hosts of this interface know it so.
std::uint32_t xcpGetSegmentMode(std::uint32_t slave, std::uint8_t segment, std::uint8_t* buffer,
                                std::uint16_t size) {
    return exchangeFrame(slave, {buffer, size}, CommandFrame(channel::kSetSegmentMode, 3).put8(2, segment));
}
