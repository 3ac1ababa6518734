// Standard commands of XcpEcu: session, identification, seed and key, memory transfer, checksum.
#include "sim/XcpEcu.h"

#include <algorithm>

namespace sim {
namespace {

constexpr std::uint8_t kProtocolLayerVersion = 0x01;
constexpr std::uint8_t kTransportLayerVersion = 0x01;

/// Bits of COMM_MODE_BASIC.
std::uint8_t commModeBasic(const XcpEcuConfig& config) {
    std::uint8_t mode = config.byteOrder == ByteOrder::motorola ? 0x01 : 0x00;
    mode |= config.granularity == 2 ? 0x02 : 0x00;
    mode |= config.granularity == 4 ? 0x04 : 0x00;
    mode |= config.slaveBlockMode ? 0x40 : 0x00;
    mode |= config.commModeInfo ? 0x80 : 0x00;
    return mode;
}

}  // namespace

XcpPacket XcpEcu::positive() const {
    return {m_config.byteOrder, xcp::kPidResponse};
}

XcpError XcpEcu::toError(MemoryResult result) {
    switch (result) {
        case MemoryResult::ok:
            return XcpError::none;
        case MemoryResult::writeProtected:
            return XcpError::writeProtected;
        default:
            return XcpError::accessDenied;
    }
}

XcpAnswer XcpEcu::onConnect(const XcpRequest& request) {
    const std::uint8_t mode = request.u8(1);
    if (mode > 1 || (mode == 1 && !m_config.userConnect)) {
        return XcpError::outOfRange;
    }
    endSession();
    m_connected = true;
    ++m_counters.sessions;
    return positive()
        .u8(m_config.resources)
        .u8(commModeBasic(m_config))
        .u8(m_config.maxCto)
        .u16(m_config.maxDto)
        .u8(kProtocolLayerVersion)
        .u8(kTransportLayerVersion);
}

XcpAnswer XcpEcu::onDisconnect(const XcpRequest&) {
    endSession();
    return positive();
}

XcpAnswer XcpEcu::onGetStatus(const XcpRequest&) {
    const std::uint8_t running = m_daq.running() ? xcp::kDaqRunning : std::uint8_t{0};
    return positive().u8(m_requests | running).u8(m_security.protection()).zeros(1).u16(m_sessionConfigId);
}

XcpAnswer XcpEcu::onSynch(const XcpRequest&) {
    return XcpError::cmdSynch;
}

XcpAnswer XcpEcu::onGetCommModeInfo(const XcpRequest&) {
    if (!m_config.commModeInfo) {
        return XcpError::cmdUnknown;
    }
    std::uint8_t optional = m_config.masterBlockMode ? 0x01 : 0x00;
    optional |= m_config.interleavedMode ? 0x02 : 0x00;
    return positive()
        .zeros(1)
        .u8(optional)
        .zeros(1)
        .u8(m_config.maxBs)
        .u8(m_config.minSt)
        .u8(m_config.queueSize)
        .u8(m_config.driverVersion);
}

void XcpEcu::pointToText(const std::string& text) {
    m_text = text;
    m_mta = TransferAddress{.inText = true};
}

XcpAnswer XcpEcu::onGetId(const XcpRequest& request) {
    constexpr std::size_t kHeader = 8;
    const auto found = m_config.ids.find(request.u8(1));
    std::string text = found != m_config.ids.end() ? found->second : std::string();
    // Elements of several bytes are uploaded whole, so the text is filled up to them.
    text.resize((text.size() + m_config.granularity - 1) / m_config.granularity * m_config.granularity);
    const auto length = static_cast<std::uint32_t>(text.size());
    const bool inResponse = m_config.idInResponse && kHeader + text.size() <= m_config.maxCto;
    XcpPacket answer = positive().u8(inResponse ? 0x01 : 0x00).zeros(2).u32(length);
    if (inResponse) {
        return answer.bytes({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    }
    pointToText(text);
    return answer;
}

XcpAnswer XcpEcu::onSetRequest(const XcpRequest& request) {
    constexpr std::uint8_t kStoreDaq = xcp::kStoreDaqNoResumeRequest | xcp::kStoreDaqRequest;
    constexpr std::uint8_t kForDaq = kStoreDaq | xcp::kClearDaqRequest;
    const std::uint8_t mode = request.u8(1);
    if (mode == 0 || (mode & ~(xcp::kStoreCalRequest | kForDaq)) != 0) {
        return XcpError::outOfRange;
    }
    std::uint8_t needed = (mode & xcp::kStoreCalRequest) != 0 ? xcp::kCalPag : std::uint8_t{0};
    needed |= (mode & kForDaq) != 0 ? xcp::kDaq : std::uint8_t{0};
    if ((needed & ~m_config.resources) != 0) {
        return XcpError::outOfRange;
    }
    if ((needed & m_security.protection()) != 0) {
        return XcpError::accessLocked;
    }
    m_requests |= mode;
    if ((mode & kStoreDaq) != 0) {
        m_sessionConfigId = request.u16(2);
    }
    runAt(m_commandEnd + m_config.storeDuration, [this, mode] { finishRequest(mode); });
    return positive();
}

void XcpEcu::finishRequest(std::uint8_t request) {
    struct Row {
        std::uint8_t bit;
        std::uint8_t event;
    };
    constexpr Row kRows[] = {
        {xcp::kStoreCalRequest, xcp::kEventStoreCal},
        {xcp::kStoreDaqNoResumeRequest, xcp::kEventStoreDaq},
        {xcp::kStoreDaqRequest, xcp::kEventStoreDaq},
        {xcp::kClearDaqRequest, xcp::kEventClearDaq},
    };
    for (const Row& row : kRows) {
        if ((request & m_requests & row.bit) != 0) {
            m_requests = static_cast<std::uint8_t>(m_requests & ~row.bit);
            m_sessionConfigId = row.bit == xcp::kClearDaqRequest ? std::uint16_t{0} : m_sessionConfigId;
            sendEvent(row.event);
        }
    }
}

XcpAnswer XcpEcu::onGetSeed(const XcpRequest& request) {
    const std::uint8_t mode = request.u8(1);
    const std::uint8_t resource = request.u8(2);
    const bool oneBit = resource != 0 && (resource & (resource - 1)) == 0;
    const bool known = oneBit && (resource & ~m_config.resources) == 0;
    if (mode > 1 || (mode == 0 && !known)) {
        return XcpError::outOfRange;
    }
    XcpSeedPart part;
    const XcpError error = m_security.seedPart(mode == 0, resource, m_config.maxCto - 2U, part);
    if (error != XcpError::none) {
        return error;
    }
    return positive().u8(part.remaining).bytes(part.bytes);
}

XcpAnswer XcpEcu::onUnlock(const XcpRequest& request) {
    const std::size_t room = m_config.maxCto - 2U;
    const XcpError error = m_security.keyPart(request.u8(1), request.bytes(2, room), room);
    if (error == XcpError::accessLocked) {
        endSession();
    }
    if (error != XcpError::none) {
        return error;
    }
    return positive().u8(m_security.protection());
}

XcpAnswer XcpEcu::onSetMta(const XcpRequest& request) {
    m_mta = TransferAddress{.address = request.u32(4), .extension = request.u8(3), .inText = false};
    m_programming.segmentEnded = false;
    m_programming.functional = false;
    return positive();
}

/// Elements that one response carries; the byte ahead of them is an element of its own.
std::size_t XcpEcu::uploadElements() const {
    return m_config.maxCto / std::size_t{m_config.granularity} - 1;
}

/// Reads at the MTA and moves it on. A text ends in zeros without end.
XcpError XcpEcu::readMta(std::span<std::uint8_t> out) {
    const auto elements = static_cast<std::uint32_t>(out.size() / m_config.granularity);
    if (m_mta.inText) {
        const std::size_t start = std::min(std::size_t{m_mta.address} * m_config.granularity, m_text.size());
        const std::size_t count = std::min(out.size(), m_text.size() - start);
        std::copy_n(m_text.begin() + static_cast<std::ptrdiff_t>(start), count, out.begin());
    } else {
        const MemoryResult result = m_memory.read(MemoryView::tool, m_mta.address, m_mta.extension, out);
        if (result != MemoryResult::ok) {
            return toError(result);
        }
    }
    m_mta.address += elements;
    return XcpError::none;
}

XcpPacket XcpEcu::uploadPacket(std::span<const std::uint8_t> data) const {
    return positive().zeros(m_config.granularity - std::size_t{1}).bytes(data);
}

XcpAnswer XcpEcu::upload(std::size_t elements, std::size_t perPacket) {
    std::vector<std::uint8_t> data(elements * m_config.granularity);
    const XcpError error = readMta(data);
    if (error != XcpError::none) {
        return error;
    }
    XcpAnswer answer;
    std::span<const std::uint8_t> rest = data;
    while (!rest.empty()) {
        const std::size_t size = std::min(rest.size(), perPacket * m_config.granularity);
        answer.packets.push_back(uploadPacket(rest.first(size)));
        rest = rest.subspan(size);
    }
    return answer;
}

XcpAnswer XcpEcu::onUpload(const XcpRequest& request) {
    const std::size_t elements = request.u8(1);
    const std::size_t limit = m_config.slaveBlockMode ? 255 : uploadElements();
    if (elements == 0 || elements > limit) {
        return XcpError::outOfRange;
    }
    return upload(elements, uploadElements());
}

XcpAnswer XcpEcu::onShortUpload(const XcpRequest& request) {
    const std::size_t elements = request.u8(1);
    if (elements == 0 || elements > uploadElements()) {
        return XcpError::outOfRange;
    }
    m_mta = TransferAddress{.address = request.u32(4), .extension = request.u8(3), .inText = false};
    return upload(elements, elements);
}

XcpAnswer XcpEcu::onBuildChecksum(const XcpRequest& request) {
    const std::uint32_t elements = request.u32(4);
    const std::uint64_t size = std::uint64_t{elements} * m_config.granularity;
    const bool whole = size % checksumWord(m_config.checksum) == 0;
    if (elements == 0 || elements > m_config.maxChecksumBlock || !whole) {
        XcpAnswer refusal;
        refusal.packets.push_back(XcpPacket(m_config.byteOrder, xcp::kPidError)
                                      .u8(static_cast<std::uint8_t>(XcpError::outOfRange))
                                      .zeros(2)
                                      .u32(m_config.maxChecksumBlock));
        return refusal;
    }
    const MemoryResult readable = m_memory.checkRead(m_mta.address, m_mta.extension, size);
    if (m_mta.inText || readable != MemoryResult::ok) {
        return XcpError::accessDenied;
    }
    std::vector<std::uint8_t> data(static_cast<std::size_t>(size));
    const XcpError error = readMta(data);
    if (error != XcpError::none) {
        return error;
    }
    return positive()
        .u8(static_cast<std::uint8_t>(m_config.checksum))
        .zeros(2)
        .u32(computeChecksum(m_config.checksum, data, m_config.byteOrder));
}

XcpAnswer XcpEcu::onTransportLayerCmd(const XcpRequest& request) {
    constexpr std::uint8_t kGetDaqId = 0xFE;
    constexpr std::uint8_t kSetDaqId = 0xFD;
    switch (request.u8(1)) {
        case kGetDaqId:
            return onGetDaqId(request);
        case kSetDaqId:
            return onSetDaqId(request);
        default:
            return XcpError::cmdUnknown;
    }
}

}  // namespace sim
