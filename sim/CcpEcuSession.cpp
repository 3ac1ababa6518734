// Session commands of CcpEcu: stations, identification, seed and key, status, services.
#include "sim/CcpEcu.h"

#include <algorithm>

namespace sim {
namespace {

/// Whether exactly one bit is set.
bool isOneResource(std::uint8_t mask) {
    return mask != 0 && (mask & (mask - 1)) == 0;
}

}  // namespace

/// Station addresses stand low byte first, whatever the byte order of the ECU.
bool CcpEcu::isMyAddress(const CcpRequest& request, std::size_t at) const {
    const std::span<const std::uint8_t> address = request.bytes(at, 2);
    return address.size() == 2 && getNumber(address, ByteOrder::intel) == m_config.stationAddress;
}

CcpAnswer CcpEcu::onConnect(const CcpRequest&) {
    m_connected = true;
    ++m_counters.sessions;
    return {};
}

CcpAnswer CcpEcu::onTest(const CcpRequest&) {
    return {};
}

CcpAnswer CcpEcu::onDisconnect(const CcpRequest& request) {
    const std::uint8_t mode = request.u8(2);
    if (mode > 1 || !isMyAddress(request, 4)) {
        return CcpReturn::outOfRange;
    }
    if (mode == 0) {
        m_connected = false;
    } else {
        endSession(wantsResume());
    }
    return {};
}

CcpAnswer CcpEcu::onGetCcpVersion(const CcpRequest&) {
    return packet().u8(m_config.versionMajor).u8(m_config.versionMinor);
}

void CcpEcu::pointToText(const std::string& text) {
    m_text = text;
    m_mta[0] = TransferAddress{.inText = true};
}

CcpAnswer CcpEcu::onExchangeId(const CcpRequest&) {
    pointToText(m_config.id);
    return packet()
        .u8(static_cast<std::uint8_t>(m_config.id.size()))
        .u8(m_config.idType)
        .u8(m_config.resources)
        .u8(m_security.locked());
}

CcpAnswer CcpEcu::onGetSeed(const CcpRequest& request) {
    const std::uint8_t resource = request.u8(2);
    if (!isOneResource(resource)) {
        return CcpReturn::outOfRange;
    }
    if ((resource & m_config.resources) == 0) {
        return CcpReturn::notAvailable;
    }
    const std::vector<std::uint8_t> seed = m_security.seed(resource);
    return packet().u8(seed.empty() ? 0 : 1).bytes(seed);
}

CcpAnswer CcpEcu::onUnlock(const CcpRequest& request) {
    CcpAnswer answer = m_security.unlock(request.bytes(2, ccp::kLongData));
    answer.data = {static_cast<std::uint8_t>(m_config.resources & ~m_security.closed())};
    return answer;
}

CcpAnswer CcpEcu::onSetSStatus(const CcpRequest& request) {
    const std::uint8_t status = request.u8(2);
    if ((status & ccp::kStatusResume) != 0 && !m_config.resumeSupported) {
        return CcpReturn::notAvailable;
    }
    m_status = status;
    return {};
}

CcpAnswer CcpEcu::onGetSStatus(const CcpRequest&) {
    constexpr std::uint8_t kNoFurtherInformation = 0;
    return packet().u8(m_status).u8(kNoFurtherInformation);
}

CcpAnswer CcpEcu::serve(const std::map<std::uint16_t, CcpService>& services, const CcpRequest& request) {
    const auto service = services.find(request.u16(2));
    if (service == services.end()) {
        return CcpReturn::notAvailable;
    }
    pointToText(service->second.result);
    m_serviceEnd = std::max(busyUntil(), m_commandEnd) + service->second.duration;
    return packet().u8(static_cast<std::uint8_t>(service->second.result.size())).u8(service->second.type);
}

CcpAnswer CcpEcu::onDiagService(const CcpRequest& request) {
    return serve(m_config.diagServices, request);
}

CcpAnswer CcpEcu::onActionService(const CcpRequest& request) {
    return serve(m_config.actionServices, request);
}

}  // namespace sim
