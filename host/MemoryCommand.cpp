#include "host/MemoryCommand.h"

#include "host/FrameNames.h"
#include "host/HexPrint.h"
#include "host/HostError.h"
#include "host/Link.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>

namespace host {
namespace {

struct NeedRow {
    MemoryNeed need;
    bool ccp;
    std::uint8_t code;
};

constexpr std::array<NeedRow, 8> kNeeds{{
    {MemoryNeed::erase, false, 0xD2},
    {MemoryNeed::erase, false, 0xD1},
    {MemoryNeed::erase, false, 0xCF},
    {MemoryNeed::program, false, 0xD2},
    {MemoryNeed::program, false, 0xD0},
    {MemoryNeed::program, false, 0xCF},
    {MemoryNeed::erase, true, 0x10},
    {MemoryNeed::program, true, 0x18},
}};

std::string outsideText(const MemoryPlan& plan) {
    constexpr std::size_t kMost = 5;
    std::vector<std::string> ranges;
    for (std::size_t i = 0; i < std::min(kMost, plan.outside.size()); ++i) {
        ranges.push_back(addressText(plan.outside[i].first) + "-" + addressText(plan.outside[i].last));
    }
    if (plan.outside.size() > kMost) {
        ranges.push_back(fmt::format("{} more", plan.outside.size() - kMost));
    }
    return fmt::format("{}", fmt::join(ranges, ", "));
}

std::string partsText(const MemoryPlan& plan) {
    std::vector<std::string> ranges;
    for (const MemoryPart& part : plan.parts) {
        const HexRange range = rangeOf(part);
        ranges.push_back(fmt::format("{} {}-{}", partKindName(part.kind), addressText(range.first),
                                     addressText(range.last)));
    }
    return fmt::format("{}", fmt::join(ranges, ", "));
}

}  // namespace

MemoryTarget::MemoryTarget(const LinkOptions& options)
    : config(loadConfigFor(options)),
      index(chosenEcu(config, options)),
      print(ecu().name, options.json, !options.noColour) {}

void requireCommands(const EcuRecord& ecu, MemoryNeed need) {
    const auto* missing = std::find_if(kNeeds.begin(), kNeeds.end(), [&](const NeedRow& row) {
        return row.need == need && row.ccp == ecu.ccp && !ecu.knows(row.code);
    });
    if (missing != kNeeds.end()) {
        const Protocol protocol = ecu.ccp ? Protocol::ccp : Protocol::xcp;
        throw HostError(
            fmt::format("{}: {} (0x{:02X}) is not among `commands` of the configuration; nothing was done",
                        ecu.name, commandTitle(protocol, missing->code, 0), missing->code),
            ExitCode::refused);
    }
}

std::vector<MemoryPart> requireParts(const EcuRecord& ecu, const std::vector<PartKind>& kinds) {
    std::vector<MemoryPart> parts = partsOf(ecu, kinds);
    if (parts.empty()) {
        std::vector<std::string> names;
        std::transform(kinds.begin(), kinds.end(), std::back_inserter(names), partKindName);
        throw HostError(fmt::format("{}: the configuration gives it no {}; look at `segment`", ecu.name,
                                    fmt::join(names, " or ")),
                        ExitCode::configuration);
    }
    return parts;
}

void requireOneAtAnAddress(const EcuRecord& ecu, const std::vector<PartKind>& kinds) {
    const auto named = [&kinds](PartKind kind) {
        return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
    };
    if (!ecu.ccp && named(PartKind::workingPage) && named(PartKind::referencePage)) {
        throw HostError(fmt::format("--segment: the pages of {} lie at the same addresses; take working and "
                                    "reference one after the other",
                                    ecu.name),
                        ExitCode::usage);
    }
}

HexRange rangeOf(const MemoryPart& part) {
    return {part.address, part.address + (part.size - 1)};
}

void printErase(const EcuRecord& ecu, const std::vector<MemoryPart>& parts, const MemoryPlan* plan,
                MemoryPrint& print) {
    for (std::size_t i = 0; i < parts.size(); ++i) {
        PlanRow row{"erase", rangeOf(parts[i]), partKindName(parts[i].kind)};
        row.sectors = parts[i].size / ecu.flash.sectorSize;
        row.note = ", " + countText(*row.sectors, "sector");
        if (plan != nullptr) {
            row.bytesNotHeld = parts[i].size - plannedBytes(*plan, i);
            row.note += fmt::format(", {} stay erased", countText(*row.bytesNotHeld, "byte"));
        }
        print.plan(row);
    }
}

void printPlan(const MemoryPlan& plan, const char* action, const MemoryOptions& options, MemoryPrint& print) {
    for (const PlannedBlock& planned : plan.blocks) {
        const auto last = static_cast<std::uint32_t>(endOf(planned.block) - 1);
        print.plan({action, {planned.block.address, last}, partKindName(plan.parts[planned.part].kind)});
    }
    for (const HexRange& range : plan.outside) {
        print.plan({"outside", range, "", options.ignoreOutside ? ", left out" : ""});
    }
}

void requireInside(const MemoryPlan& plan, const EcuRecord& ecu, const MemoryOptions& options) {
    if (!plan.outside.empty() && !options.ignoreOutside) {
        throw HostError(
            fmt::format("{}: {} lies outside of the memory of {} ({}); --ignore-outside leaves it "
                        "out",
                        options.file, outsideText(plan), ecu.name, partsText(plan)));
    }
    if (plan.blocks.empty()) {
        throw HostError(fmt::format("{}: nothing of it lies in the memory of {} ({})", options.file, ecu.name,
                                    partsText(plan)));
    }
}

std::string imageText(const std::string& file, const std::list<mem_buf>& image) {
    return fmt::format("{}, {}, {}", file, countText(image.size(), "block"),
                       countText(bytesIn(image), "byte"));
}

}  // namespace host
