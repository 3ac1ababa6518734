#include "host/WriteCommand.h"

#include "host/HostError.h"
#include "host/Interrupt.h"
#include "host/JsonLines.h"
#include "host/MemoryPart.h"
#include "host/Output.h"
#include "host/PhysicalValue.h"
#include "host/RunCommand.h"
#include "host/VariableAccess.h"
#include "host/VariableMessages.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>

namespace host {
namespace {

bool isWritable(const EcuRecord& ecu, const MemoryPart& part) {
    return part.kind == PartKind::workingPage ||
           (part.kind == PartKind::ram && ecu.segments[part.segment].writable);
}

/// Both pages of an XCP segment lie at one address, and the working page is the one that counts then.
bool isInTheWay(const EcuRecord& ecu, const MemoryPart& part, const VariableRecord& variable) {
    const bool shared = part.kind == PartKind::referencePage && !ecu.ccp;
    const std::uint64_t end = std::uint64_t{variable.address} + variable.size;
    const bool overlaps = variable.address < std::uint64_t{part.address} + part.size && end > part.address;
    return overlaps && !shared && ecu.segments[part.segment].extension == variable.extension &&
           !isWritable(ecu, part);
}

/// What no segment holds is left for the ECU to judge.
void checkWritable(const EcuRecord& ecu, const VariableRecord& variable) {
    const std::vector<MemoryPart> parts = memoryParts(ecu);
    const auto part = std::find_if(parts.begin(), parts.end(), [&](const MemoryPart& candidate) {
        return isInTheWay(ecu, candidate, variable);
    });
    if (part == parts.end()) {
        return;
    }
    const char* fix = part->kind == PartKind::ram ? "; `writable = true` of the segment allows it" : "";
    throw HostError(fmt::format("{}: {} at 0x{:X} lies in the {}, which cannot be written says the "
                                "configuration{}",
                                ecu.name, variable.name, variable.address, partName(*part), fix),
                    ExitCode::usage);
}

void checkSize(const VariableRecord& variable) {
    if (variable.size > kMostWrittenBytes) {
        throw HostError(fmt::format("{}: {} bytes; at most {} are written at once, so give its parts as "
                                    "ADDRESS:SIZE",
                                    variable.name, variable.size, kMostWrittenBytes),
                        ExitCode::usage);
    }
}

/// What became of one assignment.
struct Outcome {
    std::vector<std::uint8_t> before;
    std::optional<HostError> error;  ///< of the ECU while it was written
};

class Writing {
public:
    Writing(const Config& config, const WriteOptions& options, const std::vector<Assignment>& assignments)
        : m_config(config),
          m_assignments(assignments),
          m_access(config, ecusOf(variables(assignments)), options.link),
          m_messages(config, variables(assignments), options.link.json),
          m_asJson(options.link.json),
          m_output(stdout, !options.link.noColour),
          m_json(stdout) {}

    /// Writes all before it reads back the first, so that values that overlap are seen.
    ExitCode run() {
        std::vector<Outcome> outcomes;
        for (const Assignment& assignment : m_assignments) {
            outcomes.push_back({m_access.read(assignment.variable), std::nullopt});
        }
        try {
            for (; m_written < m_assignments.size(); ++m_written) {
                const Assignment& assignment = m_assignments[m_written];
                outcomes[m_written].error = m_access.write(assignment.variable, assignment.bytes);
            }
            for (; m_compared < m_assignments.size(); ++m_compared) {
                compare(m_assignments[m_compared], outcomes[m_compared]);
            }
        } catch (const HostError&) {
            tellRest();
            throw;
        }
        return m_code;
    }

private:
    static std::vector<NamedVariable> variables(const std::vector<Assignment>& assignments) {
        std::vector<NamedVariable> variables;
        std::transform(assignments.begin(), assignments.end(), std::back_inserter(variables),
                       [](const Assignment& assignment) { return assignment.variable; });
        return variables;
    }

    /// What may be in the ECUs without having been looked at, the one whose writing failed included.
    void tellRest() {
        const std::size_t begun = std::min(m_written + 1, m_assignments.size());
        for (std::size_t i = m_compared; i < begun; ++i) {
            m_messages.notReadBack(m_assignments[i].variable, m_assignments[i].bytes);
        }
    }

