/// @file
/// `XcpProtoTransmit`: seed and key.
#include "xcp/XcpProtoTransmit.h"

#include <algorithm>
#include <array>
#include <limits>

namespace XCP_MOUDLE {

namespace {

constexpr std::size_t kSeedLimit = std::numeric_limits<std::uint8_t>::max();
constexpr std::uint8_t kFirstPart = 0;
constexpr std::uint8_t kRemainingPart = 1;

}  // namespace

std::uint32_t XcpProtoTransmit::getSeed(std::uint8_t resource, std::uint8_t* seed, std::uint8_t& length) {
    const std::lock_guard lock(m_mutex);
    std::size_t stored = 0;
    std::size_t part = 0;  // bytes of the frame before
    for (std::uint8_t mode = kFirstPart; stored <= kSeedLimit; mode = kRemainingPart) {
        msgBuf response;
        if (run(CommandFrame(kGetSeed, 3).put8(1, mode).put8(2, resource), response) != 0) {
            break;
        }
        if (response.length < 2) {
            stored += part;  // a frame without a length counts as the one before it
            break;
        }
        // The count comes from the frame and not from the announced length: key libraries are made for the
        // seed as it arrives, padding included.
        part = std::min<std::size_t>(response.length, kFrameRoom) - 2;
        const std::uint8_t announced = response.data[1];
        std::copy_n(response.data.begin() + 2, part, seed + stored);
        stored += part;
        const bool complete = mode == kFirstPart ? announced <= m_cfg.maxDto - 2 : announced <= part;
        if (complete || part == 0) {
            break;
        }
    }
    length = static_cast<std::uint8_t>(std::min(stored, kSeedLimit));
    return length > 0 ? 0 : 1;
}

bool XcpProtoTransmit::parseSeedResponse(bool isFollowUp, const msgBuf& response, std::uint8_t* seed,
                                         std::uint8_t& length) {
    if (response.length < 2) {
        return true;
    }
    const auto part = static_cast<std::uint8_t>(std::min<std::size_t>(response.length, kFrameRoom) - 2);
    const std::uint8_t announced = response.data[1];
    std::copy_n(response.data.begin() + 2, part, seed);
    if (isFollowUp) {
        length = part;
        return announced <= part;
    }
    if (announced <= m_cfg.maxDto - 2) {
        length = static_cast<std::uint8_t>(length + part);
        return true;
    }
    length = part;
    return false;
}

bool XcpProtoTransmit::computeKey(std::uint8_t resource, std::uint8_t* seed, std::uint8_t seedLength,
                                  std::uint8_t* key, std::uint8_t& keyLength) {
    return makeKey(resource, seed, seedLength, key, keyLength);
}

std::uint32_t XcpProtoTransmit::sendKey(const std::uint8_t* key, std::uint8_t keyLength) {
    const std::lock_guard lock(m_mutex);
    const int room = std::min<int>(m_cfg.maxCto, kFrameRoom) - 2;
    for (int sent = 0; sent < keyLength;) {
        const int part = std::min(room, keyLength - sent);
        if (part < 1) {
            return 1;  // a frame that can carry no byte of the key
        }
        CommandFrame command(kUnlock, static_cast<std::uint16_t>(part + 2));
        command.put8(1, static_cast<std::uint8_t>(keyLength - sent));
        std::copy_n(key + sent, part, command.frame().data.begin() + 2);
        msgBuf response;
        if (run(command, response) != 0) {
            return 1;
        }
        sent += part;
        m_cfg.xcp.protectionStatus = response.data[1];
    }
    return 0;
}

std::uint32_t XcpProtoTransmit::unlockResource(std::uint8_t resource) {
    std::array<std::uint8_t, kSeedRoom> seed{};
    std::array<std::uint8_t, kKeyRoom> key{};
    std::uint8_t seedLength = 0;
    std::uint8_t keyLength = kToldKeyRoom;
    if (getSeed(resource, seed.data(), seedLength) != 0) {
        return 1;
    }
    if (!computeKey(resource, seed.data(), seedLength, key.data(), keyLength)) {
        writeLog(kLogError, "=========ERROR:> XcpComputeKeyBySeed failed...");
        return 1;
    }
    return sendKey(key.data(), keyLength);
}

}  // namespace XCP_MOUDLE
