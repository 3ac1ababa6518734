/// @file
/// `CcpTaskTransmit`: calibration pages, writing a variable, and all operations on memory ranges.
#include "TalvexMemory.h"
#include "ccp/CcpTaskTransmit.h"
#include "memfile/Checksum.h"
#include "transport/MemoryTask.h"
#include "transport/ResultCode.h"

#include <algorithm>
#include <array>

namespace CCP_MOUDLE {

namespace {

constexpr std::uint32_t kUploadStep = 4096;
constexpr std::size_t kDownloadStep = 255;
constexpr std::uint32_t kMovedType = 2;  ///< `programType` and `memoryType` of the segment that is copied
constexpr std::uint8_t kChecksumRoom = 4;

}  // namespace

std::uint32_t CcpTaskTransmit::selectWorkingPage() {
    return selectPage(m_cfg.ccp.workingPageAddress);
}

std::uint32_t CcpTaskTransmit::selectReferencePage() {
    return selectPage(m_cfg.ccp.referencePageAddress);
}

std::uint32_t CcpTaskTransmit::selectPage(std::uint32_t address) {
    if (!isSupported(kSelectCalPage)) {
        writeLog(kLogWarning, "SELECT_CAL_PAGE not supported");
        return kResultNoOptCmd;
    }
    if (cmdSetMta(address, 0) != 0) {
        return kResultSetMta;
    }
    return cmdSelectCalPage() != 0 ? kResultSelectCalPage : kResultOk;
}

/// The two MTAs are not set: the move uses what they hold. Whether the ECU moved anything is not looked at.
std::uint32_t CcpTaskTransmit::copyReferenceToWorking() {
    if (!isSupported(kMove)) {
        writeLog(kLogWarning, "CCP has no MOVE; copy reference to working page not supported");
        return kResultNoOptCmd;
    }
    const std::vector<mcMemoryInfo>& segments = m_cfg.dataSegments;
    const auto segment = std::find_if(segments.begin(), segments.end(), [](const mcMemoryInfo& candidate) {
        return candidate.programType == kMovedType && candidate.memoryType == kMovedType;
    });
    cmdMove(segment == segments.end() ? 0 : segment->length);
    return kResultOk;
}

/// The number of bytes is cut to 8 bits, and a refused DNLOAD is not reported: hosts read back what matters.
std::uint32_t CcpTaskTransmit::writeVariable(const mcMeasureVariable& variable,
                                             const std::vector<std::uint8_t>& bytes) {
    if (cmdSetMta(variable.address, variable.addressExtension) != 0) {
        writeLog(kLogError, "error set mta" + variable.name);
        return kResultSetMta;
    }
    downloadBytes(static_cast<std::uint8_t>(bytes.size()), bytes.data(), false);
    return kResultOk;
}

std::vector<mcMemoryInfo> CcpTaskTransmit::memoryRanges(mcMemOperType operation) {
    std::vector<mcMemoryInfo> ranges;
    if ((operation & mcMemCode) != 0) {
        ranges = m_cfg.codeSegments;
    }
    if ((operation & (mcMemDataReference | mcMemDataWorking)) != 0) {
        ranges.insert(ranges.end(), m_cfg.dataSegments.begin(), m_cfg.dataSegments.end());
    }
    return ranges;
}

std::uint32_t CcpTaskTransmit::eraseMemory(mcMemOperType operation) {
    for (const mcMemoryInfo& range : memoryRanges(operation)) {
        if (cmdSetMta(range.address, range.addressExtension) != 0) {
            writeLog(kLogError, "SET_MTA failed");
        } else if (cmdClearMemory(range.length) != 0) {
            writeLog(kLogError, "CLEAR_MEMORY failed");
        }
    }
    return kResultOk;
}

std::uint32_t CcpTaskTransmit::uploadRange(const mcMemoryInfo& range, std::vector<mcMemoryData>* results,
                                           const std::uint32_t* total, std::uint32_t* done) {
    if (cmdSetMta(range.address, range.addressExtension) != 0) {
        writeLog(kLogError, "SET_MTA failed");
        return kResultSetMta;
    }
    const auto readStep = [this](std::uint8_t* destination, std::size_t wanted) -> std::size_t {
        return uploadBlock(destination, static_cast<std::uint32_t>(wanted));
    };
    return uploadSteps(range, kUploadStep, readStep, results, total, done, m_callBacks.memResultFun);
}

std::uint32_t CcpTaskTransmit::uploadMemory(mcMemOperType operation, std::vector<mcMemoryData>* results) {
    return uploadRanges(
        memoryRanges(operation),
        [this](const auto& range, auto* read, const auto* total, auto* done) {
            return uploadRange(range, read, total, done);
        },
        results, m_callBacks.memResultFun);
}

/// Data goes ahead of code, and the address extension is 0 for both, whatever the segment says.
std::uint32_t CcpTaskTransmit::downloadMemory(const std::list<mem_buf>& blocks, mcMemOperType operation) {
    if (blocks.empty()) {
        writeLog(kLogError, "SetDownEcu: empty records");
        return kResultOther;
    }
    const std::list<mem_buf> data =
        MergeMemByAddr(blocks, memoryRanges(operation & (mcMemDataReference | mcMemDataWorking)));
    const std::list<mem_buf> code = MergeMemByAddr(blocks, memoryRanges(operation & mcMemCode));
    const std::uint32_t total = totalBytes(data) + totalBytes(code);
    std::uint32_t done = 0;
    const std::uint32_t result = downloadBlocks(data, false, total, done);
    return result != kResultOk ? result : downloadBlocks(code, true, total, done);
}

std::uint32_t CcpTaskTransmit::downloadBlocks(const std::list<mem_buf>& blocks, bool program,
                                              std::uint32_t total, std::uint32_t& done) {
    for (const mem_buf& block : blocks) {
        for (std::size_t offset = 0; offset < block.data.size(); offset += kDownloadStep) {
            const auto step = static_cast<std::uint8_t>(std::min(kDownloadStep, block.data.size() - offset));
            if (cmdSetMta(block.address + static_cast<std::uint32_t>(offset), 0) != 0) {
                return kResultSetMta;
            }
            downloadBytes(step, block.data.data() + offset, program);
            done += step;
            reportPercent(m_callBacks.memResultFun, kMemDownloadPercent, done, total);
        }
    }
    return kResultOk;
}

std::uint32_t CcpTaskTransmit::checkMemory(const std::list<mem_buf>& blocks, mcMemOperType operation,
                                           std::vector<mcMemoryData>* results) {
    return checkRanges(blocks, memoryRanges(operation), kResultCheckMemory,
                       [&](const mcMemoryInfo& range) { return checkRange(range, blocks, results); });
}

/// A step whose SET_MTA fails makes no entry; the walk goes on.
std::uint32_t CcpTaskTransmit::checkRange(const mcMemoryInfo& range, const std::list<mem_buf>& blocks,
                                          std::vector<mcMemoryData>* results) {
    const auto kind = static_cast<std::int32_t>(range.checksumType);
    const auto onStep = [&](const ChecksumStep& step) -> std::uint32_t {
        if (cmdSetMta(step.address, 0) != 0) {
            return kResultOk;
        }
        std::array<std::uint8_t, kChecksumRoom> checksum{};
        std::uint8_t copied = kChecksumRoom;
        if (cmdBuildChksum(step.length, checksum.data(), copied) != 0) {
            writeLog(kLogError, "BuildChksum failed");
            return kResultBuildChecksum;
        }
        if (results != nullptr) {
            const auto width = static_cast<std::ptrdiff_t>(checksumWidth(kind));
            results->push_back(checksumEntry(step, kind, {checksum.begin(), checksum.begin() + width}));
        }
        return kResultOk;
    };
    return walkChecksums(
        range, blocks, [](std::uint32_t) {}, onStep);
}

/// The seed that opens this is not used: ECUs want to see the request ahead of the flash, nothing is
/// unlocked.
std::uint32_t CcpTaskTransmit::forceDownload(const std::string& path) {
    msgBuf seed;
    if (cmdGetSeed(m_cfg.ccp.unlockMask, seed) != 0) {
        return kResultNoTaskCmd;
    }
    selectWorkingPage();
    const std::uint32_t result = clearForced();
    if (result != kResultOk) {
        return result;
    }
    selectWorkingPage();
    const std::list<mem_buf> blocks = readImage(path);
    if (blocks.empty()) {
        writeLog(kLogError, "Download ecu parse file " + path + " failed");
        return kResultOther;
    }
    const std::vector<mcMemoryInfo> ranges = memoryRanges(mcMemDataReference);
    const std::list<mem_buf> merged = MergeMemByAddr(blocks, ranges);
    if (merged.empty() && !ranges.empty()) {
        return kResultMemFileMerge;
    }
    streamForced(merged);
    return kResultOk;
}

std::uint32_t CcpTaskTransmit::clearForced() {
    for (const mcMemoryInfo& range : memoryRanges(mcMemDataReference)) {
        if (cmdSetMta(range.address, range.addressExtension) != 0) {
            writeLog(kLogError, "ForceWrite2Flash SET_MTA failed");
            return kResultNoTaskCmd;
        }
        if (cmdClearMemory(range.length) != 0) {
            writeLog(kLogError, "ForceWrite2Flash CLEAR_MEMORY failed");
            return kResultNoTaskCmd;
        }
    }
    return kResultOk;
}

/// Programs all blocks as one run of bytes: gaps between them close up, as the ECU goes on from its own MTA.
void CcpTaskTransmit::streamForced(const std::list<mem_buf>& blocks) {
    std::array<std::uint8_t, kProgram6Size> group{};
    std::size_t filled = 0;
    for (const mem_buf& block : blocks) {
        for (const std::uint8_t byte : block.data) {
            group[filled++] = byte;
            if (filled == kProgram6Size) {
                cmdProgram6(group.data());
                filled = 0;
            }
        }
    }
    if (filled > 0) {
        programBytes(static_cast<std::uint8_t>(filled), group.data());
    }
}

}  // namespace CCP_MOUDLE
