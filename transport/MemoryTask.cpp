#include "transport/MemoryTask.h"

#include "TalvexMemory.h"
#include "TalvexPlain.h"
#include "memfile/Checksum.h"
#include "memfile/MemRange.h"
#include "transport/ResultCode.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace {

constexpr std::uint32_t kDefaultChecksumBlock = 16384;
constexpr std::uint32_t kAll = 100;

void report(MemResultFun reportFun, std::uint32_t command, std::uint32_t value,
            std::vector<mcMemoryData> data = {}) {
    if (reportFun != nullptr) {
        reportFun(command, value, std::move(data));
    }
}

}  // namespace

std::uint32_t percentInRange(std::uint32_t done, std::uint32_t total) {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(kAll, std::uint64_t{done} * kAll / total));
}

std::uint32_t percentOfAll(std::uint32_t done, std::uint32_t total) {
    const double percent = static_cast<double>(done) / static_cast<double>(total) * kAll;
    return static_cast<std::uint32_t>(std::min<double>(kAll, percent));
}

void reportPercent(MemResultFun reportFun, std::uint32_t command, std::uint32_t done, std::uint32_t total) {
    if (total != 0) {
        report(reportFun, command, percentOfAll(done, total));
    }
}

void reportRangeProgress(MemResultFun reportFun, std::uint32_t came, const std::uint32_t* total,
                         std::uint32_t* done) {
    if (reportFun == nullptr || total == nullptr || done == nullptr || *total == 0) {
        return;
    }
    *done += came;
    report(reportFun, kMemUploadPercent, percentInRange(*done, *total));
}

std::list<mem_buf> readImage(const std::string& path) {
    try {
        return ParseMemFile(path);
    } catch (const std::exception&) {
        return {};
    }
}

std::uint32_t totalBytes(const std::list<mem_buf>& blocks) {
    std::uint32_t total = 0;
    for (const mem_buf& block : blocks) {
        total += static_cast<std::uint32_t>(block.data.size());
    }
    return total;
}

std::uint32_t uploadRanges(const std::vector<mcMemoryInfo>& ranges, const RangeUpload& upload,
                           std::vector<mcMemoryData>* results, MemResultFun reportFun) {
    if (ranges.empty()) {
        return kResultMemFileEmpty;
    }
    std::vector<mcMemoryData> local;
    std::vector<mcMemoryData>& collected = results != nullptr ? *results : local;
    std::uint32_t total = 0;
    for (const mcMemoryInfo& range : ranges) {
        total += range.length;
    }
    std::uint32_t done = 0;
    for (const mcMemoryInfo& range : ranges) {
        const std::uint32_t result = upload(range, &collected, &total, &done);
        if (result != kResultOk) {
            report(reportFun, kMemUploadResult, result);
            return result;
        }
        reportPercent(reportFun, kMemUploadPercent, done, total);
    }
    report(reportFun, kMemUploadResult, kResultOk, collected);
    return kResultOk;
}

std::uint32_t uploadSteps(
    const mcMemoryInfo& range, std::size_t stepSize,
    const std::function<std::size_t(std::uint8_t* destination, std::size_t wanted)>& readStep,
    std::vector<mcMemoryData>* results, const std::uint32_t* total, std::uint32_t* done,
    MemResultFun reportFun) {
    std::vector<std::uint8_t> read;
    std::vector<std::uint8_t> step(std::min<std::size_t>(stepSize, range.length));
    while (read.size() < range.length) {
        const std::size_t came = readStep(step.data(), std::min(stepSize, range.length - read.size()));
        if (came == 0) {
            break;
        }
        read.insert(read.end(), step.begin(), step.begin() + static_cast<std::ptrdiff_t>(came));
        reportRangeProgress(reportFun, static_cast<std::uint32_t>(came), total, done);
    }
    if (read.empty()) {
        return kResultUploadEmpty;
    }
    if (results != nullptr) {
        const auto length = static_cast<std::uint32_t>(read.size());
        results->push_back({range.address, length, std::move(read), {}, {}});
    }
    return kResultOk;
}

std::uint32_t checkRanges(const std::list<mem_buf>& blocks, const std::vector<mcMemoryInfo>& ranges,
                          std::uint32_t noRange,
                          const std::function<std::uint32_t(const mcMemoryInfo&)>& checkRange) {
    if (blocks.empty()) {
        return kResultMemFileParse;
    }
    if (ranges.empty()) {
        return noRange;
    }
    for (const mcMemoryInfo& range : ranges) {
        const std::uint32_t result = checkRange(range);
        if (result != kResultOk) {
            return result;
        }
    }
    return kResultOk;
}

std::uint32_t walkChecksums(const mcMemoryInfo& range, const std::list<mem_buf>& blocks,
                            const std::function<void(std::uint32_t address)>& onPart,
                            const std::function<std::uint32_t(const ChecksumStep& step)>& onStep) {
    if (range.checksumType == 0) {
        return kResultOk;
    }
    const std::size_t stepSize =
        range.checksumBlockSize != 0 ? range.checksumBlockSize : kDefaultChecksumBlock;
    for (const mem_buf& block : blocks) {
        const auto part = memfile::overlapWithRange(block, range.address, range.length);
        if (!part) {
            continue;
        }
        onPart(part->address);
        for (std::size_t offset = 0; offset < part->bytes.size(); offset += stepSize) {
            const std::size_t length = std::min(stepSize, part->bytes.size() - offset);
            const std::uint32_t result =
                onStep({part->address + static_cast<std::uint32_t>(offset),
                        static_cast<std::uint32_t>(length), part->bytes.data() + offset});
            if (result != kResultOk) {
                return result;
            }
        }
    }
    return kResultOk;
}

mcMemoryData checksumEntry(const ChecksumStep& step, std::int32_t kind,
                           std::vector<std::uint8_t> ecuChecksum) {
    mcMemoryData entry;
    entry.address = step.address;
    entry.length = step.length;
    entry.data = std::move(ecuChecksum);
    entry.expected = littleEndianBytes(CheckMemory(step.data, step.length, kind), checksumWidth(kind));
    return entry;
}

std::vector<std::uint8_t> littleEndianBytes(std::uint32_t value, std::size_t width) {
    std::vector<std::uint8_t> bytes(width);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(value);
        value >>= 8;
    }
    return bytes;
}
