// Data acquisition commands of CcpEcu.
#include "sim/CcpEcu.h"

namespace sim {

CcpAnswer CcpEcu::onGetDaqSize(const CcpRequest& request) {
    const std::uint8_t number = request.u8(2);
    const CcpDaqList* list = m_daq.list(number);
    if (list == nullptr) {
        return packet().u8(0).u8(0);  // a list that is not there has no ODTs; it is not an error
    }
    const std::uint32_t id = request.u32(4);
    const CcpReturn code =
        m_daq.clearList(number, CcpCanId{id & ~ccp::kExtendedBit, (id & ccp::kExtendedBit) != 0});
    if (code != CcpReturn::acknowledge) {
        return code;
    }
    return packet().u8(static_cast<std::uint8_t>(list->odts.size())).u8(list->firstPid);
}

CcpAnswer CcpEcu::onSetDaqPtr(const CcpRequest& request) {
    return m_daq.setPointer(request.u8(2), request.u8(3), request.u8(4));
}

CcpAnswer CcpEcu::onWriteDaq(const CcpRequest& request) {
    return m_daq.writeElement(CcpDaqElement{request.u8(2), request.u8(3), request.u32(4)});
}

CcpAnswer CcpEcu::onStartStop(const CcpRequest& request) {
    return m_daq.startStop(
        static_cast<CcpListAction>(request.u8(2)), request.u8(3),
        CcpListMode{.lastOdt = request.u8(4), .event = request.u8(5), .prescaler = request.u16(6)});
}

CcpAnswer CcpEcu::onStartStopAll(const CcpRequest& request) {
    switch (request.u8(2)) {
        case 0:
            m_daq.stopAll();
            return {};
        case 1:
            m_daq.startPrepared();
            return {};
        default:
            return CcpReturn::outOfRange;
    }
}

}  // namespace sim
