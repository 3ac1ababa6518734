#include "host/InfoCommand.h"

#include "host/IdPair.h"
#include "host/InfoCcpFacts.h"
#include "host/InfoFacts.h"
#include "host/InfoXcp.h"
#include "host/JsonLines.h"
#include "host/Link.h"
#include "host/Output.h"
#include "host/RunCommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>

namespace host {
namespace {

/// CCP has no interface for single commands; a connect of the session asks for all that there is to ask.
void askCcpEcu(const Config& config, std::size_t ecu, const LinkOptions& options, InfoFacts& facts) {
    CcpExchanges exchanges(config.ecus[ecu]);
    Link link(config, {ecu}, options, {},
              [&exchanges](std::size_t, const BusFrame& frame) { exchanges.take(frame); });
    try {
        link.connect();
    } catch (const HostError&) {
        addCcpFacts(config.ecus[ecu], exchanges.list(), facts);
        throw;
    }
    addCcpFacts(config.ecus[ecu], exchanges.list(), facts);
}

class InfoPrint {
public:
    explicit InfoPrint(const InfoOptions& options)
        : m_asJson(options.link.json), m_output(stdout, !options.link.noColour), m_json(stdout) {}

    void print(const Config& config, const EcuRecord& ecu, const InfoFacts& facts) {
        if (m_asJson) {
            writeObjects(ecu, facts);
        } else if (!facts.list().empty()) {
            writeTable(config, ecu, facts);
        }
    }

private:
    void writeObjects(const EcuRecord& ecu, const InfoFacts& facts) {
        for (const Fact& fact : facts.list()) {
            Json object = jsonObject("fact");
            object["ecu"] = ecu.name;
            object["field"] = fact.field;
            object["ecu_value"] = fact.ecu;
            object["config_value"] = fact.configured.empty() ? Json() : Json(fact.configured);
            object["differs"] = fact.differs;
            m_json.write(object);
        }
    }

    void writeTable(const Config& config, const EcuRecord& ecu, const InfoFacts& facts) {
        m_output.line(m_output.paint(
            Colour::bold, fmt::format("{}: {}, {} and {} on {}", ecu.name, ecu.ccp ? "CCP" : "XCP",
                                      idText(ecu.commandId, ecu.extended),
                                      idText(ecu.responseId, ecu.extended), config.buses[ecu.bus].name)));
        std::size_t field = 0;
        std::size_t value = 0;
        for (const Fact& fact : facts.list()) {
            field = std::max(field, fact.field.size());
            value = std::max(value, fact.ecu.size());
        }
        m_output.line(m_output.paint(
            Colour::dim, fmt::format("  {:<{}}  {:<{}}  {}", "", field, "ECU", value, "configuration")));
        for (const Fact& fact : facts.list()) {
            const std::string line = fmt::format("{} {:<{}}  {:<{}}  {}", fact.differs ? "!" : " ",
                                                 fact.field, field, fact.ecu, value, fact.configured);
            const std::string shown = line.substr(0, line.find_last_not_of(' ') + 1);
            m_output.line(fact.differs ? m_output.paint(Colour::bad, shown) : shown);
        }
        writeCount(facts.differences());
    }

    void writeCount(std::size_t count) {
        const std::string text =
            count == 0 ? "no difference from the configuration"
                       : fmt::format("{} difference{} from the configuration", count, count == 1 ? "" : "s");
        m_output.line(m_output.paint(count == 0 ? Colour::good : Colour::bad, text));
    }

    const bool m_asJson;
    Output m_output;
    JsonLines m_json;
};

void ask(const Config& config, std::size_t ecu, const LinkOptions& options, InfoFacts& facts) {
    if (config.ecus[ecu].ccp) {
        askCcpEcu(config, ecu, options, facts);
    } else {
        askXcpEcu(config, ecu, options, facts);
    }
}

}  // namespace

ExitCode runInfo(const InfoOptions& options) {
    return runCommand("info", options.link.json, [&] {
        const Config config = loadConfigFor(options.link);
        InfoPrint print(options);
        ExitCode code = ExitCode::done;
        LinkOptions link = options.link;
        for (const std::size_t ecu : chosenEcus(config, options.link)) {
            InfoFacts facts;
            try {
                ask(config, ecu, link, facts);
            } catch (const HostError&) {
                print.print(config, config.ecus[ecu], facts);
                throw;
            }
            link.append = true;
            print.print(config, config.ecus[ecu], facts);
            code = facts.differences() > 0 ? ExitCode::different : code;
        }
        return code;
    });
}

}  // namespace host
