/// @file
/// `XcpTaskTransmit`: erasing and programming memory.
#include "TalvexMemory.h"
#include "transport/ResultCode.h"
#include "xcp/XcpTaskTransmit.h"

#include <algorithm>

namespace XCP_MOUDLE {

namespace {

constexpr std::uint8_t kClearAbsolute = 0;  ///< mode of PROGRAM_CLEAR
constexpr std::size_t kForceStep = 210;     ///< bytes of one block sequence of a forced download
constexpr std::uint32_t kForcedMemoryType =
    2;  ///< `memoryType` of the segments that a forced download clears
constexpr std::uint8_t kNoPage = 255;

/// The page that a forced download selects: the first that cannot be written.
std::uint8_t referencePageOf(const mcMemoryInfo& segment) {
    const auto page = std::find_if(segment.pages.begin(), segment.pages.end(),
                                   [](const mcMemoryPage& candidate) { return candidate.writeAccess == 0; });
    return page == segment.pages.end() ? kNoPage : page->pageNumber;
}

/// The segment whose page 0 a block wants: only a block at a segment's start takes a page switch.
const mcMemoryInfo* segmentWithPage0(const std::vector<mcMemoryInfo>& segments, const mem_buf& block) {
    const auto segment = std::find_if(segments.begin(), segments.end(), [&](const mcMemoryInfo& candidate) {
        return candidate.address == block.address && !candidate.pages.empty();
    });
    if (segment == segments.end()) {
        return nullptr;
    }
    const bool hasPage0 = std::any_of(segment->pages.begin(), segment->pages.end(),
                                      [](const mcMemoryPage& page) { return page.pageNumber == 0; });
    return hasPage0 ? &*segment : nullptr;
}

}  // namespace

/// The code segments are erased whatever the operation says. A segment that fails does not stop the others
/// and does not show in the result.
std::uint32_t XcpTaskTransmit::eraseMemory(mcMemOperType /*operation*/) {
    if (cmdProgramStart() != 0) {
        writeLog(kLogError, "PROGRAM_START failed");
        return kResultProgramStart;
    }
    for (const mcMemoryInfo& segment : m_cfg.codeSegments) {
        if (cmdSetMta(segment.address, segment.addressExtension) != 0) {
            writeLog(kLogError, "SET_MTA failed");
        } else if (cmdProgramClear(kClearAbsolute, segment.length) != 0) {
            writeLog(kLogError, "PROGRAM_CLEAR failed");
        }
    }
    if (cmdProgramReset() != 0) {
        writeLog(kLogError, "PROGRAM_RESET failed");
        return kResultProgramReset;
    }
    return kResultOk;
}

bool XcpTaskTransmit::downloadMemBlock(const mem_buf& block, bool program, std::uint32_t total,
                                       std::uint32_t& done) {
    using Send = std::uint8_t (XcpProtoTransmit::*)(const std::uint8_t*, std::uint8_t, std::uint8_t);
    const bool blockMode = offersMasterBlock() && m_cfg.xcp.useMasterBlockMode != 0;
    const Send plain = program ? &XcpProtoTransmit::programPlain : &XcpProtoTransmit::downloadPlain;
    const Send sequence = program ? &XcpProtoTransmit::programBlock : &XcpProtoTransmit::downloadBlock;
    const Send send = blockMode ? sequence : plain;
    const std::size_t step = stepSize(blockMode);
    if (cmdSetMta(block.address, 0) != 0) {
        writeLog(kLogError, "downloadMemBlock SET_MTA failed");
        return false;
    }
    for (std::size_t offset = 0; offset < block.data.size(); offset += step) {
        const auto part = static_cast<std::uint8_t>(std::min(step, block.data.size() - offset));
        const std::uint8_t sent =
            (this->*send)(block.data.data() + offset, part, m_cfg.xcp.addressGranularity);
        done += sent;
        reportPercent(m_callBacks.memResultFun, kMemDownloadPercent, done, total);
        if (part == 0 || sent < part) {
            return false;
        }
    }
    return true;
}

std::uint32_t XcpTaskTransmit::downloadReported(const mem_buf& block, bool program, std::uint32_t total,
                                                std::uint32_t& done) {
    if (!downloadMemBlock(block, program, total, done)) {
        writeLog(kLogError, "Download Fegment Failed:" + std::to_string(block.address));
        return kResultDownloadMemBlock;
    }
    reportPercent(m_callBacks.memResultFun, kMemDownloadPercent, done, total);
    return kResultOk;
}

std::uint32_t XcpTaskTransmit::downloadMemory(const std::list<mem_buf>& blocks, mcMemOperType operation) {
    if (blocks.empty()) {
        return kResultMemFileParse;
    }
    std::vector<mcMemoryInfo> code;
    std::vector<mcMemoryInfo> data;
    if ((operation & mcMemCode) != 0) {
        code = m_cfg.codeSegments;
    }
    if ((operation & (mcMemDataReference | mcMemDataWorking)) != 0) {
        data = m_cfg.dataSegments;
    }
    const std::uint32_t total =
        totalBytes(MergeMemByAddr(blocks, code)) + totalBytes(MergeMemByAddr(blocks, data));
    std::uint32_t done = 0;
    if (!code.empty()) {
        const std::uint32_t result = programCode(blocks, code, total, done);
        if (result != kResultOk) {
            return result;
        }
    }
    return data.empty() ? kResultOk : writeCalibration(blocks, data, total, done);
}

/// After a failure between PROGRAM_START and PROGRAM_RESET no reset goes out: the host decides what becomes
/// of a half-programmed ECU.
std::uint32_t XcpTaskTransmit::programCode(const std::list<mem_buf>& blocks,
                                           const std::vector<mcMemoryInfo>& code, std::uint32_t total,
                                           std::uint32_t& done) {
    if (!isSupported(kProgramStart)) {
        writeLog(kLogError, "PROGRAM_START not support");
        return kResultNoOptCmd;
    }
    if (cmdProgramStart() != 0) {
        return kResultProgramStart;
    }
    const std::list<mem_buf> merged = MergeMemByAddr(blocks, code);
    if (merged.empty()) {
        return kResultMemFileMerge;
    }
    for (const mem_buf& block : merged) {
        const std::uint32_t result = downloadReported(block, true, total, done);
        if (result != kResultOk) {
            return result;
        }
    }
    return cmdProgramReset() != 0 ? kResultProgramReset : kResultOk;
}

std::uint32_t XcpTaskTransmit::writeCalibration(const std::list<mem_buf>& blocks,
                                                const std::vector<mcMemoryInfo>& data, std::uint32_t total,
                                                std::uint32_t& done) {
    const std::list<mem_buf> merged = MergeMemByAddr(blocks, data);
    if (merged.empty()) {
        return kResultMemFileMerge;
    }
    for (const mem_buf& block : merged) {
        const mcMemoryInfo* segment = segmentWithPage0(data, block);
        if (segment != nullptr) {
            setCalPageOrReport(segment->segmentNumber, 0);
        }
        const std::uint32_t result = downloadReported(block, false, total, done);
        if (result != kResultOk) {
            return result;
        }
    }
    return kResultOk;
}

/// Every segment of memory type 2 brings all blocks of all data segments: with two such segments each block
/// goes out twice.
std::uint32_t XcpTaskTransmit::forceDownload(const std::string& path) {
    const std::list<mem_buf> blocks = readImage(path);
    if (blocks.empty()) {
        return kResultMemFileParse;
    }
    std::uint32_t result = kResultOk;
    for (const mcMemoryInfo& segment : m_cfg.dataSegments) {
        if (segment.memoryType != kForcedMemoryType) {
            continue;
        }
        const std::uint32_t failure = clearForced(segment);
        if (failure != kResultOk) {
            result = failure;
            break;
        }
        if (MergeMemByAddr(blocks, {segment}).empty()) {
            result = kResultMemFileMerge;
            break;
        }
        const std::list<mem_buf> merged = MergeMemByAddr(blocks, m_cfg.dataSegments);
        if (merged.empty()) {
            return kResultMemFileMerge;  // the one end without a reset
        }
        if (!programForced(merged)) {
            result = kResultProgram;
        }
    }
    cmdProgramReset();
    return result;
}

/// Brings one segment of a forced download to where it can be programmed. @return a result code
std::uint32_t XcpTaskTransmit::clearForced(const mcMemoryInfo& segment) {
    if (setCalPageOrReport(segment.segmentNumber, referencePageOf(segment)) != kResultOk) {
        return kResultSetCalPage;
    }
    if (cmdProgramStart() != 0) {
        return kResultProgramStart;
    }
    if (cmdSetMta(segment.address, segment.addressExtension) != 0) {
        writeLog(kLogError, "SET_MTA failed");
        return kResultSetMta;
    }
    if (cmdProgramClear(kClearAbsolute, segment.length) != 0) {
        writeLog(kLogError, "PROGRAM_CLEAR failed");
        return kResultProgramClear;
    }
    return kResultOk;
}

/// Programs blocks until one fails, which is logged. @return true if none failed
bool XcpTaskTransmit::programForced(const std::list<mem_buf>& blocks) {
    for (const mem_buf& block : blocks) {
        if (!programWhole(block)) {
            writeLog(kLogError, "Program Fegment Failed:" + std::to_string(block.address));
            return false;
        }
    }
    return true;
}

bool XcpTaskTransmit::programWhole(const mem_buf& block) {
    if (cmdSetMta(block.address, 0) != 0) {
        writeLog(kLogError, "downloadMemBlock SET_MTA failed");
        return false;
    }
    for (std::size_t offset = 0; offset < block.data.size(); offset += kForceStep) {
        const auto part = static_cast<std::uint8_t>(std::min(kForceStep, block.data.size() - offset));
        if (programBlockNext(block.data.data() + offset, part, m_cfg.xcp.addressGranularity) < part) {
            return false;
        }
    }
    return true;
}

}  // namespace XCP_MOUDLE
