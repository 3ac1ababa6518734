#include "host/UploadCommand.h"

#include "host/HexPrint.h"
#include "host/HexSave.h"
#include "host/MemoryCommand.h"
#include "host/MemoryLink.h"
#include "host/RunCommand.h"

#include <algorithm>
#include <array>

namespace host {
namespace {

/// What is read without being named: the first of these that there is.
constexpr std::array<PartKind, 3> kDefaults{PartKind::workingPage, PartKind::flash, PartKind::ram};

std::vector<PartKind> kindsFor(const EcuRecord& ecu, const MemoryOptions& options) {
    if (!options.segments.empty()) {
        return partKindsOf(options.segments);
    }
    const auto* first = std::find_if(kDefaults.begin(), kDefaults.end(),
                                     [&ecu](PartKind kind) { return !partsOf(ecu, {kind}).empty(); });
    return {first != kDefaults.end() ? *first : PartKind::workingPage};
}

/// The library reads other memory along with what is asked for.
void printParts(const EcuRecord& ecu, const std::vector<PartKind>& kinds, MemoryPrint& print) {
    for (const MemoryPart& part : requireParts(ecu, kinds)) {
        print.plan({"read", rangeOf(part), partKindName(part.kind)});
    }
    for (const MemoryPart& part : partsReached(ecu, memTypeOf(kinds))) {
        if (std::find(kinds.begin(), kinds.end(), part.kind) == kinds.end()) {
            print.plan({"along", rangeOf(part), partKindName(part.kind), ", read along and left out"});
        }
    }
}

/// Of what was read, what was asked for: the library reads RAM along with each page.
std::list<mem_buf> imageOf(const EcuRecord& ecu, mcMemOperType type, const std::vector<PartKind>& kinds,
                           const std::vector<mcMemoryData>& found) {
    const std::vector<MemoryPart> parts = partsReached(ecu, type);
    std::list<mem_buf> blocks;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (std::find(kinds.begin(), kinds.end(), parts[i].kind) != kinds.end()) {
            blocks.push_back({found[i].address, found[i].data});
        }
    }
    return joined(piecesOf({{"", HexFormat::intelHex, blocks}}));
}

ExitCode upload(const MemoryOptions& options) {
    requireHexTarget(options.file);
    MemoryTarget target(options.link);
    const EcuRecord& ecu = target.ecu();
    const std::vector<PartKind> kinds = kindsFor(ecu, options);
    requireOneAtAnAddress(ecu, kinds);
    target.print.head("to " + options.file);
    printParts(ecu, kinds, target.print);
    if (options.dryRun) {
        return ended(ExitCode::done, target.print);
    }
    MemoryLink link(target.config, target.index, options.link, target.print);
    const mcMemOperType type = memTypeOf(kinds);
    const std::list<mem_buf> image = imageOf(ecu, type, kinds, link.upload(type));
    saveHexFile(image, options.file);
    target.print.written(options.file, image);
    return ended(ExitCode::done, target.print);
}

}  // namespace

ExitCode runUpload(const MemoryOptions& options) {
    return runCommand("upload", options.link.json, [&] { return upload(options); });
}

}  // namespace host
