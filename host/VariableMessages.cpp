#include "host/VariableMessages.h"

#include "host/Output.h"

#include <cstdio>

namespace host {

VariableMessages::VariableMessages(const Config& config, const std::vector<NamedVariable>& variables,
                                   bool json)
    : m_config(config), m_severalEcus(ecusOf(variables).size() > 1), m_asJson(json), m_json(stdout) {}

std::string VariableMessages::nameOf(const NamedVariable& variable) const {
    return (m_severalEcus ? m_config.ecus[variable.ecu].name + "." : "") + variable.record.name;
}

void VariableMessages::error(const NamedVariable& variable, const HostError& error) {
    tell(error.what());
    if (m_asJson) {
        Json object = jsonObject("error");
        object["ecu"] = m_config.ecus[variable.ecu].name;
        object["name"] = variable.record.name;
        object["error"] = error.what();
        m_json.write(object);
    }
}

void VariableMessages::notReadBack(const NamedVariable& variable, const std::vector<std::uint8_t>& bytes) {
    tell(m_config.ecus[variable.ecu].name + ": " + variable.record.name + ": written, not read back");
    if (m_asJson) {
        Json object = jsonObject("not_read_back");
        object["ecu"] = m_config.ecus[variable.ecu].name;
        object["name"] = variable.record.name;
        object["raw"] = hexDigits(bytes.data(), bytes.size());
        m_json.write(object);
    }
}

}  // namespace host
