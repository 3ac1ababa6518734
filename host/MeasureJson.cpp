#include "host/MeasureJson.h"

#include "host/PhysicalValue.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

Json optionalJson(const std::optional<double>& number) {
    return number ? Json(*number) : Json();
}

Json variableHead(const EcuRecord& ecu, const VariableRecord& variable) {
    Json head = {{"ecu", ecu.name},
                 {"name", variable.name},
                 {"unit", variable.unit},
                 {"type", valueTypeText(variable.type)}};
    if (variable.periodMs != 0) {
        head["period_ms"] = variable.periodMs;
    } else {
        head["event"] = variable.event;
    }
    return head;
}

}  // namespace

Json startJson(const Config& config, const MeasureSelection& selection, std::int64_t startUs) {
    Json object = jsonObject("start");
    object["unix_time"] = static_cast<double>(startUs) / 1e6;
    Json variables = Json::array();
    for (const EcuSelection& ecu : selection.ecus) {
        for (const VariableRecord& variable : ecu.variables) {
            variables.push_back(variableHead(config.ecus[ecu.ecu], variable));
        }
    }
    object["variables"] = std::move(variables);
    return object;
}

Json valuesJson(const EcuRecord& ecu, const std::vector<VariableRecord>& variables,
                const MeasureDelivery& delivery, const std::vector<std::optional<MeasureValue>>& values) {
    Json object = jsonObject("values");
    object["ecu"] = ecu.name;
    object["time"] = std::round(delivery.seconds * 1e6) / 1e6;
    object["source"] = delivery.kind == ValueKind::daq ? "daq" : "poll";
    if (delivery.event) {
        object["event"] = *delivery.event;
    }
    Json& named = object["values"] = Json::object();
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i]) {
            named[variables[i].name] = jsonValue(*values[i]);
        }
    }
    return object;
}

Json lossesJson(const EcuLosses& losses) {
    const ListLosses sum = losses.sum();
    return {{"gaps", sum.gaps},
            {"incomplete_cycles", sum.incompleteCycles},
            {"undelivered_cycles", sum.undelivered},
            {"overloads", losses.overloads}};
}

Json lossJson(const char* type, const Config& config, const MeasureSelection& selection,
              const MeasureLosses& losses) {
    Json object = jsonObject(type);
    object["total"] = losses.total();
    object["bus_overflows"] = losses.overflows;
    object["library_discards"] = losses.discards;
    object["not_written"] = losses.notWritten;
    object["short_values"] = losses.shortValues;
    object["silent"] = losses.silent;
    Json& ecus = object["ecus"] = Json::object();
    for (std::size_t i = 0; i < selection.ecus.size(); ++i) {
        ecus[config.ecus[selection.ecus[i].ecu].name] = lossesJson(losses.ecus[i]);
    }
    return object;
}

Json summaryJson(const EcuRecord& ecu, const EcuLosses& losses) {
    Json object = jsonObject("summary");
    object["ecu"] = ecu.name;
    object["losses"] = lossesJson(losses);
    object["strangers"] = losses.strangers;
    Json& lists = object["lists"] = Json::array();
    for (const ListLosses& list : losses.lists) {
        lists.push_back({{"list", list.list},
                         {"event", list.event},
                         {"odts", list.odts},
                         {"cycles", list.cycles},
                         {"gaps", list.gaps},
                         {"incomplete_cycles", list.incompleteCycles},
                         {"undelivered_cycles", list.undelivered}});
    }
    return object;
}

Json variableJson(const EcuRecord& ecu, const VariableRecord& variable, const MeasureTally& tally) {
    Json object = jsonObject("variable");
    object["ecu"] = ecu.name;
    object["name"] = variable.name;
    object["unit"] = variable.unit;
    object["count"] = tally.count;
    object["missing"] = tally.missing;
    object["rate"] = tally.rate();
    object["minimum"] = optionalJson(tally.minimum);
    object["maximum"] = optionalJson(tally.maximum);
    object["last"] = jsonValue(tally.last);
    return object;
}

}  // namespace host
