#include "host/CheckCommand.h"

#include "host/HexContent.h"
#include "host/MemoryCommand.h"
#include "host/MemoryLink.h"
#include "host/MemoryVerify.h"
#include "host/RunCommand.h"

namespace host {
namespace {

/// Both pages of an XCP ECU lie at the same addresses, and the working page is the one that moves the engine.
std::vector<PartKind> kindsFor(const EcuRecord& ecu, const MemoryOptions& options) {
    if (!options.segments.empty()) {
        return partKindsOf(options.segments);
    }
    std::vector<PartKind> kinds{PartKind::ram, PartKind::workingPage, PartKind::flash};
    if (ecu.ccp) {
        kinds.push_back(PartKind::referencePage);
    }
    return kinds;
}

ExitCode check(const MemoryOptions& options) {
    const std::list<mem_buf> image = contentOf(options.file);
    MemoryTarget target(options.link);
    const std::vector<PartKind> kinds = kindsFor(target.ecu(), options);
    requireOneAtAnAddress(target.ecu(), kinds);
    const MemoryPlan plan = planImage(image, requireParts(target.ecu(), kinds));
    target.print.head(imageText(options.file, image));
    printPlan(plan, "check", options, target.print);
    requireInside(plan, target.ecu(), options);
    if (options.dryRun) {
        return ended(ExitCode::done, target.print);
    }
    MemoryLink link(target.config, target.index, options.link, target.print);
    return ended(verifyPlan(target.ecu(), plan, link, target.print), target.print);
}

}  // namespace

ExitCode runCheck(const MemoryOptions& options) {
    return runCommand("check", options.link.json, [&] { return check(options); });
}

}  // namespace host
