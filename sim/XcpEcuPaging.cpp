// Paging commands of XcpEcu: calibration segments and their pages.
#include "sim/XcpEcu.h"

namespace sim {
namespace {

// Access modes of SET_CAL_PAGE and GET_CAL_PAGE.
constexpr std::uint8_t kPageEcu = 0x01;
constexpr std::uint8_t kPageXcp = 0x02;
constexpr std::uint8_t kPageAll = 0x80;

constexpr std::uint8_t kFreeze = 0x01;

}  // namespace

/// The segment with that number among the calibration segments, or null.
MemorySegment* XcpEcu::calibrationSegment(std::uint8_t number) {
    const std::vector<std::size_t>& segments = m_memory.calibrationSegments();
    return number < segments.size() ? &m_memory.segment(segments[number]) : nullptr;
}

XcpError XcpEcu::checkPage(std::uint8_t segment, std::uint8_t page) {
    const MemorySegment* found = calibrationSegment(segment);
    if (found == nullptr) {
        return XcpError::segmentNotValid;
    }
    return page < found->pages.size() ? XcpError::none : XcpError::pageNotValid;
}

XcpAnswer XcpEcu::onSetCalPage(const XcpRequest& request) {
    const std::uint8_t mode = request.u8(1);
    const std::uint8_t page = request.u8(3);
    if ((mode & (kPageEcu | kPageXcp)) == 0 || (mode & ~(kPageEcu | kPageXcp | kPageAll)) != 0) {
        return XcpError::modeNotValid;
    }
    const bool all = (mode & kPageAll) != 0;
    const auto count = static_cast<std::uint8_t>(m_memory.calibrationSegments().size());
    const std::uint8_t first = all ? std::uint8_t{0} : request.u8(2);
    const unsigned end = all ? count : first + 1U;
    for (unsigned i = first; i < end; ++i) {
        const XcpError error = checkPage(static_cast<std::uint8_t>(i), page);
        if (error != XcpError::none) {
            return error;
        }
    }
    for (unsigned i = first; i < end; ++i) {
        MemorySegment& segment = *calibrationSegment(static_cast<std::uint8_t>(i));
        segment.ecuPage = (mode & kPageEcu) != 0 ? page : segment.ecuPage;
        segment.toolPage = (mode & kPageXcp) != 0 ? page : segment.toolPage;
    }
    return positive();
}

XcpAnswer XcpEcu::onGetCalPage(const XcpRequest& request) {
    const std::uint8_t mode = request.u8(1);
    const MemorySegment* segment = calibrationSegment(request.u8(2));
    if (mode != kPageEcu && mode != kPageXcp) {
        return XcpError::modeNotValid;
    }
    if (segment == nullptr) {
        return XcpError::segmentNotValid;
    }
    return positive().zeros(2).u8(mode == kPageEcu ? segment->ecuPage : segment->toolPage);
}

XcpAnswer XcpEcu::onGetPagProcessorInfo(const XcpRequest&) {
    return positive()
        .u8(static_cast<std::uint8_t>(m_memory.calibrationSegments().size()))
        .u8(m_config.freezeSupported ? kFreeze : std::uint8_t{0});
}

/// Address (@p what 0) or length in bytes (1) of a segment.
XcpAnswer XcpEcu::segmentBasics(const MemorySegment& segment, std::uint8_t what) const {
    if (what > 1) {
        return XcpError::outOfRange;
    }
    const auto length = static_cast<std::uint32_t>(segment.pages.front().bytes.size());
    return positive().zeros(3).u32(what == 0 ? segment.base : length);
}

XcpAnswer XcpEcu::onGetSegmentInfo(const XcpRequest& request) {
    constexpr std::uint8_t kBasic = 0;
    constexpr std::uint8_t kStandard = 1;
    const MemorySegment* segment = calibrationSegment(request.u8(2));
    if (segment == nullptr) {
        return XcpError::segmentNotValid;
    }
    switch (request.u8(1)) {
        case kBasic:
            return segmentBasics(*segment, request.u8(3));
        case kStandard:
            // no mappings, no compression, no encryption
            return positive()
                .u8(static_cast<std::uint8_t>(segment->pages.size()))
                .u8(segment->extension)
                .zeros(3);
        default:
            return XcpError::outOfRange;
    }
}

XcpAnswer XcpEcu::onGetPageInfo(const XcpRequest& request) {
    const std::uint8_t number = request.u8(3);
    const XcpError error = checkPage(request.u8(2), number);
    if (error != XcpError::none) {
        return error;
    }
    const MemoryPage& page = calibrationSegment(request.u8(2))->pages[number];
    return positive().u8(page.properties).u8(page.initSegment);
}

XcpAnswer XcpEcu::onSetSegmentMode(const XcpRequest& request) {
    const std::uint8_t mode = request.u8(1);
    MemorySegment* segment = calibrationSegment(request.u8(2));
    if (!m_config.freezeSupported) {
        return XcpError::cmdUnknown;
    }
    if ((mode & ~kFreeze) != 0) {
        return XcpError::modeNotValid;
    }
    if (segment == nullptr) {
        return XcpError::segmentNotValid;
    }
    segment->freeze = mode == kFreeze;
    return positive();
}

XcpAnswer XcpEcu::onGetSegmentMode(const XcpRequest& request) {
    const MemorySegment* segment = calibrationSegment(request.u8(2));
    if (!m_config.freezeSupported) {
        return XcpError::cmdUnknown;
    }
    if (segment == nullptr) {
        return XcpError::segmentNotValid;
    }
    return positive().zeros(1).u8(segment->freeze ? kFreeze : std::uint8_t{0});
}

XcpAnswer XcpEcu::onCopyCalPage(const XcpRequest& request) {
    XcpError error = checkPage(request.u8(1), request.u8(2));
    if (error == XcpError::none) {
        error = checkPage(request.u8(3), request.u8(4));
    }
    if (error != XcpError::none) {
        return error;
    }
    const MemoryPage& source = calibrationSegment(request.u8(1))->pages[request.u8(2)];
    MemoryPage& target = calibrationSegment(request.u8(3))->pages[request.u8(4)];
    if (!target.toolWritable) {
        return XcpError::writeProtected;
    }
    if (source.bytes.size() != target.bytes.size()) {
        return XcpError::outOfRange;
    }
    if (&source != &target) {
        target.bytes = source.bytes;
    }
    return positive();
}

}  // namespace sim
