#include "sim/XcpEcuFaults.h"

#include <algorithm>

namespace sim {
namespace {

bool concernsCommands(XcpFaultKind kind) {
    return kind != XcpFaultKind::overload && kind != XcpFaultKind::dropDto && kind != XcpFaultKind::repeatDto;
}

}  // namespace

bool XcpEcuFaults::strike(XcpFault& fault) {
    if (fault.after > 0) {
        --fault.after;
        return false;
    }
    if (fault.count == 0) {
        return false;
    }
    if (fault.count != XcpFault::kForever) {
        --fault.count;
    }
    return true;
}

void XcpEcuFaults::removeSpent() {
    std::erase_if(m_faults, [](const XcpFault& fault) { return fault.count == 0; });
}

std::vector<XcpFault> XcpEcuFaults::onCommand(std::uint8_t code) {
    std::vector<XcpFault> hits;
    for (XcpFault& fault : m_faults) {
        if (concernsCommands(fault.kind) && fault.command.value_or(code) == code && strike(fault)) {
            hits.push_back(fault);
        }
    }
    removeSpent();
    return hits;
}

bool XcpEcuFaults::onSample() {
    bool lost = false;
    for (XcpFault& fault : m_faults) {
        lost = (fault.kind == XcpFaultKind::overload && strike(fault)) || lost;
    }
    removeSpent();
    return lost;
}

int XcpEcuFaults::onDto() {
    int times = 1;
    for (XcpFault& fault : m_faults) {
        if (fault.kind == XcpFaultKind::dropDto && strike(fault)) {
            times = 0;
        } else if (fault.kind == XcpFaultKind::repeatDto && strike(fault)) {
            times = std::min(times * 2, 2);
        }
    }
    removeSpent();
    return times;
}

bool XcpEcuFaults::silent() const {
    return std::any_of(m_faults.begin(), m_faults.end(), [](const XcpFault& fault) {
        return fault.kind == XcpFaultKind::silence && !fault.command && fault.after == 0 && fault.count > 0;
    });
}

}  // namespace sim
