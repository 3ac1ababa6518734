/// @file
/// `XcpProtoTransmit`: moving bytes from and to the ECU's memory.
#include "transport/PreciseWait.h"
#include "transport/StopFlag.h"
#include "xcp/XcpProtoTransmit.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace XCP_MOUDLE {

namespace {

using SteadyClock = std::chrono::steady_clock;

/// Bytes of the largest upload that an 8-bit count can ask for.
constexpr std::size_t kLargestUpload = 255;

/// Responses without data in a row that end a slave block.
constexpr std::size_t kMostEmpty = 255;

/// Unit of MIN_ST.
constexpr std::chrono::microseconds kMinStUnit{100};

std::size_t atLeastOne(std::uint8_t granularity) {
    return std::max<std::size_t>(granularity, 1);
}

std::size_t dividedUp(std::size_t count, std::size_t unit) {
    return (count + unit - 1) / unit;
}

/// Copies what an UPLOAD response carries behind its alignment bytes, at most @p wanted bytes.
std::size_t copyUploaded(const msgBuf& response, std::size_t granularity, std::size_t wanted,
                         std::uint8_t* destination) {
    const std::size_t length = std::min<std::size_t>(response.length, response.data.size());
    if (length < granularity) {
        return 0;
    }
    const std::size_t carried = std::min(wanted, length - granularity);
    std::copy_n(response.data.begin() + static_cast<std::ptrdiff_t>(granularity), carried, destination);
    return carried;
}

}  // namespace

/// How the frames of a block-mode sequence differ.
struct XcpProtoTransmit::BlockForm {
    std::uint8_t first;  ///< code of the first frame
    std::uint8_t next;   ///< code of all others
    bool firstIsPlain;   ///< the first frame has the form of a plain one, with the rest in byte 1
    std::chrono::microseconds apart;  ///< least time between frames
};

std::uint8_t XcpProtoTransmit::uploadBlock(std::uint8_t* destination, std::uint8_t count,
                                           std::uint8_t granularity) {
    msgBuf last;
    return upload(destination, count, granularity, last);
}

std::uint8_t XcpProtoTransmit::cmdUpload(std::uint8_t count) {
    if (refusesToSend()) {
        return 0;
    }
    const std::lock_guard lock(m_mutex);
    std::array<std::uint8_t, kLargestUpload> dropped{};  // the caller reads the response
    msgBuf last;
    const std::uint8_t came = upload(dropped.data(), count, m_cfg.xcp.addressGranularity, last);
    if (last.length > 0) {
        m_lastResponse = last;
    }
    return came;
}

/// @param last  gets the last positive response
std::uint8_t XcpProtoTransmit::upload(std::uint8_t* destination, std::uint8_t count, std::uint8_t granularity,
                                      msgBuf& last) {
    const std::lock_guard lock(m_mutex);
    return m_cfg.xcp.useSlaveBlockMode != 0 ? uploadSlaveBlock(destination, count, granularity, last)
                                            : uploadPlain(destination, count, granularity, last);
}

std::uint8_t XcpProtoTransmit::uploadPlain(std::uint8_t* destination, std::uint8_t count,
                                           std::uint8_t granularity, msgBuf& last) {
    const std::size_t unit = atLeastOne(granularity);
    std::size_t stored = 0;
    while (stored < count) {
        const std::size_t left = count - stored;
        const std::size_t fitting = m_cfg.maxCto > unit ? (m_cfg.maxCto - unit) / unit : 0;
        const auto elements = static_cast<std::uint8_t>(std::min(fitting, dividedUp(left, unit)));
        if (elements == 0) {
            break;
        }
        CommandFrame command(kUpload, 2);
        command.put8(1, elements);
        msgBuf response;
        sendFrame(command.frame());
        if (receiveResponse(command.frame(), response, m_cfg.xcp.t1) != kStatusSuccess) {
            break;
        }
        last = response;
        const std::size_t carried =
            copyUploaded(response, unit, std::min(elements * unit, left), destination + stored);
        if (carried == 0) {
            break;
        }
        stored += carried;
    }
    return static_cast<std::uint8_t>(stored);
}

