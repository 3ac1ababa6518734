// Calibration commands of XcpEcu: writing memory.
#include "sim/XcpEcu.h"

#include <algorithm>

namespace sim {
namespace {

constexpr Time kMinStUnit = 100'000;  ///< nanoseconds per count of MIN_ST

}  // namespace

/// Writes at the MTA and moves it on.
XcpError XcpEcu::writeMta(std::span<const std::uint8_t> bytes) {
    if (m_mta.inText) {
        return XcpError::accessDenied;
    }
    const MemoryResult result = m_memory.write(MemoryView::tool, m_mta.address, m_mta.extension, bytes);
    if (result == MemoryResult::ok) {
        m_mta.address += static_cast<std::uint32_t>(bytes.size() / m_config.granularity);
    }
    return toError(result);
}

/// Bytes ahead of the data of DOWNLOAD: code, count, and a fill up to an element of four bytes.
std::size_t XcpEcu::downloadHeader() const {
    return m_config.granularity == 4 ? 4 : 2;
}

/// Elements that one DOWNLOAD carries.
std::size_t XcpEcu::downloadElements() const {
    return (m_config.maxCto - downloadHeader()) / m_config.granularity;
}

XcpAnswer XcpEcu::onDownload(const XcpRequest& request) {
    const std::size_t elements = request.u8(1);
    const std::size_t blockLimit = m_config.masterBlockMode
                                       ? std::min<std::size_t>(m_config.maxBs * downloadElements(), 255)
                                       : std::size_t{0};
    if (elements == 0 || elements > std::max(downloadElements(), blockLimit)) {
        return XcpError::outOfRange;
    }
    m_download = BlockDownload{.remaining = elements, .tooFast = false, .last = m_commandEnd, .bytes = {}};
    return takeBlock(request);
}

XcpAnswer XcpEcu::onDownloadNext(const XcpRequest& request) {
    if (!m_config.masterBlockMode) {
        return XcpError::cmdUnknown;
    }
    if (m_download.remaining == 0 || request.u8(1) != m_download.remaining) {
        XcpAnswer answer = sequenceError();
        m_download = BlockDownload{};
        return answer;
    }
    m_download.tooFast |= m_commandEnd - m_download.last < m_config.minSt * kMinStUnit;
    m_download.last = m_commandEnd;
    return takeBlock(request);
}

/// Takes the elements of one frame of a download. No answer until the last of them is there.
XcpAnswer XcpEcu::takeBlock(const XcpRequest& request) {
    const std::size_t elements = std::min(m_download.remaining, downloadElements());
    const std::size_t size = elements * m_config.granularity;
    const std::span<const std::uint8_t> data = request.bytes(downloadHeader(), size);
    if (data.size() < size) {
        m_download = BlockDownload{};
        return XcpError::cmdSyntax;
    }
    m_download.bytes.insert(m_download.bytes.end(), data.begin(), data.end());
    m_download.remaining -= elements;
    if (m_download.remaining > 0) {
        return {};
    }
    // A slave that was overrun has lost bytes it cannot name, so it refuses the block as a whole.
    if (m_download.tooFast) {
        return sequenceError();
    }
    return done(writeMta(m_download.bytes));
}

/// ERR_SEQUENCE with the number of elements that were expected.
XcpAnswer XcpEcu::sequenceError() const {
    XcpAnswer answer;
    answer.packets.push_back(XcpPacket(m_config.byteOrder, xcp::kPidError)
                                 .u8(static_cast<std::uint8_t>(XcpError::sequence))
                                 .u8(static_cast<std::uint8_t>(m_download.remaining)));
    return answer;
}

XcpAnswer XcpEcu::onDownloadMax(const XcpRequest& request) {
    const std::size_t size = uploadElements() * m_config.granularity;
    const std::span<const std::uint8_t> data = request.bytes(m_config.granularity, size);
    return data.size() < size ? XcpAnswer(XcpError::cmdSyntax) : done(writeMta(data));
}

XcpAnswer XcpEcu::onShortDownload(const XcpRequest& request) {
    constexpr std::size_t kHeader = 8;
    const std::size_t elements = request.u8(1);
    const std::size_t size = elements * m_config.granularity;
    if (elements == 0 || kHeader + size > m_config.maxCto) {
        return XcpError::outOfRange;
    }
    const std::span<const std::uint8_t> data = request.bytes(kHeader, size);
    if (data.size() < size) {
        return XcpError::cmdSyntax;
    }
    m_mta = TransferAddress{.address = request.u32(4), .extension = request.u8(3), .inText = false};
    return done(writeMta(data));
}

XcpAnswer XcpEcu::onModifyBits(const XcpRequest& request) {
    const unsigned shift = request.u8(1);
    if (shift > 31) {
        return XcpError::outOfRange;
    }
    const TransferAddress place = m_mta;
    std::array<std::uint8_t, 4> raw{};
    XcpError error = readMta(raw);
    m_mta = place;
    if (error == XcpError::none) {
        const std::uint32_t cleared = std::uint32_t{static_cast<std::uint16_t>(~request.u16(2))} << shift;
        const std::uint32_t flipped = std::uint32_t{request.u16(4)} << shift;
        const auto value = static_cast<std::uint32_t>(getNumber(raw, m_config.byteOrder));
        putNumber(raw, (value & ~cleared) ^ flipped, m_config.byteOrder);
        error = writeMta(raw);
        m_mta = place;
    }
    return done(error);
}

}  // namespace sim
