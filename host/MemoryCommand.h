/// @file
/// What the sub-commands share that move whole ranges of memory.
#pragma once

#include "host/ConfigRecords.h"
#include "host/ExitCode.h"
#include "host/HostError.h"
#include "host/MemoryOptions.h"
#include "host/MemoryPlan.h"
#include "host/MemoryPrint.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace host {

/// The ECU that the options name, and where to print.
struct MemoryTarget {
    explicit MemoryTarget(const LinkOptions& options);

    Config config;
    std::size_t index;
    MemoryPrint print;

    [[nodiscard]] const EcuRecord& ecu() const { return config.ecus[index]; }
};

/// What an operation needs of the ECU.
enum class MemoryNeed : std::uint8_t { erase, program };

/// @throws HostError ExitCode::refused if the configuration does not list a command for @p need: nothing
///         should begin that cannot end
void requireCommands(const EcuRecord& ecu, MemoryNeed need);

/// The parts of @p ecu that are of @p kinds.
/// @throws HostError ExitCode::configuration if there are none
[[nodiscard]] std::vector<MemoryPart> requireParts(const EcuRecord& ecu, const std::vector<PartKind>& kinds);

/// @throws HostError ExitCode::usage if @p kinds name both pages of an XCP ECU: they lie at the same
/// addresses
///         and one image cannot hold both
void requireOneAtAnAddress(const EcuRecord& ecu, const std::vector<PartKind>& kinds);

/// All addresses of @p part.
[[nodiscard]] HexRange rangeOf(const MemoryPart& part);

/// Prints what will be erased.
/// @param plan  null if no file is programmed behind it
void printErase(const EcuRecord& ecu, const std::vector<MemoryPart>& parts, const MemoryPlan* plan,
                MemoryPrint& print);

/// Prints the pieces of @p plan and what lies outside.
/// @param action  "program" or "check"
void printPlan(const MemoryPlan& plan, const char* action, const MemoryOptions& options, MemoryPrint& print);

/// @throws HostError if something of the file lies outside of @p plan and that is not to be left out, or if
///         nothing lies in it
void requireInside(const MemoryPlan& plan, const EcuRecord& ecu, const MemoryOptions& options);

/// "image.hex, 2 blocks, 300 bytes".
[[nodiscard]] std::string imageText(const std::string& file, const std::list<mem_buf>& image);

/// @p code.
/// @throws HostError if data could not be written
[[nodiscard]] inline ExitCode ended(ExitCode code, const MemoryPrint& print) {
    if (print.broken()) {
        throw HostError("standard output: could not be written whole");
    }
    return code;
}

}  // namespace host
