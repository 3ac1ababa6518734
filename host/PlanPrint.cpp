#include "host/PlanPrint.h"

#include "host/JsonLines.h"
#include "host/Output.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdio>
#include <map>

namespace host {
namespace {

using Lines = std::vector<std::string>;

constexpr std::size_t kWidth = 100;  ///< columns of the names of a list

std::string cycleText(std::uint64_t periodNs) {
    return periodNs > 0 ? fmt::format("{:g} ms", static_cast<double>(periodNs) * 1e-6) : "not cyclic";
}

/// @p names joined by commas, in lines that begin with @p indent blanks.
void addWrapped(Lines& lines, const std::vector<std::string>& names, std::size_t indent) {
    const std::string blanks(indent, ' ');
    std::string line;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string name = names[i] + (i + 1 < names.size() ? "," : "");
        if (!line.empty() && line.size() + 1 + name.size() > kWidth) {
            lines.push_back(line);
            line.clear();
        }
        line += (line.empty() ? blanks : " ") + name;
    }
    if (!line.empty()) {
        lines.push_back(line);
    }
}

void addLists(Lines& lines, const EcuPlan& plan) {
    constexpr std::size_t kIndent = 6;
    if (plan.lists.empty()) {
        return;
    }
    lines.push_back(fmt::format("  {:<14} {:>10} {:>5} {:>5} {:>6} {:>10} {:>8}", "event", "cycle", "list",
                                "ODTs", "bytes", "frames/s", "load"));
    for (const PlannedList& list : plan.lists) {
        lines.push_back(fmt::format("  {:<14} {:>10} {:>5} {:>5} {:>6} {:>10.1f} {:>6.1f} %", list.eventName,
                                    cycleText(list.periodNs), list.number, list.odts, list.bytes,
                                    list.share.framesPerSecond, list.share.averagePercent));
        addWrapped(lines, list.names, kIndent);
    }
}

void addOthers(Lines& lines, const EcuPlan& plan) {
    if (!plan.polled.empty()) {
        lines.emplace_back("  polled");
    }
    for (const PolledVariable& variable : plan.polled) {
        lines.push_back(fmt::format("    {:<24} {:>9} {:>6.2f} %  {}", variable.name,
                                    fmt::format("{} ms", variable.periodMs), variable.share.averagePercent,
                                    variable.reason));
    }
    if (!plan.rejected.empty()) {
        lines.emplace_back("  rejected");
    }
    for (const RejectedVariable& variable : plan.rejected) {
        lines.push_back(fmt::format("    {:<24} {}", variable.name, variable.reason));
    }
}

void addUndelivered(Lines& lines, const EcuPlan& plan) {
    if (!plan.undelivered.empty()) {
        lines.emplace_back("  not delivered");
    }
    for (const UndeliveredVariable& variable : plan.undelivered) {
        lines.push_back(fmt::format("    {:<24} {}", variable.name, variable.reason));
    }
}

std::string busLine(const BusRecord& record, const BusPlan& plan) {
    const BusShare total = plan.total();
    return fmt::format(
        "{}: {:.1f} % of the bus (DAQ {:.1f} %, polling {:.1f} %, keep-alive {:.1f} %), {:.1f} % with the "
        "most stuff bits, {:.1f} frames/s",
        record.name, total.averagePercent, plan.daq.averagePercent, plan.polling.averagePercent,
        plan.keepAlive.averagePercent, total.worstPercent, total.framesPerSecond);
}

/// To the thousandth: more digits would only look exact.
double rounded(double value) {
    return std::round(value * 1000.0) / 1000.0;
}

void putShare(Json& object, const BusShare& share) {
    object["frames_per_second"] = rounded(share.framesPerSecond);
    object["load_percent"] = rounded(share.averagePercent);
    object["worst_load_percent"] = rounded(share.worstPercent);
}

void writeList(JsonLines& out, const std::string& ecu, const PlannedList& list) {
    Json object = jsonObject("list");
    object["ecu"] = ecu;
    object["list"] = list.number;
    object["event"] = list.event;
    object["event_name"] = list.eventName;
    object["period_ms"] = list.periodNs > 0 ? Json(static_cast<double>(list.periodNs) * 1e-6) : Json();
    object["id"] = list.id;
    object["odts"] = list.odts;
    object["bytes"] = list.bytes;
    putShare(object, list.share);
    object["variables"] = list.names;
    out.write(object);
}

void writeReason(JsonLines& out, const char* type, const std::string& ecu, const std::string& variable,
                 const std::string& reason) {
    Json object = jsonObject(type);
    object["ecu"] = ecu;
    object["variable"] = variable;
    object["reason"] = reason;
    out.write(object);
}

void writeOthers(JsonLines& out, const std::string& ecu, const EcuPlan& plan) {
    for (const PolledVariable& variable : plan.polled) {
        Json object = jsonObject("polled");
        object["ecu"] = ecu;
        object["variable"] = variable.name;
        object["period_ms"] = variable.periodMs;
        object["reason"] = variable.reason;
        putShare(object, variable.share);
        out.write(object);
    }
    for (const RejectedVariable& variable : plan.rejected) {
        writeReason(out, "rejected", ecu, variable.name, variable.reason);
    }
    for (const UndeliveredVariable& variable : plan.undelivered) {
        writeReason(out, "undelivered", ecu, variable.name, variable.reason);
    }
}

void writeBus(JsonLines& out, const BusRecord& record, const BusPlan& plan) {
    Json object = jsonObject("bus");
    object["bus"] = record.name;
    object["daq_load_percent"] = rounded(plan.daq.averagePercent);
    object["polling_load_percent"] = rounded(plan.polling.averagePercent);
    object["keep_alive_load_percent"] = rounded(plan.keepAlive.averagePercent);
    putShare(object, plan.total());
    out.write(object);
}

}  // namespace

