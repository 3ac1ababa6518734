#include "channel/FrameForms.h"

#include <algorithm>

namespace channel {

namespace {

constexpr int kFrameSize = 64;
constexpr int kEntrySize = 8;

/// The bytes that a frame to @p slave can have.
int frameLimit(const Slave& slave) {
    return std::min<int>(slave.m_cfg.maxCto, kFrameSize);
}

std::uint8_t countOf(const void* data, std::uint8_t count) {
    return data != nullptr ? count : std::uint8_t{0};
}

}  // namespace

CommandFrame subCommandFrame(std::uint8_t code, std::uint8_t subCommand, const std::uint8_t* data,
                             std::uint8_t length) {
    const int carried = std::min<int>(countOf(data, length), kFrameSize - 2);
    CommandFrame frame(code, static_cast<std::uint16_t>(carried + 2));
    frame.put8(1, subCommand);
    std::copy_n(data, carried, frame.frame().data.begin() + 2);
    return frame;
}

msgBuf unlockFrame(const Slave& slave, const std::uint8_t* key, std::uint8_t length) {
    const int carried = std::clamp(frameLimit(slave) - 2, 0, static_cast<int>(countOf(key, length)));
    CommandFrame frame(XCP_MOUDLE::kUnlock, static_cast<std::uint16_t>(carried + 2));
    frame.put8(1, length);
    std::copy_n(key, carried, frame.frame().data.begin() + 2);
    return frame.frame();
}

msgBuf plainFrame(const Slave& slave, std::uint8_t code, const std::uint8_t* data, std::uint8_t count) {
    msgBuf frame;
    slave.fillDownloadFrame(frame, data, countOf(data, count), slave.m_cfg.xcp.addressGranularity);
    frame.data[0] = code;
    return frame;
}

msgBuf nextFrame(const Slave& slave, std::uint8_t code, const std::uint8_t* data, std::uint8_t count) {
    msgBuf frame;
    slave.fillBlockFrame(frame, data, countOf(data, count), slave.m_cfg.xcp.addressGranularity);
    frame.data[0] = code;
    return frame;
}

msgBuf maxFrame(const Slave& slave, std::uint8_t code, const std::uint8_t* data) {
    static constexpr std::array<std::uint8_t, kFrameSize> kNoData{};
    msgBuf frame;
    slave.fillMaxFrame(frame, data != nullptr ? data : kNoData.data(), slave.m_cfg.xcp.addressGranularity);
    frame.data[0] = code;
    return frame;
}

msgBuf shortDownloadFrame(const Slave& slave, std::uint8_t addressExtension, std::uint32_t address,
                          const std::uint8_t* data, std::uint8_t count) {
    const int carried = std::clamp(frameLimit(slave) - 8, 0, static_cast<int>(countOf(data, count)));
    CommandFrame frame(kShortDownload, static_cast<std::uint16_t>(carried + 8));
    frame.put8(1, static_cast<std::uint8_t>(carried))
        .put8(3, addressExtension)
        .put32(4, address, slave.m_byteOrder != 0);
    std::copy_n(data, carried, frame.frame().data.begin() + 8);
    return frame.frame();
}

msgBuf writeDaqMultipleFrame(const Slave& slave, const XcpDaqEntry* entries, std::uint8_t count) {
    CommandFrame frame(kWriteDaqMultiple, 2);
    frame.put8(1, count);
    int offset = 2;
    for (std::uint8_t i = 0; i < countOf(entries, count) && offset + kEntrySize - 1 <= frameLimit(slave);
         ++i) {
        const XcpDaqEntry entry = entries[i];
        const auto at = static_cast<std::size_t>(offset);
        frame.put8(at, entry.bitOffset)
            .put8(at + 1, entry.size)
            .put32(at + 2, entry.address, slave.m_byteOrder != 0)
            .put8(at + 6, entry.addressExtension);
        offset += kEntrySize;
    }
    frame.frame().length = static_cast<std::uint16_t>(offset);
    return frame.frame();
}

}  // namespace channel
