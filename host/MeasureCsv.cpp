#include "host/MeasureCsv.h"

#include <fmt/format.h>

#include <utility>

namespace host {

MeasureCsv::MeasureCsv(const std::string& path, const Config& config, const MeasureSelection& selection,
                       GiveUp giveUp)
    : m_file(path, std::move(giveUp)) {
    for (const EcuSelection& ecu : selection.ecus) {
        const std::string prefix = selection.ecus.size() > 1 ? config.ecus[ecu.ecu].name + "." : "";
        m_firstColumn.push_back(m_head.size());
        for (const VariableRecord& variable : ecu.variables) {
            m_head.push_back(prefix + variable.name);
        }
    }
}

void MeasureCsv::begin() {
    m_file.row(m_head);
    m_file.flush();
}

void MeasureCsv::add(const MeasureDelivery& delivery,
                     const std::vector<std::optional<MeasureValue>>& values) {
    std::vector<std::string> cells(m_head.size());
    cells[0] = fmt::format("{:.6f}", delivery.seconds);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i]) {
            cells[m_firstColumn[delivery.ecu] + i] = cellText(*values[i]);
        }
    }
    m_file.row(cells);
}

}  // namespace host
