/// @file
/// How variables and what went wrong with them are called, in text and as JSON.
#pragma once

#include "host/ConfigRecords.h"
#include "host/HostError.h"
#include "host/JsonLines.h"
#include "host/VariableName.h"

#include <string>
#include <vector>

namespace host {

/// One thread.
class VariableMessages {
public:
    /// @param config     must outlive the object
    /// @param variables  all that are shown
    /// @param json       objects beside the messages
    VariableMessages(const Config& config, const std::vector<NamedVariable>& variables, bool json);

    /// Its name; behind that of its ECU if there are several.
    [[nodiscard]] std::string nameOf(const NamedVariable& variable) const;

    /// The message for a person, and for programs an object as well.
    void error(const NamedVariable& variable, const HostError& error);

    /// A value is on its way or in the ECU, and nobody has looked whether it is.
    void notReadBack(const NamedVariable& variable, const std::vector<std::uint8_t>& bytes);

private:
    const Config& m_config;
    const bool m_severalEcus;
    const bool m_asJson;
    JsonLines m_json;
};

}  // namespace host
