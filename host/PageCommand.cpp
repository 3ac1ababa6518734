#include "host/PageCommand.h"

#include "host/HostError.h"
#include "host/JsonLines.h"
#include "host/Link.h"
#include "host/Output.h"
#include "host/RunCommand.h"

#include <TalvexSDK.h>

#include <fmt/format.h>

#include <array>
#include <cstdio>
#include <string>

namespace host {
namespace {

struct PageRow {
    const char* action;   ///< for programs
    const char* what;     ///< for messages
    const char* outcome;  ///< for a person
    std::uint32_t command;
};

/// In the order of PageAction.
constexpr std::array<PageRow, 3> kRows{
    {{"working", "select the working page", "the working page is selected", command::kSetPage},
     {"reference", "select the reference page", "the reference page is selected", command::kSetPage},
     {"copy", "copy the reference page", "the reference page is copied to the working page",
      command::kCopyPage}}};

/// In CCP a copy is a MOVE between two addresses, and the library does not set them.
void requireSafeCopy(const EcuRecord& ecu, PageAction action) {
    if (ecu.ccp && action == PageAction::copy) {
        throw HostError(
            fmt::format("{}: a CCP ECU cannot be told to copy its pages; select the reference page "
                        "and read what you need, then give the values to talvex write on the working page",
                        ecu.name),
            ExitCode::usage);
    }
}

void requirePages(const Config& config, const EcuRecord& ecu) {
    if (ecu.firstSegment(SegmentKind::calibration) == nullptr) {
        throw HostError(fmt::format("{}: {} has no segment of kind \"calibration\", so {} has no pages",
                                    ecu.name, config.file, ecu.name),
                        ExitCode::configuration);
    }
}

void print(const PageOptions& options, const std::string& ecu, const PageRow& row) {
    if (!options.link.json) {
        Output(stdout, !options.link.noColour).line(fmt::format("{}: {}", ecu, row.outcome));
        return;
    }
    Json object = jsonObject("page");
    object["ecu"] = ecu;
    object["action"] = row.action;
    JsonLines(stdout).write(object);
}

void order(const std::string& ecu, PageAction action) {
    if (action == PageAction::copy) {
        EcuCopyRefeToWork(ecu);
    } else {
        SetCalPage(ecu, action == PageAction::working);
    }
}

}  // namespace

ExitCode runPage(const PageOptions& options) {
    const PageRow& row = kRows[static_cast<std::size_t>(options.action)];
    return runCommand(std::string("page ") + row.action, options.link.json, [&] {
        const Config config = loadConfigFor(options.link);
        const std::size_t ecu = chosenEcu(config, options.link);
        const std::string& name = config.ecus[ecu].name;
        requirePages(config, config.ecus[ecu]);
        requireSafeCopy(config.ecus[ecu], options.action);
        Link link(config, {ecu}, options.link);
        link.connect();
        link.run(ecu, row.command, row.what, [&] { order(name, options.action); });
        print(options, name, row);
        return ExitCode::done;
    });
}

}  // namespace host
