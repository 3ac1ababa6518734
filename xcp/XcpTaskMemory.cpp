/// @file
/// `XcpTaskTransmit`: calibration pages, writing a variable, uploading and checking memory.
#include "memfile/Checksum.h"
#include "transport/ResultCode.h"
#include "xcp/XcpTaskTransmit.h"

#include <algorithm>
#include <iterator>

namespace XCP_MOUDLE {

namespace {

constexpr std::uint8_t kPageForEcuAndXcp = 3;    ///< mode of SET_CAL_PAGE
constexpr std::uint8_t kMasterBlockMode = 0x01;  ///< bit of COMM_MODE_OPTIONAL
constexpr std::uint32_t kPagelessSegment = 1;    ///< `programType` of a segment without pages to select
constexpr std::size_t kUploadStep = 255;
constexpr int kLargestStep = 255;

using PageFilter = bool (*)(const mcMemoryPage&);

/// Which pages of a data segment an operation keeps, by its bits 1 and 2.
PageFilter pageFilter(mcMemOperType dataBits) {
    if (dataBits == mcMemDataReference) {
        return [](const mcMemoryPage& page) { return page.writeAccess == 0; };
    }
    if (dataBits == mcMemDataWorking) {
        return [](const mcMemoryPage& page) { return page.writeAccess != 0; };
    }
    return [](const mcMemoryPage&) { return true; };
}

/// One copy per page, or one copy if there is at most one.
void addSegment(std::vector<mcMemoryInfo>& ranges, const mcMemoryInfo& segment,
                const std::vector<mcMemoryPage>& pages) {
    mcMemoryInfo range = segment;
    if (pages.size() < 2) {
        range.pages = pages;
        ranges.push_back(range);
        return;
    }
    for (const mcMemoryPage& page : pages) {
        range.pages = {page};
        ranges.push_back(range);
    }
}

}  // namespace

std::uint32_t XcpTaskTransmit::setCalPageOrReport(std::uint8_t segment, std::uint8_t page) {
    m_cfg.xcp.calPageMode = kPageForEcuAndXcp;
    if (!isSupported(kSetCalPage)) {
        writeLog(kLogWarning, "SET_CAL_PAGE not supported");
        return kResultNoOptCmd;
    }
    return cmdSetCalPage(kPageForEcuAndXcp, segment, page) != 0 ? kResultSetCalPage : kResultOk;
}

std::uint32_t XcpTaskTransmit::selectWorkingPage() {
    return setCalPageOrReport(m_cfg.xcp.workingSegment, m_cfg.xcp.workingPage);
}

std::uint32_t XcpTaskTransmit::selectReferencePage() {
    return setCalPageOrReport(m_cfg.xcp.referenceSegment, m_cfg.xcp.referencePage);
}

std::uint32_t XcpTaskTransmit::copyReferenceToWorking() {
    if (!isSupported(kCopyCalPage)) {
        writeLog(kLogWarning, "COPY_CAL_PAGE not supported");
        return kResultNoOptCmd;
    }
    const XcpCfg& xcp = m_cfg.xcp;
    const bool failed =
        cmdCopyCalPage(xcp.referenceSegment, xcp.referencePage, xcp.workingSegment, xcp.workingPage) != 0;
    return failed ? kResultOther : kResultOk;
}

/// The number of bytes is cut to 8 bits: hosts write variables of at most 255 bytes.
std::uint32_t XcpTaskTransmit::writeVariable(const mcMeasureVariable& variable,
                                             const std::vector<std::uint8_t>& bytes) {
    if (cmdSetMta(variable.address, variable.addressExtension) != 0) {
        writeLog(kLogError, "SET_MTA failed");
        return kResultSetMta;
    }
    return writeData(bytes.data(), static_cast<std::uint8_t>(bytes.size())) ? 1 : 0;
}

bool XcpTaskTransmit::offersMasterBlock() const {
    return (m_cfg.xcp.commModeOptional & kMasterBlockMode) != 0;
}

/// The bytes that one step of a transfer takes; 0 is no step at all.
std::uint8_t XcpTaskTransmit::stepSize(bool block) const {
    const auto plain = static_cast<std::uint8_t>(m_cfg.maxCto - m_cfg.xcp.addressGranularity);
    const auto whole = static_cast<std::uint8_t>(std::min(m_cfg.xcp.maxBs * plain, kLargestStep));
    return block && whole != 0 ? whole : plain;
}

bool XcpTaskTransmit::writeData(const std::uint8_t* source, std::uint8_t count) {
    const std::uint8_t granularity = m_cfg.xcp.addressGranularity;
    if (!offersMasterBlock() || !isSupported(kDownloadNext)) {
        return downloadPlain(source, count, granularity) == count;
    }
    const std::size_t step = stepSize(true);
    for (std::size_t sent = 0; sent < count; sent += step) {
        const auto part = static_cast<std::uint8_t>(std::min(step, count - sent));
        if (part == 0 || downloadBlock(source + sent, part, granularity) != part) {
            return false;
        }
    }
    return true;
}

std::vector<mcMemoryInfo> XcpTaskTransmit::memoryRanges(mcMemOperType operation) {
    std::vector<mcMemoryInfo> ranges;
    if ((operation & mcMemCode) != 0) {
        for (const mcMemoryInfo& segment : m_cfg.codeSegments) {
            const auto kept = std::min<std::size_t>(segment.pages.size(), 1);
            addSegment(ranges, segment,
                       {segment.pages.begin(), segment.pages.begin() + static_cast<std::ptrdiff_t>(kept)});
        }
    }
    const mcMemOperType dataBits = operation & (mcMemDataReference | mcMemDataWorking);
    if (dataBits != 0) {
        for (const mcMemoryInfo& segment : m_cfg.dataSegments) {
            std::vector<mcMemoryPage> pages;
            std::copy_if(segment.pages.begin(), segment.pages.end(), std::back_inserter(pages),
                         pageFilter(dataBits));
            addSegment(ranges, segment, pages);
        }
    }
    return ranges;
}

bool XcpTaskTransmit::hasPageToSelect(const mcMemoryInfo& range) {
    return !range.pages.empty() && range.programType != kPagelessSegment;
}

std::uint32_t XcpTaskTransmit::uploadRange(const mcMemoryInfo& range, std::vector<mcMemoryData>* results,
                                           const std::uint32_t* total, std::uint32_t* done) {
    if (hasPageToSelect(range) &&
        setCalPageOrReport(range.segmentNumber, range.pages.front().pageNumber) != kResultOk) {
        writeLog(kLogError, "SET_CAL_PAGE failed");
        return kResultSetCalPage;
    }
    if (cmdSetMta(range.address, range.addressExtension) != 0) {
        writeLog(kLogError, "SET_MTA failed");
        return kResultSetMta;
    }
    const auto readStep = [this](std::uint8_t* destination, std::size_t wanted) -> std::size_t {
        return uploadBlock(destination, static_cast<std::uint8_t>(wanted), 1);
    };
    return uploadSteps(range, kUploadStep, readStep, results, total, done, m_callBacks.memResultFun);
}

std::uint32_t XcpTaskTransmit::uploadMemory(mcMemOperType operation, std::vector<mcMemoryData>* results) {
    const auto upload = [this](const mcMemoryInfo& range, std::vector<mcMemoryData>* read,
                               const std::uint32_t* total,
                               std::uint32_t* done) { return uploadRange(range, read, total, done); };
    return uploadRanges(memoryRanges(operation), upload, results, m_callBacks.memResultFun);
}

std::uint32_t XcpTaskTransmit::checkMemory(const std::list<mem_buf>& blocks, mcMemOperType operation,
                                           std::vector<mcMemoryData>* results) {
    return checkRanges(blocks, memoryRanges(operation), kResultMemFileMerge,
                       [&](const mcMemoryInfo& range) { return checkRange(range, blocks, results); });
}

/// `checksumType` of a range only switches the check on: the kind comes from the ECU with each checksum. The
/// MTA is set once for a part, as the ECU moves it on by itself.
std::uint32_t XcpTaskTransmit::checkRange(const mcMemoryInfo& range, const std::list<mem_buf>& blocks,
                                          std::vector<mcMemoryData>* results) {
    if (range.checksumType == 0) {
        return kResultOk;
    }
    if (hasPageToSelect(range)) {
        setCalPageOrReport(range.segmentNumber, range.pages.front().pageNumber);
    }
    const auto onPart = [&](std::uint32_t address) { cmdSetMta(address, range.addressExtension); };
    const auto onStep = [&](const ChecksumStep& step) -> std::uint32_t {
        std::uint32_t checksum = 0;
        if (cmdBuildChecksum(step.length, checksum) != 0) {
            writeLog(kLogError, "BuildChecksum failed");
            return kResultBuildChecksum;
        }
        if (results != nullptr) {
            const auto kind = static_cast<std::int32_t>(m_cfg.xcp.checksumType);
            results->push_back(checksumEntry(step, kind, littleEndianBytes(checksum, checksumWidth(kind))));
        }
        return kResultOk;
    };
    return walkChecksums(range, blocks, onPart, onStep);
}

}  // namespace XCP_MOUDLE