    std::string shown(const NamedVariable& variable, const std::vector<std::uint8_t>& bytes) const {
        const std::string unit = variable.record.unit.empty() ? "" : " " + variable.record.unit;
        return physicalText(variable.record, m_config.ecus[variable.ecu].byteOrder, bytes) + unit;
    }

    void compare(const Assignment& assignment, const Outcome& outcome) {
        std::vector<std::uint8_t> found;
        try {
            found = m_access.read(assignment.variable);
        } catch (const HostError& error) {
            if (error.code() == ExitCode::bus || interrupted()) {
                throw;
            }
            complain(assignment, outcome.error.value_or(error));
            return;
        }
        if (found == assignment.bytes) {
            print(assignment, outcome.before, found);
        } else {
            complain(assignment, outcome.error.value_or(difference(assignment, found)));
        }
    }

    HostError difference(const Assignment& assignment, const std::vector<std::uint8_t>& found) const {
        return HostError(
            fmt::format("{}: {} was written as {} and reads {}", m_config.ecus[assignment.variable.ecu].name,
                        assignment.variable.record.name, shown(assignment.variable, assignment.bytes),
                        shown(assignment.variable, found)),
            ExitCode::different);
    }

    void complain(const Assignment& assignment, const HostError& error) {
        m_messages.error(assignment.variable, error);
        m_code = m_code == ExitCode::done ? error.code() : m_code;
    }

    void print(const Assignment& assignment, const std::vector<std::uint8_t>& before,
               const std::vector<std::uint8_t>& now) {
        if (m_asJson) {
            m_json.write(object(assignment, before, now));
            return;
        }
        const std::string nearest =
            assignment.exact ? "" : fmt::format(" (the nearest to {})", assignment.text);
        m_output.line(fmt::format("{}: {} -> {}{}", m_messages.nameOf(assignment.variable),
                                  shown(assignment.variable, before), shown(assignment.variable, now),
                                  nearest));
    }

    Json object(const Assignment& assignment, const std::vector<std::uint8_t>& before,
                const std::vector<std::uint8_t>& now) const {
        const EcuRecord& ecu = m_config.ecus[assignment.variable.ecu];
        const VariableRecord& variable = assignment.variable.record;
        Json object = jsonObject("written");
        object["ecu"] = ecu.name;
        object["name"] = variable.name;
        object["address"] = variable.address;
        object["raw_before"] = hexDigits(before.data(), before.size());
        object["raw"] = hexDigits(now.data(), now.size());
        object["before"] = physicalJson(variable, ecu.byteOrder, before);
        object["value"] = physicalJson(variable, ecu.byteOrder, now);
        object["unit"] = variable.unit;
        object["exact"] = assignment.exact;
        return object;
    }

    const Config& m_config;
    const std::vector<Assignment>& m_assignments;
    VariableAccess m_access;
    VariableMessages m_messages;
    const bool m_asJson;
    Output m_output;
    JsonLines m_json;
    std::size_t m_written = 0;   ///< how many
    std::size_t m_compared = 0;  ///< how many of them
    ExitCode m_code = ExitCode::done;
};

}  // namespace

Assignment parseAssignment(const Config& config, const std::vector<std::size_t>& ecus,
                           const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) {
        throw HostError(fmt::format("\"{}\": give NAME=VALUE", text), ExitCode::usage);
    }
    Assignment assignment;
    assignment.variable = findVariable(config, ecus, text.substr(0, equals));
    assignment.text = text.substr(equals + 1);
    const EcuRecord& ecu = config.ecus[assignment.variable.ecu];
    const VariableRecord& variable = assignment.variable.record;
    RawValue value = parsePhysical(variable, ecu.byteOrder, assignment.text);
    checkSize(variable);
    checkWritable(ecu, variable);
    assignment.bytes = std::move(value.bytes);
    assignment.exact = value.exact;
    return assignment;
}

ExitCode runWrite(const WriteOptions& options) {
    return runCommand("write", options.link.json, [&] {
        const Config config = loadConfigFor(options.link);
        const std::vector<std::size_t> ecus = chosenEcus(config, options.link);
        std::vector<Assignment> assignments;
        for (const std::string& text : options.assignments) {
            assignments.push_back(parseAssignment(config, ecus, text));
        }
        return Writing(config, options, assignments).run();
    });
}

}  // namespace host
