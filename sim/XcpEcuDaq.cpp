// Data acquisition commands of XcpEcu: the wire side of XcpDaqProcessor.
#include "sim/XcpEcu.h"

#include <algorithm>

namespace sim {
namespace {

/// Marks a 29-bit identifier where one stands in a double word.
constexpr std::uint32_t kExtendedId = 0x80000000;

std::uint8_t daqProperties(const XcpEcuConfig& config) {
    const XcpDaqConfig& daq = config.daq;
    std::uint8_t bits = daq.dynamic ? 0x01 : 0x00;
    bits |= daq.prescalerSupported ? 0x02 : 0x00;
    bits |= daq.timestampSize > 0 ? 0x10 : 0x00;
    bits |= daq.pidOffSupported ? 0x20 : 0x00;
    bits |= daq.overload == XcpOverload::msb ? 0x40 : 0x00;
    bits |= daq.overload == XcpOverload::event ? 0x80 : 0x00;
    return bits;
}

std::uint8_t daqKeyByte(const XcpDaqConfig& daq) {
    return static_cast<std::uint8_t>(static_cast<unsigned>(daq.idField) << 6 | unsigned{daq.addressExtension}
                                                                                   << 4);
}

std::uint8_t timestampMode(const XcpDaqConfig& daq) {
    const unsigned fixed = daq.timestampFixed ? 0x08 : 0x00;
    return static_cast<std::uint8_t>(unsigned{daq.timestampUnit} << 4 | fixed | daq.timestampSize);
}

std::uint8_t mostEntries(const XcpDaqList& list) {
    std::size_t most = 0;
    for (const std::vector<XcpDaqEntry>& odt : list.odts) {
        most = std::max(most, odt.size());
    }
    return static_cast<std::uint8_t>(most);
}

}  // namespace

/// The answer of a command that tells nothing but how it went.
XcpAnswer XcpEcu::done(XcpError error) const {
    return error == XcpError::none ? XcpAnswer(positive()) : XcpAnswer(error);
}

XcpAnswer XcpEcu::onClearDaqList(const XcpRequest& request) {
    return done(m_daq.clearList(request.u16(2)));
}

XcpAnswer XcpEcu::onSetDaqPtr(const XcpRequest& request) {
    return done(m_daq.setPointer(request.u16(2), request.u8(4), request.u8(5)));
}

XcpAnswer XcpEcu::onWriteDaq(const XcpRequest& request) {
    return done(m_daq.writeEntry(XcpDaqEntry{.bitOffset = request.u8(1),
                                             .size = request.u8(2),
                                             .extension = request.u8(3),
                                             .address = request.u32(4)}));
}

XcpAnswer XcpEcu::onWriteDaqMultiple(const XcpRequest& request) {
    constexpr std::size_t kHeader = 2;
    constexpr std::size_t kElement = 8;
    constexpr std::size_t kLastElement = 7;  // the fill byte behind the last one need not be there
    const std::size_t count = request.u8(1);
    if (count == 0 || kHeader + count * kElement > m_config.maxCto) {
        return XcpError::outOfRange;
    }
    if (request.length() < kHeader + (count - 1) * kElement + kLastElement) {
        return XcpError::cmdSyntax;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = kHeader + i * kElement;
        const XcpError error = m_daq.writeEntry(XcpDaqEntry{.bitOffset = request.u8(at),
                                                            .size = request.u8(at + 1),
                                                            .extension = request.u8(at + 6),
                                                            .address = request.u32(at + 2)});
        if (error != XcpError::none) {
            return error;
        }
    }
    return positive();
}

XcpAnswer XcpEcu::onReadDaq(const XcpRequest&) {
    XcpDaqEntry entry;
    const XcpError error = m_daq.readEntry(entry);
    if (error != XcpError::none) {
        return error;
    }
    return positive().u8(entry.bitOffset).u8(entry.size).u8(entry.extension).u32(entry.address);
}

XcpAnswer XcpEcu::onSetDaqListMode(const XcpRequest& request) {
    return done(m_daq.setListMode(request.u16(2), XcpDaqListMode{.flags = request.u8(1),
                                                                 .event = request.u16(4),
                                                                 .prescaler = request.u8(6),
                                                                 .priority = request.u8(7)}));
}

XcpAnswer XcpEcu::onGetDaqListMode(const XcpRequest& request) {
    const XcpDaqList* list = m_daq.list(request.u16(2));
    if (list == nullptr) {
        return XcpError::outOfRange;
    }
    std::uint8_t flags = list->mode.flags;
    flags |= list->selected ? xcp::kListSelected : std::uint8_t{0};
    flags |= list->running ? xcp::kListRunning : std::uint8_t{0};
    return positive()
        .u8(flags)
        .zeros(2)
        .u16(list->mode.event)
        .u8(list->mode.prescaler)
        .u8(list->mode.priority);
}

XcpAnswer XcpEcu::onStartStopDaqList(const XcpRequest& request) {
    const std::uint8_t mode = request.u8(1);
    const std::uint16_t number = request.u16(2);
    if (mode > static_cast<std::uint8_t>(XcpListAction::select)) {
        return XcpError::modeNotValid;
    }
    const XcpError error = m_daq.startStop(number, static_cast<XcpListAction>(mode));
    if (error != XcpError::none) {
        return error;
    }
    return positive().u8(m_daq.list(number)->firstPid);
}

XcpAnswer XcpEcu::onStartStopSynch(const XcpRequest& request) {
    const std::uint8_t mode = request.u8(1);
    if (mode > static_cast<std::uint8_t>(XcpSynchAction::stopSelected)) {
        return XcpError::modeNotValid;
    }
    return done(m_daq.startStopSynch(static_cast<XcpSynchAction>(mode)));
}

XcpAnswer XcpEcu::onGetDaqClock(const XcpRequest&) {
    if (m_config.daq.timestampSize == 0) {
        return XcpError::cmdUnknown;
    }
    return positive().zeros(3).u32(static_cast<std::uint32_t>(clockAt(m_commandEnd)));
}

XcpAnswer XcpEcu::onGetDaqProcessorInfo(const XcpRequest&) {
    return positive()
        .u8(daqProperties(m_config))
        .u16(m_daq.listCount())
        .u16(static_cast<std::uint16_t>(m_config.daq.events.size()))
        .u8(m_daq.predefinedCount())
        .u8(daqKeyByte(m_config.daq));
}

XcpAnswer XcpEcu::onGetDaqResolutionInfo(const XcpRequest&) {
    const XcpDaqConfig& daq = m_config.daq;
    return positive()
        .u8(daq.entryGranularity)
        .u8(daq.maxEntrySize)
        .zeros(2)
        .u8(timestampMode(daq))
        .u16(daq.timestampTicks);
}

XcpAnswer XcpEcu::onGetDaqListInfo(const XcpRequest& request) {
    constexpr std::uint8_t kPredefined = 0x01;
    constexpr std::uint8_t kEventFixed = 0x02;
    constexpr std::uint8_t kDaqOnly = 0x04;
    const XcpDaqList* list = m_daq.list(request.u16(2));
    if (list == nullptr) {
        return XcpError::outOfRange;
    }
    std::uint8_t properties = kDaqOnly;
    properties |= list->predefined ? kPredefined : std::uint8_t{0};
    properties |= list->fixedEvent ? kEventFixed : std::uint8_t{0};
    return positive()
        .u8(properties)
        .u8(static_cast<std::uint8_t>(list->odts.size()))
        .u8(mostEntries(*list))
        .u16(list->fixedEvent.value_or(0));
}

XcpAnswer XcpEcu::onGetDaqEventInfo(const XcpRequest& request) {
    const std::uint16_t number = request.u16(2);
    if (number >= m_config.daq.events.size()) {
        return XcpError::outOfRange;
    }
    const XcpEventConfig& event = m_config.daq.events[number];
    pointToText(event.name);
    return positive()
        .u8(event.properties)
        .u8(event.maxLists)
        .u8(static_cast<std::uint8_t>(event.name.size()))
        .u8(event.cycle)
        .u8(event.unit)
        .u8(event.priority);
}

XcpAnswer XcpEcu::onFreeDaq(const XcpRequest&) {
    if (!m_config.daq.dynamic) {
        return XcpError::cmdUnknown;
    }
    m_daq.freeLists();
    return positive();
}

XcpAnswer XcpEcu::onAllocDaq(const XcpRequest& request) {
    return m_config.daq.dynamic ? done(m_daq.allocLists(request.u16(2))) : XcpError::cmdUnknown;
}

XcpAnswer XcpEcu::onAllocOdt(const XcpRequest& request) {
    return m_config.daq.dynamic ? done(m_daq.allocOdts(request.u16(2), request.u8(4))) : XcpError::cmdUnknown;
}

XcpAnswer XcpEcu::onAllocOdtEntry(const XcpRequest& request) {
    return m_config.daq.dynamic ? done(m_daq.allocEntries(request.u16(2), request.u8(4), request.u8(5)))
                                : XcpError::cmdUnknown;
}

XcpAnswer XcpEcu::onGetDaqId(const XcpRequest& request) {
    if (request.length() < 4) {
        return XcpError::cmdSyntax;
    }
    const XcpDaqList* list = m_daq.list(request.u16(2));
    if (list == nullptr) {
        return XcpError::outOfRange;
    }
    const std::uint32_t flag = m_config.extended ? kExtendedId : 0;
    return positive().u8(list->canIdFixed ? 0x01 : 0x00).zeros(2).u32(list->canId | flag);
}

XcpAnswer XcpEcu::onSetDaqId(const XcpRequest& request) {
    if (request.length() < 8) {
        return XcpError::cmdSyntax;
    }
    const std::uint32_t id = request.u32(4);
    const bool extended = (id & kExtendedId) != 0;
    const std::uint32_t number = id & ~kExtendedId;
    if (extended != m_config.extended || number > (extended ? 0x1FFFFFFFU : 0x7FFU)) {
        return XcpError::outOfRange;
    }
    return done(m_daq.setCanId(request.u16(2), number));
}

}  // namespace sim
