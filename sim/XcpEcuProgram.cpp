// Programming commands of XcpEcu: clearing and programming its flash.
#include "sim/XcpEcu.h"

#include <algorithm>
#include <iterator>

namespace sim {
namespace {

constexpr std::uint8_t kProgramNext = 0xCA;
constexpr std::uint8_t kDownloadNext = 0xEF;

// Access modes of PROGRAM_CLEAR and PROGRAM_FORMAT.
constexpr std::uint8_t kAbsolute = 0;
constexpr std::uint8_t kFunctional = 1;

// PGM_PROPERTIES
constexpr std::uint8_t kAbsoluteMode = 0x01;
constexpr std::uint8_t kFunctionalMode = 0x02;
constexpr std::uint8_t kNonSequentialMode = 0x40;

/// Areas by their bit, alike in PROGRAM_CLEAR and PROGRAM_VERIFY; the latter knows no bit for NVRAM.
struct AreaBit {
    std::uint32_t bit;
    FlashArea area;
};
constexpr AreaBit kClearBits[] = {
    {0x01, FlashArea::calibration}, {0x02, FlashArea::code}, {0x04, FlashArea::nonVolatileRam}};
constexpr AreaBit kVerifyBits[] = {{0x01, FlashArea::calibration}, {0x02, FlashArea::code}};
constexpr std::uint16_t kVerifyAll = 0x04;

XcpError errorOf(FlashResult result) {
    constexpr XcpError kErrors[] = {XcpError::none, XcpError::accessDenied, XcpError::verify};
    return kErrors[static_cast<std::size_t>(result)];
}

}  // namespace

/// Whether a command goes on with the block that is under way; every other command ends it.
bool XcpEcu::keepsBlock(std::uint8_t code) const {
    if (m_block.programs) {
        return code == kProgramNext || (code == kDownloadNext && m_config.program.takesDownloadNext);
    }
    return code == kDownloadNext;
}

/// The answer to what the flash was told to do.
XcpAnswer XcpEcu::flashAnswer(FlashResult result) const {
    XcpAnswer answer = done(errorOf(result));
    const bool late = m_config.program.answer != XcpFlashAnswer::atOnce;
    answer.readyAt = result == FlashResult::ok && late ? m_flash.busyUntil() : Time{0};
    return answer;
}

/// Programs at the MTA and moves it on, or behind what was programmed last where areas count.
XcpAnswer XcpEcu::programBytes(std::span<const std::uint8_t> bytes) {
    if (m_programming.functional) {
        const FlashResult result = m_flash.programAt(m_commandEnd, m_programming.functionalOffset, bytes);
        m_programming.functionalOffset += result == FlashResult::ok ? bytes.size() : 0;
        return flashAnswer(result);
    }
    if (m_mta.inText) {
        return XcpError::accessDenied;
    }
    const FlashResult result = m_flash.program(m_commandEnd, m_mta.address, m_mta.extension, bytes);
    if (result == FlashResult::ok) {
        m_mta.address += static_cast<std::uint32_t>(bytes.size() / m_config.granularity);
    }
    return flashAnswer(result);
}

XcpError XcpEcu::checkProgramming() const {
    return m_programming.started && !m_programming.segmentEnded ? XcpError::none : XcpError::sequence;
}

XcpAnswer XcpEcu::onProgramStart(const XcpRequest&) {
    if (m_daq.running()) {
        return XcpError::daqActive;
    }
    if (m_flash.sectors().empty()) {
        return XcpError::generic;
    }
    const XcpProgramConfig& program = m_config.program;
    m_programming = Programming{.started = true};
    return positive()
        .zeros(1)
        .u8(program.masterBlockMode ? 0x01 : 0x00)
        .u8(m_config.maxCtoPgm())
        .u8(program.maxBs)
        .u8(program.minSt)
        .u8(program.queueSize);
}

XcpAnswer XcpEcu::onProgramClear(const XcpRequest& request) {
    const std::uint8_t mode = request.u8(1);
    const std::uint32_t range = request.u32(4);
    if (!m_programming.started) {
        return XcpError::sequence;
    }
    if (mode > kFunctional || (mode == kFunctional && !m_config.program.functionalMode) || range == 0) {
        return XcpError::outOfRange;
    }
    if (mode == kFunctional) {
        return clearAreas(range);
    }
    if (m_mta.inText) {
        return XcpError::accessDenied;
    }
    const std::uint64_t size = std::uint64_t{range} * m_config.granularity;
    return flashAnswer(m_flash.clear(m_commandEnd, m_mta.address, m_mta.extension, size));
}

XcpAnswer XcpEcu::clearAreas(std::uint32_t areas) {
    constexpr std::uint32_t kKnown = 0x07;
    if ((areas & ~kKnown) != 0) {
        return XcpError::outOfRange;
    }
    for (const AreaBit& row : kClearBits) {
        if ((areas & row.bit) != 0) {
            m_flash.clear(m_commandEnd, row.area);
        }
    }
    return flashAnswer(FlashResult::ok);
}

/// A PROGRAM without elements ends the memory segment: the next one needs an address again.
XcpAnswer XcpEcu::onProgram(const XcpRequest& request) {
    const XcpError error = checkProgramming();
    if (error != XcpError::none) {
        return error;
    }
    if (request.u8(1) == 0) {
        m_programming.segmentEnded = true;
        return positive();
    }
    return startBlock(request, true);
}

XcpAnswer XcpEcu::onProgramNext(const XcpRequest& request) {
    return m_config.program.masterBlockMode ? continueBlock(request) : XcpAnswer(XcpError::cmdUnknown);
}

XcpAnswer XcpEcu::onProgramMax(const XcpRequest& request) {
    const XcpError error = checkProgramming();
    if (error != XcpError::none) {
        return error;
    }
    const std::size_t granularity = m_config.granularity;
    const std::size_t size = (m_config.maxCtoPgm() / granularity - 1) * granularity;
    const std::span<const std::uint8_t> data = request.bytes(granularity, size);
    return data.size() < size ? XcpAnswer(XcpError::cmdSyntax) : programBytes(data);
}

/// Ends the session. It is taken outside a programming sequence as well, as a way to reset the ECU.
XcpAnswer XcpEcu::onProgramReset(const XcpRequest&) {
    endSession();
    return positive();
}

XcpAnswer XcpEcu::onProgramPrepare(const XcpRequest& request) {
    const std::uint16_t size = request.u16(2);
    const std::uint64_t bytes = std::uint64_t{size} * m_config.granularity;
    const bool there =
        !m_mta.inText && m_memory.checkRead(m_mta.address, m_mta.extension, bytes) == MemoryResult::ok;
    return size == 0 || size > m_config.program.codeRoom || !there ? XcpAnswer(XcpError::generic)
                                                                   : XcpAnswer(positive());
}

/// Plain data in any order of addresses; nothing is compressed or encrypted.
XcpAnswer XcpEcu::onProgramFormat(const XcpRequest& request) {
    constexpr std::uint8_t kNonSequential = 1;
    const std::uint8_t access = request.u8(4);
    const bool plain = request.u8(1) == 0 && request.u8(2) == 0 && request.u8(3) <= kNonSequential;
    const bool reachable = access == kAbsolute || (access == kFunctional && m_config.program.functionalMode);
    if (!m_programming.started) {
        return XcpError::sequence;
    }
    if (!plain || !reachable) {
        return XcpError::outOfRange;
    }
    m_programming.functional = access == kFunctional;
    m_programming.functionalOffset = 0;
    return positive();
}

/// The sectors of a verification type; none for one that is not known.
std::vector<std::size_t> XcpEcu::sectorsOf(std::uint16_t verificationType) const {
    std::vector<std::size_t> numbers;
    if ((verificationType & ~(kVerifyAll | 0x03U)) != 0) {
        return numbers;
    }
    for (std::size_t i = 0; i < m_flash.sectors().size(); ++i) {
        const FlashArea area = m_flash.sectors()[i].area;
        const bool named = std::any_of(
            std::begin(kVerifyBits), std::end(kVerifyBits),
            [&](const AreaBit& row) { return row.area == area && (verificationType & row.bit) != 0; });
        if (named || (verificationType & kVerifyAll) != 0) {
            numbers.push_back(i);
        }
    }
    return numbers;
}

/// Mode 0 looks whether each sector holds a program at all, mode 1 compares the checksum over all of them.
XcpAnswer XcpEcu::onProgramVerify(const XcpRequest& request) {
    constexpr std::uint8_t kByValue = 1;
    const std::uint8_t mode = request.u8(1);
    const std::vector<std::size_t> sectors = sectorsOf(request.u16(2));
    if (!m_programming.started) {
        return XcpError::sequence;
    }
    if (mode > kByValue || sectors.empty()) {
        return XcpError::outOfRange;
    }
    std::vector<std::uint8_t> all;
    bool blank = false;
    for (const std::size_t sector : sectors) {
        const std::span<const std::uint8_t> cells = m_flash.cells(sector);
        all.insert(all.end(), cells.begin(), cells.end());
        blank |= m_flash.blank(sector);
    }
    const bool right = mode == kByValue
                           ? computeChecksum(m_config.checksum, all, m_config.byteOrder) == request.u32(4)
                           : !blank;
    return right ? XcpAnswer(positive()) : XcpAnswer(XcpError::verify);
}

XcpAnswer XcpEcu::onGetPgmProcessorInfo(const XcpRequest&) {
    const std::uint8_t functional = m_config.program.functionalMode ? kFunctionalMode : std::uint8_t{0};
    return positive()
        .u8(kAbsoluteMode | functional | kNonSequentialMode)
        .u8(static_cast<std::uint8_t>(m_flash.sectors().size()));
}

/// Address (mode 0), length in bytes (1) or name (2) of a sector.
XcpAnswer XcpEcu::onGetSectorInfo(const XcpRequest& request) {
    constexpr std::uint8_t kName = 2;
    constexpr std::uint8_t kSequential = 0;
    const std::uint8_t mode = request.u8(1);
    const std::uint8_t number = request.u8(2);
    if (mode > kName) {
        return XcpError::modeNotValid;
    }
    if (number >= m_flash.sectors().size()) {
        return XcpError::segmentNotValid;
    }
    const FlashSector& sector = m_flash.sectors()[number];
    if (mode == kName) {
        pointToText(sector.name);
        return positive().u8(static_cast<std::uint8_t>(sector.name.size()));
    }
    return positive()
        .u8(number)
        .u8(number)
        .u8(kSequential)
        .u32(mode == 0 ? sector.base : static_cast<std::uint32_t>(sector.size));
}

}  // namespace sim
