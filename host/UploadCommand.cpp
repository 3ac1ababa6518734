#include "host/UploadCommand.h"

#include "host/HexPrint.h"
#include "host/HexSave.h"
#include "host/HostError.h"
#include "host/MemoryCommand.h"
#include "host/MemoryLink.h"
#include "host/RunCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>

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

/// Before minutes go into reading what cannot be written then.
void requireWritableFolder(const std::string& path) {
    const std::filesystem::path parent = std::filesystem::path(path).parent_path();
    const std::string folder = parent.empty() ? "." : parent.string();
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error) || access(folder.c_str(), W_OK | X_OK) != 0) {
        throw HostError(
            fmt::format("{}: cannot be written: {} is no folder that files can be made in", path, folder));
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
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    static_cast<void>(hexFormatOf(options.file));
    MemoryTarget target(options.link);
    const EcuRecord& ecu = target.ecu();
    const std::vector<PartKind> kinds = kindsFor(ecu, options);
    requireOneAtAnAddress(ecu, kinds);
    target.print.head("to " + options.file);
    for (const MemoryPart& part : requireParts(ecu, kinds)) {
        target.print.plan({"read", rangeOf(part), partKindName(part.kind)});
    }
    requireWritableFolder(options.file);
    if (options.dryRun) {
        return ended(ExitCode::done, target.print);
    }
    MemoryLink link(target.config, target.index, options.link, target.print);
    const mcMemOperType type = memTypeOf(kinds);
    const std::list<mem_buf> image = imageOf(ecu, type, kinds, link.upload(type));
    saveHexFile(image, options.file);
    target.print.message(imageText(options.file, image));
    return ended(ExitCode::done, target.print);
}

}  // namespace

ExitCode runUpload(const MemoryOptions& options) {
    return runCommand("upload", options.link.json, [&] { return upload(options); });
}

}  // namespace host
