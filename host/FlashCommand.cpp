#include "host/FlashCommand.h"

#include "host/HexContent.h"
#include "host/HostError.h"
#include "host/MemoryCommand.h"
#include "host/MemoryLink.h"
#include "host/MemoryVerify.h"
#include "host/RunCommand.h"

#include <fmt/format.h>

namespace host {
namespace {

void requireFlashing(const EcuRecord& ecu, const MemoryOptions& options) {
    if (!options.noErase) {
        requireCommands(ecu, MemoryNeed::erase);
    }
    requireCommands(ecu, MemoryNeed::program);
}

/// What begins with erasing leaves an ECU without its program until all is done.
void change(const MemoryPlan& plan, const MemoryOptions& options, MemoryLink& link, MemoryPrint& print) {
    try {
        if (!options.noErase) {
            link.erase();
        }
        link.program(plannedImage(plan));
    } catch (const HostError& error) {
        // An ECU that is locked from the beginning has not done anything yet.
        if (link.hasChanged() || error.code() != ExitCode::locked) {
            print.message(
                fmt::format("its flash may be incomplete now; give the same command again{} before it "
                            "is used",
                            options.noErase ? " without --no-erase" : ""));
        }
        throw;
    }
}

ExitCode verify(const MemoryTarget& target, const MemoryPlan& plan, MemoryLink& link, MemoryPrint& print) {
    const ExitCode code = verifyPlan(target.ecu(), plan, link, print);
    if (code == ExitCode::different) {
        print.message(
            "its flash does not hold what the file holds; flash that was not erased takes no bytes");
    }
    return code;
}

ExitCode flash(const MemoryOptions& options) {
    const std::list<mem_buf> image = contentOf(options.file);
    MemoryTarget target(options.link);
    const EcuRecord& ecu = target.ecu();
    const MemoryPlan plan = planImage(image, requireParts(ecu, {PartKind::flash}));
    target.print.head(imageText(options.file, image));
    if (!options.noErase) {
        printErase(ecu, plan.parts, &plan, target.print);
    }
    printPlan(plan, "program", options, target.print);
    requireInside(plan, ecu, options);
    requireFlashing(ecu, options);
    if (options.dryRun) {
        return ended(ExitCode::done, target.print);
    }
    MemoryLink link(target.config, target.index, options.link, target.print);
    change(plan, options, link, target.print);
    return ended(verify(target, plan, link, target.print), target.print);
}

}  // namespace

ExitCode runFlash(const MemoryOptions& options) {
    return runCommand("flash", options.link.json, [&] { return flash(options); });
}

}  // namespace host
