#include "host/ReadCommand.h"

#include "host/Interrupt.h"
#include "host/JsonLines.h"
#include "host/Output.h"
#include "host/PhysicalValue.h"
#include "host/RawValue.h"
#include "host/RunCommand.h"
#include "host/VariableAccess.h"
#include "host/VariableMessages.h"
#include "host/VariableName.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace host {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// The text behind the number of a state machine; empty for anything else.
std::string stateOf(const EcuRecord& ecu, const VariableRecord& variable, const Bytes& bytes) {
    const bool isState =
        variable.signal && ecu.signals[*variable.signal].first.kind == sim::SignalKind::stateMachine;
    return isState ? stateText(bytes) : std::string();
}

/// Prints what was read as it comes.
class ReadPrint {
public:
    ReadPrint(const Config& config, const ReadOptions& options, const std::vector<NamedVariable>& variables)
        : m_config(config),
          m_options(options),
          m_messages(config, variables, options.link.json),
          m_output(stdout, !options.link.noColour),
          m_json(stdout) {
        for (const NamedVariable& variable : variables) {
            m_width = std::max(m_width, m_messages.nameOf(variable).size());
        }
    }

    void print(const NamedVariable& variable, const Bytes& bytes) {
        if (m_options.link.json) {
            m_json.write(object(variable, bytes));
        } else {
            m_output.line(text(variable, bytes));
        }
    }

    void printError(const NamedVariable& variable, const HostError& error) {
        m_messages.error(variable, error);
    }

private:
    std::string text(const NamedVariable& variable, const Bytes& bytes) const {
        const EcuRecord& ecu = m_config.ecus[variable.ecu];
        const std::string state = stateOf(ecu, variable.record, bytes);
        const std::string value = state.empty() ? physicalText(variable.record, ecu.byteOrder, bytes) : state;
        const std::string unit = variable.record.unit.empty() ? "" : " " + variable.record.unit;
        const std::string raw =
            m_options.raw ? m_output.paint(Colour::dim, "  0x" + hexDigits(bytes.data(), bytes.size())) : "";
        return fmt::format("{:<{}} = {}{}{}", m_messages.nameOf(variable), m_width, value, unit, raw);
    }

    Json object(const NamedVariable& variable, const Bytes& bytes) const {
        const EcuRecord& ecu = m_config.ecus[variable.ecu];
        Json object = jsonObject("value");
        object["ecu"] = ecu.name;
        object["name"] = variable.record.name;
        object["address"] = variable.record.address;
        object["raw"] = hexDigits(bytes.data(), bytes.size());
        object["value"] = physicalJson(variable.record, ecu.byteOrder, bytes);
        object["unit"] = variable.record.unit;
        if (const std::string state = stateOf(ecu, variable.record, bytes); !state.empty()) {
            object["text"] = state;
        }
        return object;
    }

    const Config& m_config;
    const ReadOptions& m_options;
    VariableMessages m_messages;
    Output m_output;
    JsonLines m_json;
    std::size_t m_width = 0;
};

ExitCode readAll(const Config& config, const ReadOptions& options,
                 const std::vector<NamedVariable>& variables) {
    VariableAccess access(config, ecusOf(variables), options.link);
    ReadPrint print(config, options, variables);
    ExitCode code = ExitCode::done;
    for (const NamedVariable& variable : variables) {
        try {
            print.print(variable, access.read(variable));
        } catch (const HostError& error) {
            if (error.code() == ExitCode::bus || interrupted()) {
                throw;
            }
            print.printError(variable, error);
            code = code == ExitCode::done ? error.code() : code;
        }
    }
    return code;
}

}  // namespace

ExitCode runRead(const ReadOptions& options) {
    return runCommand("read", options.link.json, [&] {
        const Config config = loadConfigFor(options.link);
        return readAll(config, options,
                       findVariables(config, chosenEcus(config, options.link), options.names));
    });
}

}  // namespace host
