// Flash commands of CcpEcu: erasing and programming.
#include "sim/CcpEcu.h"

namespace sim {

/// CCP has no code for a failed programming, so cells that are not cleared deny the access like memory that
/// is no flash.
CcpReturn CcpEcu::toReturn(FlashResult result) const {
    if (result == FlashResult::ok) {
        return CcpReturn::acknowledge;
    }
    const MemoryResult mapped = m_memory.checkRead(m_mta[0].address, m_mta[0].extension, 1);
    return mapped == MemoryResult::unmapped ? CcpReturn::outOfRange : CcpReturn::accessDenied;
}

/// Clears the sectors that the range from MTA0 touches; MTA0 stays.
CcpAnswer CcpEcu::onClearMemory(const CcpRequest& request) {
    const std::uint32_t size = request.u32(2);
    if (size == 0) {
        return CcpReturn::outOfRange;
    }
    if (m_mta[0].inText) {
        return CcpReturn::accessDenied;
    }
    return toReturn(m_flash.clear(m_commandEnd, m_mta[0].address, m_mta[0].extension, size));
}

/// Programs at MTA0 and moves it on.
CcpAnswer CcpEcu::program(std::span<const std::uint8_t> data) {
    TransferAddress& mta = m_mta[0];
    if (mta.inText) {
        return CcpReturn::accessDenied;
    }
    const CcpReturn code = toReturn(m_flash.program(m_commandEnd, mta.address, mta.extension, data));
    if (code == CcpReturn::acknowledge) {
        mta.address += static_cast<std::uint32_t>(data.size());
    }
    return mtaAnswer(code);
}

CcpAnswer CcpEcu::onProgram(const CcpRequest& request) {
    const std::size_t size = request.u8(2);
    if (size == 0 || size > ccp::kMaxData) {
        return CcpReturn::outOfRange;
    }
    const std::span<const std::uint8_t> data = request.bytes(3, size);
    return data.size() < size ? CcpAnswer(CcpReturn::syntax) : program(data);
}

CcpAnswer CcpEcu::onProgram6(const CcpRequest& request) {
    return program(request.bytes(2, ccp::kLongData));
}

}  // namespace sim