BusShare BusPlan::total() const {
    BusShare sum = daq;
    sum += polling;
    sum += keepAlive;
    return sum;
}

std::vector<BusPlan> busPlans(const Config& config, const std::vector<EcuPlan>& plans) {
    std::map<std::size_t, BusPlan> byBus;
    for (const EcuPlan& plan : plans) {
        const std::size_t bus = config.ecus[plan.ecu].bus;
        BusPlan& sum = byBus[bus];
        sum.bus = bus;
        sum.daq += plan.daqShare();
        sum.polling += plan.pollShare();
        sum.keepAlive += plan.keepAlive;
    }
    std::vector<BusPlan> sums;
    sums.reserve(byBus.size());
    for (const auto& [bus, sum] : byBus) {
        sums.push_back(sum);
    }
    return sums;
}

std::vector<std::string> planLines(const Config& config, const std::vector<EcuPlan>& plans) {
    Lines lines;
    for (const EcuPlan& plan : plans) {
        const EcuRecord& ecu = config.ecus[plan.ecu];
        lines.push_back(
            fmt::format("{}: {} on {}", ecu.name, ecu.ccp ? "CCP" : "XCP", config.buses[ecu.bus].name));
        addLists(lines, plan);
        addOthers(lines, plan);
        addUndelivered(lines, plan);
        lines.emplace_back();
    }
    for (const BusPlan& plan : busPlans(config, plans)) {
        lines.push_back(busLine(config.buses[plan.bus], plan));
    }
    return lines;
}

bool printPlanText(const Config& config, const std::vector<EcuPlan>& plans) {
    Output output(stdout, false);
    for (const std::string& line : planLines(config, plans)) {
        output.line(line);
    }
    return !output.broken();
}

bool printPlanJson(const Config& config, const std::vector<EcuPlan>& plans) {
    JsonLines out(stdout);
    for (const EcuPlan& plan : plans) {
        const std::string& ecu = config.ecus[plan.ecu].name;
        for (const PlannedList& list : plan.lists) {
            writeList(out, ecu, list);
        }
        writeOthers(out, ecu, plan);
    }
    for (const BusPlan& plan : busPlans(config, plans)) {
        writeBus(out, config.buses[plan.bus], plan);
    }
    return !out.broken();
}

}  // namespace host
