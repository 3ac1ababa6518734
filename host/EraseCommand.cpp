#include "host/EraseCommand.h"

#include "host/MemoryCommand.h"
#include "host/MemoryLink.h"
#include "host/RunCommand.h"

namespace host {
namespace {

ExitCode erase(const MemoryOptions& options) {
    MemoryTarget target(options.link);
    requireCommands(target.ecu(), MemoryNeed::erase);
    const std::vector<MemoryPart> parts = requireParts(target.ecu(), {PartKind::flash});
    target.print.head("all of its flash");
    printErase(target.ecu(), parts, nullptr, target.print);
    if (!options.dryRun) {
        MemoryLink(target.config, target.index, options.link, target.print).erase();
    }
    return ended(ExitCode::done, target.print);
}

}  // namespace

ExitCode runErase(const MemoryOptions& options) {
    return runCommand("erase", options.link.json, [&] { return erase(options); });
}

}  // namespace host
