#include "host/VariableAccess.h"

#include "host/EcuSetup.h"

#include <TalvexSDK.h>

#include <fmt/format.h>

#include <utility>

namespace host {

VariableAccess::VariableAccess(const Config& config, const std::vector<std::size_t>& ecus,
                               const LinkOptions& options)
    : m_config(config),
      m_link(config, ecus, options, [this](const ValueDelivery& delivery) { take(delivery); }) {
    m_link.connect();
}

void VariableAccess::take(const ValueDelivery& delivery) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!delivery.values.empty()) {
        m_bytes = delivery.values.front().data;
    }
}

/// The library's result is 0 in any case; the value is there or it is not.
std::vector<std::uint8_t> VariableAccess::read(const NamedVariable& variable) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bytes.clear();
    }
    const EcuRecord& ecu = m_config.ecus[variable.ecu];
    const std::string what = "read " + variable.record.name;
    if (ecu.rejects(variable.record)) {
        throw HostError(
            fmt::format("{}: {}: address 0 is no variable, says reject_zero_address of the "
                        "configuration",
                        ecu.name, what));
    }
    revive();
    m_link.run(variable.ecu, command::kMeasureVariables, what,
               [&] { MeasureVars(ecu.name, {measureVariable(variable.record)}); });
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_bytes.size() != variable.record.size) {
        throw failure(variable, what)
            .value_or(HostError(fmt::format("{}: {}: the value did not come", ecu.name, what)));
    }
    return std::exchange(m_bytes, {});
}

std::optional<HostError> VariableAccess::failure(const NamedVariable& variable, const std::string& what) {
    std::optional<HostError> error = m_link.objection(variable.ecu, what);
    m_lost = error && error->code() != ExitCode::noAnswer && m_config.ecus[variable.ecu].ccp;
    return error;
}

/// The library takes any refusal of a CCP ECU for the loss of its link.
void VariableAccess::revive() {
    if (m_lost) {
        m_link.disconnect();
        m_link.connect();
        m_lost = false;
    }
}

std::optional<HostError> VariableAccess::write(const NamedVariable& variable,
                                               const std::vector<std::uint8_t>& bytes) {
    const std::string& ecu = m_config.ecus[variable.ecu].name;
    const std::string what = "write " + variable.record.name;
    revive();
    m_link.run(variable.ecu, command::kCalibrate, what,
               [&] { CalibrationVar(ecu, measureVariable(variable.record), bytes); });
    return failure(variable, what);
}

}  // namespace host
