#include "host/MeasureCsv.h"

#include <fmt/format.h>

namespace host {

MeasureCsv::MeasureCsv(const std::string& path, const Config& config, const MeasureSelection& selection)
    : m_file(path) {
    std::vector<std::string> head{"time"};
    for (const EcuSelection& ecu : selection.ecus) {
        const std::string prefix = selection.ecus.size() > 1 ? config.ecus[ecu.ecu].name + "." : "";
        m_firstColumn.push_back(head.size());
        for (const VariableRecord& variable : ecu.variables) {
            head.push_back(prefix + variable.name);
        }
    }
    m_columns = head.size();
    m_file.row(head);
}

void MeasureCsv::add(const MeasureDelivery& delivery,
                     const std::vector<std::optional<MeasureValue>>& values) {
    std::vector<std::string> cells(m_columns);
    cells[0] = fmt::format("{:.6f}", delivery.seconds);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i]) {
            cells[m_firstColumn[delivery.ecu] + i] = cellText(*values[i]);
        }
    }
    m_file.row(cells);
}

}  // namespace host