/// One request, as many responses as it takes. A response without data does not end the reading, but one
/// after the other does: an ECU that has nothing else to say must not keep the caller.
std::uint8_t XcpProtoTransmit::uploadSlaveBlock(std::uint8_t* destination, std::uint8_t count,
                                                std::uint8_t granularity, msgBuf& last) {
    const std::size_t unit = atLeastOne(granularity);
    CommandFrame command(kUpload, 2);
    command.put8(1, count);
    sendFrame(command.frame());
    std::size_t stored = 0;
    for (std::size_t empty = 0; stored < count && empty < kMostEmpty;) {
        msgBuf response;
        if (receiveResponse(command.frame(), response, m_cfg.xcp.t1) != kStatusSuccess) {
            break;
        }
        last = response;
        const std::size_t carried = copyUploaded(response, unit, count - stored, destination + stored);
        stored += carried;
        empty = carried > 0 ? 0 : empty + 1;
    }
    return static_cast<std::uint8_t>(stored);
}

/// What of @p count one response has room for.
std::uint8_t XcpProtoTransmit::shortUploadElements(std::uint8_t count) {
    const std::lock_guard lock(m_mutex);
    return static_cast<std::uint8_t>(std::clamp(m_cfg.maxCto - 1, 0, static_cast<int>(count)));
}

std::uint32_t XcpProtoTransmit::shortUpload(std::uint32_t address, std::uint8_t extension,
                                            std::uint8_t* destination, std::uint8_t count,
                                            std::uint8_t granularity) {
    CommandFrame command(kShortUpload, 8);
    command.put8(1, shortUploadElements(count)).put8(3, extension).put32(4, address, m_byteOrder != 0);
    msgBuf response;
    if (run(command, response) != 0) {
        return 1;
    }
    copyUploaded(response, atLeastOne(granularity), kFrameRoom, destination);
    return 0;
}

std::uint8_t XcpProtoTransmit::fillDownloadFrame(msgBuf& frame, const std::uint8_t* source,
                                                 std::uint8_t count, std::uint8_t granularity) const {
    frame.data[0] = kDownload;
    const int total = std::min(std::min<int>(m_cfg.maxCto, kFrameRoom), count + 2);
    if (total < 2) {
        return 0;
    }
    const int header = granularity < 3 ? 2 : 4;
    const auto placed = static_cast<std::uint8_t>(std::max(total - header, 0));
    std::copy_n(source, placed, frame.data.begin() + header);
    frame.data[1] = placed;
    frame.length = static_cast<std::uint16_t>(total);
    return placed;
}

std::uint8_t XcpProtoTransmit::fillBlockFrame(msgBuf& frame, const std::uint8_t* source, std::uint8_t count,
                                              std::uint8_t granularity) const {
    frame.data[0] = kDownload;
    const int total = std::min(std::min<int>(m_cfg.maxCto, kFrameRoom), count + 2);
    const bool bytewise = granularity < 2;
    const int header = bytewise ? 2 : std::min<int>(granularity, kFrameRoom);
    const int unit = bytewise ? 1 : granularity;
    const int room = std::max(total - header, 0) / unit * unit;
    const auto placed = static_cast<std::uint8_t>(std::min<int>(room, count));
    std::copy_n(source, placed, frame.data.begin() + header);
    frame.data[1] = static_cast<std::uint8_t>((count + unit - 1) / unit);
    frame.length = static_cast<std::uint16_t>(total);
    return placed;
}

std::uint8_t XcpProtoTransmit::fillMaxFrame(msgBuf& frame, const std::uint8_t* source,
                                            std::uint8_t granularity) const {
    if (m_cfg.maxCto == 0) {
        return 0;
    }
    const int total = std::min<int>(m_cfg.maxCto, kFrameRoom);
    const int header = std::clamp<int>(granularity, 1, 3);
    const auto placed = static_cast<std::uint8_t>(std::max(total - header, 0));
    std::copy_n(source, placed, frame.data.begin() + header);
    frame.length = static_cast<std::uint16_t>(total);
    return placed;
}

