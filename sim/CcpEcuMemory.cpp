// Memory commands of CcpEcu: transfer addresses, download, upload, move, checksum, calibration pages.
#include "sim/CcpEcu.h"

#include <algorithm>

namespace sim {

CcpReturn CcpEcu::toReturn(MemoryResult result) {
    switch (result) {
        case MemoryResult::ok:
            return CcpReturn::acknowledge;
        case MemoryResult::unmapped:
            return CcpReturn::outOfRange;
        default:
            return CcpReturn::accessDenied;
    }
}

CcpAnswer CcpEcu::onSetMta(const CcpRequest& request) {
    if (request.u8(2) >= m_mta.size()) {
        return CcpReturn::outOfRange;
    }
    m_mta[request.u8(2)] =
        TransferAddress{.address = request.u32(4), .extension = request.u8(3), .inText = false};
    return {};
}

/// @p code, and where MTA0 stands if that is a success.
CcpAnswer CcpEcu::mtaAnswer(CcpReturn code) const {
    if (code != CcpReturn::acknowledge) {
        return code;
    }
    return packet().u8(m_mta[0].extension).u32(m_mta[0].address);
}

/// Writes at MTA0 and moves it on.
CcpAnswer CcpEcu::download(std::span<const std::uint8_t> data) {
    TransferAddress& mta = m_mta[0];
    if (mta.inText) {
        return CcpReturn::accessDenied;
    }
    const CcpReturn code = toReturn(m_memory.write(MemoryView::tool, mta.address, mta.extension, data));
    if (code == CcpReturn::acknowledge) {
        mta.address += static_cast<std::uint32_t>(data.size());
    }
    return mtaAnswer(code);
}

CcpAnswer CcpEcu::onDnload(const CcpRequest& request) {
    const std::size_t size = request.u8(2);
    if (size == 0 || size > ccp::kMaxData) {
        return CcpReturn::outOfRange;
    }
    const std::span<const std::uint8_t> data = request.bytes(3, size);
    return data.size() < size ? CcpAnswer(CcpReturn::syntax) : download(data);
}

CcpAnswer CcpEcu::onDnload6(const CcpRequest& request) {
    return download(request.bytes(2, ccp::kLongData));
}

/// Reads at @p from and moves it on.
CcpAnswer CcpEcu::upload(TransferAddress& from, std::size_t size) {
    if (size == 0 || size > ccp::kMaxData) {
        return CcpReturn::outOfRange;
    }
    std::array<std::uint8_t, ccp::kMaxData> raw{};
    const std::span<std::uint8_t> data{raw.data(), size};
    if (from.inText) {
        if (from.address > m_text.size() || size > m_text.size() - from.address) {
            return CcpReturn::outOfRange;
        }
        std::copy_n(m_text.begin() + static_cast<std::ptrdiff_t>(from.address), size, data.begin());
    } else {
        const MemoryResult result = m_memory.read(MemoryView::tool, from.address, from.extension, data);
        if (result != MemoryResult::ok) {
            return toReturn(result);
        }
    }
    from.address += static_cast<std::uint32_t>(size);
    return packet().bytes(data);
}

CcpAnswer CcpEcu::onUpload(const CcpRequest& request) {
    return upload(m_mta[0], request.u8(2));
}

CcpAnswer CcpEcu::onShortUp(const CcpRequest& request) {
    TransferAddress from{.address = request.u32(4), .extension = request.u8(3), .inText = false};
    return upload(from, request.u8(2));
}

/// Copies from MTA0 to MTA1; overlapping ranges come out as if the source had been read first.
CcpAnswer CcpEcu::onMove(const CcpRequest& request) {
    const std::uint32_t size = request.u32(2);
    if (m_mta[0].inText || m_mta[1].inText) {
        return CcpReturn::accessDenied;
    }
    const MemoryResult readable = m_memory.checkRead(m_mta[0].address, m_mta[0].extension, size);
    if (readable != MemoryResult::ok) {
        return toReturn(readable);
    }
    const std::vector<std::uint8_t> bytes =
        m_memory.peek(MemoryView::tool, m_mta[0].address, m_mta[0].extension, size);
    return toReturn(m_memory.write(MemoryView::tool, m_mta[1].address, m_mta[1].extension, bytes));
}

CcpAnswer CcpEcu::onBuildChksum(const CcpRequest& request) {
    const std::uint32_t size = request.u32(2);
    const TransferAddress& mta = m_mta[0];
    const bool whole = size % checksumWord(m_config.checksum) == 0;
    if (size == 0 || size > m_config.maxChecksumBlock || !whole) {
        return CcpReturn::outOfRange;
    }
    if (mta.inText) {
        return CcpReturn::accessDenied;
    }
    const MemoryResult readable = m_memory.checkRead(mta.address, mta.extension, size);
    if (readable != MemoryResult::ok) {
        return toReturn(readable);
    }
    const std::vector<std::uint8_t> bytes = m_memory.peek(MemoryView::tool, mta.address, mta.extension, size);
    const std::uint32_t sum = computeChecksum(m_config.checksum, bytes, m_config.byteOrder);
    return packet().u8(m_config.checksumSize).number(sum, m_config.checksumSize);
}

CcpAnswer CcpEcu::onSelectCalPage(const CcpRequest&) {
    if (m_config.calPages.empty()) {
        return CcpReturn::notAvailable;
    }
    const auto page = std::find(m_config.calPages.begin(), m_config.calPages.end(),
                                CcpCalPage{m_mta[0].address, m_mta[0].extension});
    if (m_mta[0].inText || page == m_config.calPages.end()) {
        return CcpReturn::outOfRange;
    }
    m_activePage = static_cast<std::size_t>(page - m_config.calPages.begin());
    return {};
}

CcpAnswer CcpEcu::onGetActiveCalPage(const CcpRequest&) {
    if (m_config.calPages.empty()) {
        return CcpReturn::notAvailable;
    }
    const CcpCalPage& page = m_config.calPages[m_activePage];
    return packet().u8(page.extension).u32(page.address);
}

}  // namespace sim
