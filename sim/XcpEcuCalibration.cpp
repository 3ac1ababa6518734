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

/// Bytes ahead of the data of DOWNLOAD and PROGRAM: code, count, and a fill up to an element of four bytes.
std::size_t XcpEcu::blockHeader() const {
    return m_config.granularity == 4 ? 4 : 2;
}

XcpEcu::BlockLimits XcpEcu::blockLimits(bool programs) const {
    const XcpProgramConfig& program = m_config.program;
    const std::size_t cto = programs ? m_config.maxCtoPgm() : m_config.maxCto;
    const bool blocks = programs ? program.masterBlockMode : m_config.masterBlockMode;
    const std::size_t told = programs ? program.maxBs : m_config.maxBs;
    const std::size_t frames = m_config.blockFrames > 0 ? m_config.blockFrames : told;
    return {.elements = (cto - blockHeader()) / m_config.granularity,
            .frames = blocks ? frames : std::size_t{1},
            .minSt = (programs ? program.minSt : m_config.minSt) * kMinStUnit};
}

XcpAnswer XcpEcu::onDownload(const XcpRequest& request) {
    return startBlock(request, false);
}

XcpAnswer XcpEcu::onDownloadNext(const XcpRequest& request) {
    const bool known = m_config.masterBlockMode || m_block.programs;
    return known ? continueBlock(request) : XcpAnswer(XcpError::cmdUnknown);
}

XcpAnswer XcpEcu::startBlock(const XcpRequest& request, bool programs) {
    const std::size_t elements = request.u8(1);
    const BlockLimits limits = blockLimits(programs);
    if (elements == 0 || (limits.frames <= 1 && elements > limits.elements)) {
        return XcpError::outOfRange;
    }
    m_block = Block{.programs = programs, .remaining = elements};
    return takeBlock(request);
}

XcpAnswer XcpEcu::continueBlock(const XcpRequest& request) {
    if (m_block.remaining == 0 || request.u8(1) != m_block.remaining) {
        XcpAnswer answer = sequenceError();
        m_block = Block{};
        return answer;
    }
    return takeBlock(request);
}

/// Takes the elements of one frame of a block. No answer until the last of them is there.
XcpAnswer XcpEcu::takeBlock(const XcpRequest& request) {
    const BlockLimits limits = blockLimits(m_block.programs);
    const std::size_t elements = std::min(m_block.remaining, limits.elements);
    const std::size_t size = elements * m_config.granularity;
    const std::span<const std::uint8_t> data = request.bytes(blockHeader(), size);
    if (data.size() < size) {
        m_block = Block{};
        return XcpError::cmdSyntax;
    }
    const bool early = m_block.frames > 0 && m_commandEnd - m_block.last < limits.minSt;
    ++m_block.frames;
    m_block.overrun |= early || m_block.frames > limits.frames;
    m_block.last = m_commandEnd;
    m_block.bytes.insert(m_block.bytes.end(), data.begin(), data.end());
    m_block.remaining -= elements;
    if (m_block.remaining > 0) {
        return {};
    }
    // A slave that was overrun has lost bytes it cannot name, so it refuses the block as a whole.
    if (m_block.overrun) {
        return sequenceError();
    }
    return m_block.programs ? programBytes(m_block.bytes) : done(writeMta(m_block.bytes));
}

/// ERR_SEQUENCE with the number of elements that were expected.
XcpAnswer XcpEcu::sequenceError() const {
    XcpAnswer answer;
    answer.packets.push_back(XcpPacket(m_config.byteOrder, xcp::kPidError)
                                 .u8(static_cast<std::uint8_t>(XcpError::sequence))
                                 .u8(static_cast<std::uint8_t>(m_block.remaining)));
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