std::uint8_t XcpProtoTransmit::downloadPlain(const std::uint8_t* source, std::uint8_t count,
                                             std::uint8_t granularity) {
    return sendPlain(kDownload, source, count, granularity);
}

std::uint8_t XcpProtoTransmit::programPlain(const std::uint8_t* source, std::uint8_t count,
                                            std::uint8_t granularity) {
    const std::lock_guard lock(m_mutex);  // a read between two frames would move the MTA
    return sendPlain(kProgram, source, count, granularity);
}

std::uint8_t XcpProtoTransmit::sendPlain(std::uint8_t code, const std::uint8_t* source, std::uint8_t count,
                                         std::uint8_t granularity) {
    std::size_t sent = 0;
    while (sent < count) {
        msgBuf request;
        const auto left = static_cast<std::uint8_t>(count - sent);
        const std::uint8_t placed = fillDownloadFrame(request, source + sent, left, granularity);
        if (placed == 0) {
            break;
        }
        request.data[0] = code;
        sent += placed;
        msgBuf response;
        if (!exchange(request, response)) {
            break;
        }
    }
    return static_cast<std::uint8_t>(sent);
}

std::uint8_t XcpProtoTransmit::downloadBlock(const std::uint8_t* source, std::uint8_t count,
                                             std::uint8_t granularity) {
    const std::lock_guard lock(m_mutex);
    return sendBlock({kDownload, kDownloadNext, false, m_cfg.xcp.minSt * kMinStUnit}, source, count,
                     granularity);
}

/// The later frames really are DOWNLOAD_NEXT: the ECUs this serves take them as the rest of a PROGRAM.
std::uint8_t XcpProtoTransmit::programBlock(const std::uint8_t* source, std::uint8_t count,
                                            std::uint8_t granularity) {
    return sendBlock({kProgram, kDownloadNext, false, {}}, source, count, granularity);
}

std::uint8_t XcpProtoTransmit::programBlockNext(const std::uint8_t* source, std::uint8_t count,
                                                std::uint8_t granularity) {
    return sendBlock({kProgram, kProgramNext, true, {}}, source, count, granularity);
}

std::uint8_t XcpProtoTransmit::sendBlock(const BlockForm& form, const std::uint8_t* source,
                                         std::uint8_t count, std::uint8_t granularity) {
    const std::lock_guard lock(m_mutex);
    auto lastFrame = SteadyClock::now();
    std::size_t sent = 0;
    msgBuf last;  // the one that the ECU answers
    while (sent < count) {
        msgBuf request;
        const bool first = sent == 0;
        const auto left = static_cast<std::uint8_t>(count - sent);
        const bool plain = first && form.firstIsPlain;
        const std::uint8_t placed = plain ? fillDownloadFrame(request, source + sent, left, granularity)
                                          : fillBlockFrame(request, source + sent, left, granularity);
        if (placed == 0) {
            break;
        }
        request.data[0] = first ? form.first : form.next;
        if (plain) {
            request.data[1] = left;
        }
        waitUntilPrecisely(lastFrame + form.apart);
        if (!first && stopFlag().isStopped()) {
            return 0;  // what is still to come would go out behind the stop, with a gap ahead of it
        }
        sendFrame(request);
        lastFrame = SteadyClock::now();
        last = request;
        sent += placed;
    }
    if (sent == 0) {
        return 0;
    }
    msgBuf response;
    const std::uint16_t timeoutMs = commandTimeout(last.data[0], last.data[1]);
    const bool agreed = receiveResponse(last, response, timeoutMs) == kStatusSuccess;
    return static_cast<std::uint8_t>(agreed ? sent : 0);
}

}  // namespace XCP_MOUDLE
