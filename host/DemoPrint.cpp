// The part of DemoRun that prints, and its closing checks.
#include "host/DemoRun.h"
#include "host/Interrupt.h"
#include "host/ValueTable.h"

#include <fmt/format.h>

namespace host {
namespace {

std::string rateText(std::uint32_t bitRate) {
    return bitRate % 1'000'000 == 0 ? fmt::format("{} Mbit/s", bitRate / 1'000'000)
                                    : fmt::format("{} kbit/s", bitRate / 1000);
}

std::string busText(const BusRecord& bus) {
    return bus.dataRate ? fmt::format("CAN FD {} and {}", rateText(bus.nominalRate), rateText(*bus.dataRate))
                        : fmt::format("CAN {}", rateText(bus.nominalRate));
}

std::string loadLine(const BusRecord& bus, const sim::BusCounters& before, const sim::BusCounters& after) {
    const double time = static_cast<double>(after.now - before.now) / 1e9;
    const double perSecond = time > 0.0 ? 1.0 / time : 0.0;
    return fmt::format("bus {:<12} {:<30} load {:5.1f} %  {:6.0f} frames/s  {:7.0f} bytes/s", bus.name,
                       busText(bus), after.loadPercentSince(before),
                       static_cast<double>(after.frames - before.frames) * perSecond,
                       static_cast<double>(after.dataBytes - before.dataBytes) * perSecond);
}

}  // namespace

void DemoRun::printHead() {
    m_output.line(m_output.paint(Colour::bold, fmt::format("talvex demo, {}", m_config.file)));
    for (const EcuRecord& ecu : m_config.ecus) {
        const BusRecord& bus = m_config.buses[ecu.bus];
        m_output.line(fmt::format("  {:<10} {} on {:<29} channel {}  0x{:X}/0x{:X}  {} endian  {} variables",
                                  ecu.name, ecu.ccp ? "CCP" : "XCP", busText(bus), bus.channel, ecu.commandId,
                                  ecu.responseId, ecu.byteOrder == sim::ByteOrder::intel ? "little" : "big",
                                  ecu.variables.size()));
    }
}

void DemoRun::sayPlan(std::size_t ecu) {
    const EcuRecord& record = m_config.ecus[ecu];
    const auto plans = m_session.plans();
    const auto plan = plans.find(record.name);
    if (!m_journal.require(plan != plans.end(), fmt::format("{}: daqInfoFun did not come", record.name))) {
        return;
    }
    std::size_t lists = 0;
    std::size_t planned = 0;
    for (const auto& [event, byList] : plan->second) {
        lists += byList.size();
        for (const auto& [list, names] : byList) {
            planned += names.size();
        }
    }
    std::size_t polled = 0;
    for (const VariableRecord& variable : record.variables) {
        polled += variable.periodMs > 0 && !record.rejects(variable) ? 1U : 0U;
    }
    m_journal.say("start", fmt::format("{}: {} variables in {} DAQ lists, {} polled", record.name, planned,
                                       lists, polled));
}

void DemoRun::checkAll() {
    for (std::size_t i = 0; i < m_config.ecus.size(); ++i) {
        checkMeasured(m_journal.verdict(), m_config.ecus[i], m_monitors[i]->report(), m_events[i]);
    }
    const DecodeCounts decoded = m_session.decoded();
    m_journal.require(decoded.commands > 0, "msgDecodeFun never came with a command");
    m_journal.require(decoded.responses > 0, "msgDecodeFun never came with a response");
    m_journal.say("analysis", fmt::format("{} commands, {} responses and {} events by name", decoded.commands,
                                          decoded.responses, decoded.events));
}

void DemoRun::printTable() {
    if (m_countersBefore.empty()) {
        return;
    }
    for (std::size_t i = 0; i < m_config.ecus.size(); ++i) {
        m_output.line("");
        m_output.line(m_output.paint(Colour::bold, m_config.ecus[i].name));
        m_output.line(m_output.paint(Colour::dim, tableHead()));
        for (const std::string& line : tableLines(m_config.ecus[i], m_monitors[i]->report())) {
            m_output.line(line);
        }
    }
}

void DemoRun::printLoads() {
    if (m_countersAfter.empty()) {
        return;
    }
    m_output.line("");
    for (std::size_t i = 0; i < m_buses.size(); ++i) {
        m_output.line(loadLine(m_config.buses[i], m_countersBefore[i], m_countersAfter[i]));
    }
}

ExitCode DemoRun::printVerdict() {
    m_output.line("");
    for (const std::string& reason : m_journal.verdict().reasons()) {
        m_output.line(fmt::format("  {} {}", m_output.paint(Colour::bad, "-"), reason));
    }
    if (!m_journal.verdict().good()) {
        for (const LogLine& complaint : m_session.complaints()) {
            m_output.line(m_output.paint(Colour::dim, fmt::format("  log: {}", complaint.text)));
        }
    }
    if (interrupted()) {
        m_output.line(m_output.paint(Colour::bad, "verdict: interrupted; all is disconnected"));
        return ExitCode::interrupted;
    }
    if (m_output.broken() || !m_journal.verdict().good()) {
        m_output.line(m_output.paint(
            Colour::bad, fmt::format("verdict: FAILED, {} of {} checks", m_journal.verdict().reasons().size(),
                                     m_journal.verdict().checks())));
        return ExitCode::failed;
    }
    m_output.line(m_output.paint(
        Colour::good,
        fmt::format("verdict: good; no counter has a gap, every value and every byte is the ECU's, every "
                    "callback came ({} checks)",
                    m_journal.verdict().checks())));
    return ExitCode::done;
}

}  // namespace host
