#include "host/MemoryPart.h"

#include <fmt/format.h>

#include <algorithm>
#include <random>

namespace host {
namespace {

constexpr const char* kPartNames[] = {"RAM", "working page", "reference page", "flash"};

}  // namespace

std::vector<MemoryPart> memoryParts(const EcuRecord& ecu) {
    std::vector<MemoryPart> parts;
    for (std::size_t i = 0; i < ecu.segments.size(); ++i) {
        const SegmentRecord& segment = ecu.segments[i];
        switch (segment.kind) {
            case SegmentKind::ram:
                parts.push_back({PartKind::ram, i, segment.address, segment.size});
                break;
            case SegmentKind::calibration:
                parts.push_back({PartKind::workingPage, i, segment.address, segment.size});
                parts.push_back({PartKind::referencePage, i, segment.referenceAddress, segment.size});
                break;
            case SegmentKind::flash:
                parts.push_back({PartKind::flash, i, segment.address, segment.size});
                break;
        }
    }
    return parts;
}

std::vector<std::uint8_t> initialContent(const MemoryPart& part) {
    std::vector<std::uint8_t> bytes(part.size);
    if (part.kind != PartKind::ram) {
        std::mt19937 pattern(part.address + static_cast<unsigned>(part.kind));
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(pattern()); });
    }
    return bytes;
}

std::string partName(const MemoryPart& part) {
    return fmt::format("{} at 0x{:X}", kPartNames[static_cast<std::size_t>(part.kind)], part.address);
}

}  // namespace host
