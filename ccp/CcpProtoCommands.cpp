/// @file
/// `CcpProtoTransmit`: one function per command, and what is kept of its response.
#include "ccp/CcpProtoTransmit.h"

#include <algorithm>

namespace CCP_MOUDLE {

namespace {

constexpr std::uint8_t kMajorVersion = 2;
constexpr std::uint8_t kMinorVersion = 1;
constexpr std::uint8_t kEndOfSession = 1;
constexpr std::uint8_t kProtected = 1;  ///< protection status of GET_SEED
constexpr std::size_t kFrameSize = 64;
constexpr std::size_t kDataOffset = 3;  ///< data bytes of a frame stand behind code, counter and count

}  // namespace

std::uint32_t CcpProtoTransmit::cmdConnect(std::uint16_t stationAddress) {
    const std::lock_guard lock(m_mutex);
    return run(command(kConnect, 4).put16(2, stationAddress));
}

bool CcpProtoTransmit::cmdDisconnect(std::uint16_t stationAddress) {
    const std::lock_guard lock(m_mutex);
    return run(command(kDisconnect, 6).put8(2, kEndOfSession).put16(4, stationAddress)) == 0;
}

/// The minor version of the response is not looked at: 2.0 and 2.1 differ in nothing that is used.
std::uint32_t CcpProtoTransmit::cmdGetCcpVersion(bool& isVersion2) {
    const std::lock_guard lock(m_mutex);
    msgBuf response;
    if (run(command(kGetCcpVersion, 4).put8(2, kMajorVersion).put8(3, kMinorVersion), response) != 0) {
        return 1;
    }
    isVersion2 = response.data[3] == kMajorVersion;
    return 0;
}

std::uint32_t CcpProtoTransmit::cmdExchangeId(const std::array<std::uint8_t, 6>& masterId,
                                              std::uint8_t& slaveIdLength, std::uint8_t& resources) {
    const std::lock_guard lock(m_mutex);
    CommandFrame frame = command(kExchangeId, 8);
    std::copy(masterId.begin(), masterId.end(), frame.frame().data.begin() + 2);
    msgBuf response;
    if (run(frame, response) != 0) {
        return 1;
    }
    slaveIdLength = response.data[3];
    resources = response.data[5] & response.data[6];
    return 0;
}

std::uint32_t CcpProtoTransmit::cmdSetSStatus(std::uint8_t status) {
    const std::lock_guard lock(m_mutex);
    return run(command(kSetSStatus, 3).put8(2, status));
}

std::uint32_t CcpProtoTransmit::cmdGetSStatus(std::uint8_t& status) {
    const std::lock_guard lock(m_mutex);
    CommandFrame frame = command(kGetSStatus, 2);
    msgBuf response;
    if (run(frame, response) != 0) {
        return 1;
    }
    status = response.data[3];
    return 0;
}

std::uint32_t CcpProtoTransmit::cmdGetSeed(std::uint8_t resource, msgBuf& response) {
    const std::lock_guard lock(m_mutex);
    return run(command(kGetSeed, 3).put8(2, resource), response);
}

/// The key goes out in one frame, however long it is: a key of more than 6 bytes needs CAN FD.
std::uint32_t CcpProtoTransmit::cmdUnlock(const std::uint8_t* key, std::uint8_t keyLength) {
    const std::lock_guard lock(m_mutex);
    const std::size_t carried = std::min<std::size_t>(keyLength, kFrameSize - 2);
    CommandFrame frame = command(kUnlock, static_cast<std::uint16_t>(carried + 2));
    std::copy_n(key, carried, frame.frame().data.begin() + 2);
    return run(frame);
}

std::uint32_t CcpProtoTransmit::unlockResource(std::uint8_t resource) {
    msgBuf response;
    if (cmdGetSeed(resource, response) != 0) {
        return 1;
    }
    if (response.data[3] != kProtected) {
        return 0;
    }
    const std::size_t length = std::min<std::size_t>(response.length, kFrameSize);
    const auto seedLength = static_cast<std::uint8_t>(length >= 4 ? length - 4 : 0);
    std::array<std::uint8_t, kKeyRoom> key{};
    std::uint8_t keyLength = kToldKeyRoom;
    if (!computeKey(resource, response.data.data() + 4, seedLength, key.data(), keyLength)) {
        return 1;
    }
    return cmdUnlock(key.data(), keyLength);
}

std::uint32_t CcpProtoTransmit::cmdSetMta(std::uint32_t address, std::uint8_t extension) {
    const std::lock_guard lock(m_mutex);
    return run(command(kSetMta, 8).put8(3, extension).put32(4, address, m_byteOrder != 0));
}

/// A command that carries data. Called with m_mutex held.
CommandFrame CcpProtoTransmit::dataCommand(std::uint8_t code, const std::uint8_t* source,
                                           std::uint8_t count) {
    const auto carried = static_cast<std::uint8_t>(std::min<std::size_t>(count, kFrameSize - kDataOffset));
    CommandFrame frame = command(code, static_cast<std::uint16_t>(carried + kDataOffset));
    frame.put8(2, carried);
    std::copy_n(source, carried, frame.frame().data.begin() + kDataOffset);
    return frame;
}

std::uint32_t CcpProtoTransmit::cmdDnload(const std::uint8_t* source, std::uint8_t count) {
    const std::lock_guard lock(m_mutex);
    CommandFrame frame = dataCommand(kDnload, source, count);
    return run(frame);
}

std::uint32_t CcpProtoTransmit::cmdProgram(const std::uint8_t* source, std::uint8_t count) {
    const std::lock_guard lock(m_mutex);
    CommandFrame frame = dataCommand(kProgram, source, count);
    return run(frame);
}

std::uint32_t CcpProtoTransmit::cmdProgram6(const std::uint8_t* source) {
    const std::lock_guard lock(m_mutex);
    CommandFrame frame = command(kProgram6, 8);
    std::copy_n(source, kProgram6Size, frame.frame().data.begin() + 2);
    run(frame);
    return kProgram6Size;
}

std::uint32_t CcpProtoTransmit::cmdGetActiveCalPage(std::uint32_t& address, std::uint8_t& extension) {
    const std::lock_guard lock(m_mutex);
    CommandFrame frame = command(kGetActiveCalPage, 2);
    msgBuf response;
    if (run(frame, response) != 0) {
        return 1;
    }
    extension = response.data[3];
    address = fieldU32(response, 4, m_byteOrder != 0);
    return 0;
}

std::uint32_t CcpProtoTransmit::cmdSelectCalPage() {
    const std::lock_guard lock(m_mutex);
    CommandFrame frame = command(kSelectCalPage, 2);
    return run(frame);
}

std::uint32_t CcpProtoTransmit::cmdShortUp(std::uint32_t address, std::uint8_t extension,
                                           std::uint8_t* destination, std::uint8_t& count) {
    const std::lock_guard lock(m_mutex);
    msgBuf response;
    if (run(command(kShortUp, 8).put8(2, count).put8(3, extension).put32(4, address, m_byteOrder != 0),
            response) != 0) {
        return 1;
    }
    if (response.length >= kDataOffset) {
        const std::size_t length = std::min<std::size_t>(response.length, kFrameSize);
        count = static_cast<std::uint8_t>(std::min<std::size_t>(length - kDataOffset, count));
        std::copy_n(response.data.begin() + kDataOffset, count, destination);
    }
    return 0;
}

std::uint32_t CcpProtoTransmit::cmdBuildChksum(std::uint32_t blockSize, std::uint8_t* checksum,
                                               std::uint8_t& capacity) {
    const std::lock_guard lock(m_mutex);
    msgBuf response;
    if (run(command(kBuildChksum, 6).put32(2, blockSize, m_byteOrder != 0), response) != 0) {
        return 1;
    }
    capacity = std::min(capacity, response.data[3]);
    capacity = static_cast<std::uint8_t>(std::min<std::size_t>(capacity, kFrameSize - 4));
    std::copy_n(response.data.begin() + 4, capacity, checksum);
    return 0;
}

std::uint32_t CcpProtoTransmit::cmdClearMemory(std::uint32_t size) {
    const std::lock_guard lock(m_mutex);
    return run(command(kClearMemory, 6).put32(2, size));
}

std::uint32_t CcpProtoTransmit::cmdMove(std::uint32_t size) {
    const std::lock_guard lock(m_mutex);
    return run(command(kMove, 6).put32(2, size, m_byteOrder != 0));
}

std::uint32_t CcpProtoTransmit::cmdUpload(std::uint8_t count, msgBuf& response) {
    const std::lock_guard lock(m_mutex);
    CommandFrame frame = command(kUpload, static_cast<std::uint16_t>(count + kDataOffset));
    frame.put8(2, count);
    sendFrame(frame.frame());
    return receiveResponse(frame.frame(), response, commandTimeout(kUpload)) == kStatusSuccess ? 0 : 1;
}

/// What is asked for follows `maxCto`, what is copied follows `maxDto`: bytes that a response does not hold
/// read as zeros.
std::uint32_t CcpProtoTransmit::uploadBlock(std::uint8_t* destination, std::uint32_t length) {
    return uploadTo([destination](std::uint32_t) { return destination; }, length);
}

std::uint32_t CcpProtoTransmit::uploadBlock(std::vector<std::uint8_t>& destination, std::uint32_t length) {
    return uploadTo(
        [&destination](std::uint32_t total) {
            destination.resize(total);
            return destination.data();
        },
        length);
}

std::uint32_t CcpProtoTransmit::uploadTo(const std::function<std::uint8_t*(std::uint32_t total)>& roomFor,
                                         std::uint32_t length) {
    constexpr std::uint32_t kHead = kDataOffset;
    const std::lock_guard lock(m_mutex);
    const std::uint32_t askable = m_cfg.maxCto > kHead ? m_cfg.maxCto - kHead : 0;
    const std::uint32_t copyable = m_cfg.maxDto > kHead ? m_cfg.maxDto - kHead : 0;
    std::uint32_t read = 0;
    while (read < length && askable > 0) {
        const std::uint32_t left = length - read;
        msgBuf response;
        if (cmdUpload(static_cast<std::uint8_t>(std::min(askable, left)), response) != 0) {
            break;
        }
        const std::uint32_t taken = std::min(copyable, left);
        if (taken == 0) {
            break;
        }
        std::uint8_t* const destination = roomFor(read + taken);
        for (std::uint32_t i = 0; i < taken; ++i) {
            const std::size_t at = kDataOffset + i;
            destination[read + i] = at < kFrameSize ? response.data[at] : std::uint8_t{0};
        }
        read += taken;
    }
    return read;
}

void CcpProtoTransmit::downloadBytes(std::uint8_t length, const std::uint8_t* source, bool program) {
    if (program) {
        programBytes(length, source);
    } else {
        sendData(kDnload, length, source);
    }
}

std::uint8_t CcpProtoTransmit::programBytes(std::uint8_t length, const std::uint8_t* source) {
    return sendData(kProgram, length, source);
}

std::uint8_t CcpProtoTransmit::sendData(std::uint8_t code, std::uint8_t length, const std::uint8_t* source) {
    const int room = std::min<int>(m_cfg.maxCto, kFrameSize) - static_cast<int>(kDataOffset);
    std::size_t sent = 0;
    while (sent < length && room > 0) {
        const auto part =
            static_cast<std::uint8_t>(std::min<std::size_t>(static_cast<std::size_t>(room), length - sent));
        const bool failed =
            (code == kProgram ? cmdProgram(source + sent, part) : cmdDnload(source + sent, part)) != 0;
        sent += part;
        if (failed) {
            break;
        }
    }
    return static_cast<std::uint8_t>(sent);
}

std::uint32_t CcpProtoTransmit::cmdGetDaqSize(std::uint8_t list, std::uint32_t canId, std::uint8_t& odtCount,
                                              std::uint8_t& firstPid) {
    const std::lock_guard lock(m_mutex);
    msgBuf response;
    if (run(command(kGetDaqSize, 8).put8(2, list).put32(4, canId, m_byteOrder != 0), response) != 0) {
        return 1;
    }
    odtCount = response.data[3];
    firstPid = response.data[4];
    return 0;
}

std::uint32_t CcpProtoTransmit::cmdSetDaqPtr(std::uint8_t list, std::uint8_t odt, std::uint8_t element) {
    const std::lock_guard lock(m_mutex);
    return run(command(kSetDaqPtr, 5).put8(2, list).put8(3, odt).put8(4, element));
}

std::uint32_t CcpProtoTransmit::cmdWriteDaq(std::uint8_t size, std::uint8_t extension,
                                            std::uint32_t address) {
    const std::lock_guard lock(m_mutex);
    return run(command(kWriteDaq, 8).put8(2, size).put8(3, extension).put32(4, address, m_byteOrder != 0));
}

std::uint32_t CcpProtoTransmit::cmdStartStop(std::uint8_t mode, std::uint8_t list, std::uint8_t lastOdt,
                                             std::uint8_t event, std::uint16_t prescaler) {
    const std::lock_guard lock(m_mutex);
    return run(command(kStartStop, 8)
                   .put8(2, mode)
                   .put8(3, list)
                   .put8(4, lastOdt)
                   .put8(5, event)
                   .put16(6, prescaler));
}

std::uint32_t CcpProtoTransmit::cmdStartStopAll() {
    const std::lock_guard lock(m_mutex);
    CommandFrame frame = command(kStartStopAll, 3);
    return run(frame);
}

}  // namespace CCP_MOUDLE
