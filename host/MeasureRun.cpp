#include "host/MeasureRun.h"

#include "host/EcuSetup.h"
#include "host/HostError.h"
#include "host/Interrupt.h"
#include "host/MeasureJson.h"
#include "host/MeasureReport.h"
#include "host/ValueTable.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <numeric>
#include <string_view>
#include <utility>

namespace host {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kTurn{50};          ///< longest wait of one turn
constexpr milliseconds kDrawPeriod{200};   ///< of the live table
constexpr milliseconds kTellPeriod{1000};  ///< of losses, where there is no table
constexpr milliseconds kSettleTime{2000};  ///< for values of cycles that are whole

/// The library tells the number of discarded frames by how much of this line it writes.
constexpr std::string_view kDiscardLine = "[Talvex] Discard Talvex Message, count = %d";
constexpr std::uint32_t kWarning = 3;

std::vector<std::size_t> ecusOf(const MeasureSelection& selection) {
    std::vector<std::size_t> ecus;
    std::transform(selection.ecus.begin(), selection.ecus.end(), std::back_inserter(ecus),
                   [](const EcuSelection& ecu) { return ecu.ecu; });
    return ecus;
}

/// Whether values of @p variable must have come within @p seconds. One in an event that is not cyclic need
/// not.
bool isDue(const EcuRecord& ecu, const VariableRecord& variable, double seconds) {
    constexpr double kPeriods = 3.0;
    double period = variable.periodMs * 1e-3;
    if (variable.periodMs == 0 && variable.event < ecu.events.size()) {
        period = static_cast<double>(ecu.events[variable.event].periodNs) * ecu.daq.prescaler * 1e-9;
    }
    return period > 0.0 && seconds >= kPeriods * period;
}

}  // namespace

MeasureRun::Station::Station(const Config& config, const EcuSelection& chosen)
    : name(config.ecus[chosen.ecu].name),
      bus(config.ecus[chosen.ecu].bus),
      losses(bus, config.ecus[chosen.ecu].extended),
      tallies(chosen.variables.size()) {
    std::transform(chosen.variables.begin(), chosen.variables.end(), std::back_inserter(variables),
                   measureVariable);
    for (std::size_t i = 0; i < chosen.variables.size(); ++i) {
        index.emplace(chosen.variables[i].name, i);
    }
}

MeasureRun::MeasureRun(const Config& config, MeasureSelection selection, const MeasureOptions& options)
    : m_config(config),
      m_selection(std::move(selection)),
      m_options(options),
      m_clock(config.buses.size()),
      m_stations([this] {
          std::vector<std::unique_ptr<Station>> stations;
          for (const EcuSelection& chosen : m_selection.ecus) {
              stations.push_back(std::make_unique<Station>(m_config, chosen));
          }
          return stations;
      }()),
      m_csv(options.csv.empty() ? nullptr
                                : std::make_unique<MeasureCsv>(options.csv, config, m_selection,
                                                               [this] { return isHopeless(); })),
      m_json(stdout, [this] { return isHopeless(); }),
      m_table(stdout),
      m_link(
          config, ecusOf(m_selection), options.link,
          [this](const ValueDelivery& delivery) { onValues(delivery); },
          [this](std::size_t bus, const BusFrame& frame) { onFrame(bus, frame); },
          {.plan = [this](const EcuProtoCfg& cfg) { onPlan(cfg); },
           .log = [this](std::uint32_t level, const std::string& text) { onLog(level, text); }}) {}

MeasureRun::~MeasureRun() {
    m_csv.reset();
}

void MeasureRun::onPlan(const EcuProtoCfg& cfg) {
    for (const auto& station : m_stations) {
        if (station->name == cfg.ecuName) {
            station->losses.begin(daqShape(cfg, station->variables));
        }
    }
}

void MeasureRun::onValues(const ValueDelivery& delivery) {
    const auto station = std::find_if(m_stations.begin(), m_stations.end(),
                                      [&](const auto& item) { return item->name == delivery.ecuName; });
    if (station == m_stations.end() || delivery.values.empty()) {
        return;
    }
    MeasureDelivery taken;
    taken.ecu = static_cast<std::size_t>(station - m_stations.begin());
    taken.kind = delivery.kind;
    taken.arrival = steady_clock::now();
    taken.values = delivery.values;
    if (delivery.kind == ValueKind::daq) {
        taken.event = (*station)->losses.deliver(delivery.values);
        taken.seconds = m_clock.ofBus((*station)->bus, delivery.values.front().time);
        m_link.buses().delivered((*station)->bus, delivery.values.back().time);
    } else {
        taken.seconds = m_clock.ofDay(delivery.values.front().time);
    }
    m_queue.put(std::move(taken));
}

void MeasureRun::onLog(std::uint32_t level, const std::string& text) {
    if (level == kWarning && kDiscardLine.substr(0, text.size()) == text) {
        m_discards += text.size();
    }
}

void MeasureRun::onFrame(std::size_t bus, const BusFrame& frame) {
    m_clock.note(bus, frame);
    for (const auto& station : m_stations) {
        station->losses.take(bus, frame);
    }
}

ExitCode MeasureRun::run() {
    tellRejected();
    m_link.connect();
    try {
        start();
    } catch (const HostError&) {
        StopMeasurement();
        throw;
    }
    const Ending ending = conclude(measure());
    const MeasureLosses lost = losses();
    StopMeasurement();
    m_link.disconnect();
    const bool shown = summarise(lost);
    if (!ending.text.empty()) {
        throw HostError(ending.text, ending.code);
    }
    if (!shown && ending.code == ExitCode::done) {
        throw HostError("standard output: cannot be written");
    }
    return m_options.failOnLoss && lost.total() > 0 ? ExitCode::dataLost : ending.code;
}

void MeasureRun::tellRejected() const {
    if (!m_selection.rejected.empty()) {
        tell(fmt::format("not measured, because the library refuses address 0 (reject_zero_address): {}",
                         fmt::join(m_selection.rejected, ", ")));
    }
}

/// Files get their first line when it measures, so that an attempt that fails leaves an older recording
/// alone.
void MeasureRun::start() {
    order();
    if (m_options.link.json) {
        m_json.write(startJson(m_config, m_selection, m_clock.startUs()));
    }
    if (m_csv) {
        m_csv->begin();
    }
}

void MeasureRun::order() {
    m_clock.start();
    std::map<std::string, std::vector<mcMeasureVariable>> variables;
    for (const auto& station : m_stations) {
        variables[station->name] = station->variables;
    }
    m_link.startMeasurement([&variables] { StartMeasurement(variables); });
    m_started = m_told = steady_clock::now();
    if (m_options.seconds) {
        m_end = m_clock.now() + *m_options.seconds;
    }
}

MeasureRun::Ending MeasureRun::measure() {
    try {
        for (;;) {
            takeDeliveries(kTurn);
            if (const std::optional<Ending> ending = ended()) {
                return *ending;
            }
            tellLive();
        }
    } catch (const HostError& error) {
        return endedByLink().value_or(Ending{error.code(), error.what()});
    }
}

std::optional<MeasureRun::Ending> MeasureRun::ended() {
    if (interrupted()) {
        return Ending{ExitCode::interrupted};
    }
    if (std::optional<Ending> lost = endedByLink()) {
        return lost;
    }
    if (readerGone() || m_json.broken() || m_table.broken()) {
        return Ending{ExitCode::failed, "standard output is closed; the measurement is ended"};
    }
    return m_options.seconds && elapsed() >= *m_options.seconds ? std::optional<Ending>(Ending{})
                                                                : std::nullopt;
}

std::optional<MeasureRun::Ending> MeasureRun::endedByLink() {
    if (const std::string down = m_link.buses().failure(); !down.empty()) {
        return Ending{ExitCode::bus, down};
    }
    const std::optional<TaskResult> lost =
        m_link.session().waitResult(command::kLinkLost, milliseconds(0), [] { return false; });
    if (!lost) {
        return std::nullopt;
    }
    return Ending{ExitCode::noAnswer,
                  fmt::format("the link was lost: {}; what came is kept", fmt::join(lost->details, ", "))};
}

void MeasureRun::takeDeliveries(milliseconds patience) {
    for (const MeasureDelivery& delivery : m_queue.take(patience)) {
        take(delivery);
    }
    if (m_csv) {
        m_csv->flushSometimes();
    }
}

void MeasureRun::take(const MeasureDelivery& delivery) {
    if (delivery.seconds > m_end) {
        return;
    }
    const EcuSelection& chosen = m_selection.ecus[delivery.ecu];
    const EcuRecord& ecu = m_config.ecus[chosen.ecu];
    Station& station = *m_stations[delivery.ecu];
    std::vector<std::optional<MeasureValue>> values(chosen.variables.size());
    for (const mcMeasureVariableValue& value : delivery.values) {
        const auto known = station.index.find(value.name);
        if (known == station.index.end()) {
            continue;
        }
        const std::size_t index = known->second;
        values[index] = measureValue(chosen.variables[index], ecu.byteOrder, value.data);
        station.tallies[index].add(delivery.seconds, delivery.arrival, *values[index]);
    }
    if (m_csv) {
        m_csv->add(delivery, values);
    }
    if (m_options.link.json) {
        m_json.write(valuesJson(ecu, chosen.variables, delivery, values));
    }
}

/// What is on its way when the measurement ends is not lost: the library gets time to deliver it, unless
/// Ctrl-C comes meanwhile.
void MeasureRun::settle() {
    const bool wasInterrupted = interrupted();
    for (const auto& station : m_stations) {
        station->losses.settle();
    }
    const auto deadline = steady_clock::now() + kSettleTime;
    const auto allSettled = [this] {
        return std::all_of(m_stations.begin(), m_stations.end(),
                           [](const auto& station) { return station->losses.settled(); });
    };
    while (!allSettled() && steady_clock::now() < deadline && interrupted() == wasInterrupted) {
        const std::vector<MeasureDelivery> waiting = m_queue.take(kTurn);
        std::for_each(waiting.begin(), waiting.end(), [this](const auto& delivery) { take(delivery); });
    }
}

/// Takes what is on its way and closes files. One that cannot be written whole is how the measurement ended,
/// unless it has ended badly already.
MeasureRun::Ending MeasureRun::conclude(const Ending& ending) {
    m_ended = steady_clock::now();
    m_end = std::min(m_end, m_clock.now());
    try {
        if (ending.text.empty()) {
            settle();
        }
        takeDeliveries(milliseconds(0));
        if (m_csv) {
            m_csv->flush();
        }
    } catch (const HostError& error) {
        return ending.text.empty() ? Ending{error.code(), error.what()} : ending;
    }
    return ending.text.empty() && interrupted() ? Ending{ExitCode::interrupted} : ending;
}

void MeasureRun::tellLive() {
    const auto now = steady_clock::now();
    if (showsTable()) {
        if (now - m_told >= kDrawPeriod) {
            m_told = now;
            drawTable(losses());
        }
        return;
    }
    const MeasureLosses lost = losses();
    if (lost.total() != m_toldLosses && now - m_told >= kTellPeriod) {
        m_told = now;
        m_toldLosses = lost.total();
        tell(fmt::format("{:.1f} s: {}", elapsed(), lossText(m_config, m_selection, lost)));
        if (m_options.link.json) {
            m_json.write(lossJson("loss", m_config, m_selection, lost));
        }
    }
}

void MeasureRun::drawTable(const MeasureLosses& lost) {
    m_table.draw(fmt::format("{:.1f} s  {}", elapsed(), lossText(m_config, m_selection, lost)), rows());
}

/// @return whether standard output took what is for it
bool MeasureRun::summarise(const MeasureLosses& lost) {
    if (m_options.link.json) {
        summariseAsJson(lost);
        return !m_json.broken();
    }
    const bool toFile = !m_options.csv.empty();
    Output output(toFile ? stderr : stdout, false);
    if (showsTable()) {
        drawTable(lost);
    } else if (!toFile) {
        for (const std::string& line : liveLines(rows(), kTableWidth)) {
            output.line(line);
        }
    }
    for (std::size_t i = 0; i < m_stations.size(); ++i) {
        for (const std::string& line : listLines(m_config.ecus[m_selection.ecus[i].ecu], lost.ecus[i])) {
            output.line(line);
        }
    }
    output.line(fmt::format("{:.1f} s measured; {}", elapsed(), lossText(m_config, m_selection, lost)));
    return !m_table.broken() && (toFile || !output.broken());
}

void MeasureRun::summariseAsJson(const MeasureLosses& lost) {
    for (std::size_t i = 0; i < m_stations.size(); ++i) {
        const EcuSelection& chosen = m_selection.ecus[i];
        const EcuRecord& ecu = m_config.ecus[chosen.ecu];
        m_json.write(summaryJson(ecu, lost.ecus[i]));
        for (std::size_t j = 0; j < chosen.variables.size(); ++j) {
            m_json.write(variableJson(ecu, chosen.variables[j], m_stations[i]->tallies[j]));
        }
    }
    m_json.write(lossJson("losses", m_config, m_selection, lost));
}

bool MeasureRun::showsTable() const {
    return !m_options.link.json && m_options.csv != "-" && isatty(STDOUT_FILENO) == 1;
}

/// Whether anything goes to standard output.
bool MeasureRun::needsReader() const {
    return m_options.csv.empty() || m_options.csv == "-" || m_options.link.json || showsTable();
}

/// A pipe whose reader is gone says so before anything is written to it.
bool MeasureRun::readerGone() const {
    pollfd output{STDOUT_FILENO, 0, 0};
    return needsReader() && ::poll(&output, 1, 0) > 0 &&
           (output.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
}

/// Whether there is nothing to wait for any more while a reader stands still.
bool MeasureRun::isHopeless() const {
    return interrupted() || !m_link.buses().failure().empty();
}

std::vector<std::string> MeasureRun::silent() const {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < m_stations.size(); ++i) {
        const EcuSelection& chosen = m_selection.ecus[i];
        for (std::size_t j = 0; j < chosen.variables.size(); ++j) {
            if (m_stations[i]->tallies[j].count == 0 &&
                isDue(m_config.ecus[chosen.ecu], chosen.variables[j], elapsed())) {
                names.push_back(m_stations[i]->name + "." + chosen.variables[j].name);
            }
        }
    }
    return names;
}

MeasureLosses MeasureRun::losses() const {
    MeasureLosses lost;
    std::transform(m_stations.begin(), m_stations.end(), std::back_inserter(lost.ecus),
                   [](const auto& station) { return station->losses.losses(); });
    lost.overflows = m_link.buses().overflows();
    lost.discards = m_discards;
    lost.notWritten = m_queue.dropped();
    for (const auto& station : m_stations) {
        lost.shortValues =
            std::accumulate(station->tallies.begin(), station->tallies.end(), lost.shortValues,
                            [](std::uint64_t sum, const MeasureTally& tally) { return sum + tally.missing; });
    }
    if (m_ended) {
        lost.silent = silent();
    }
    return lost;
}

std::vector<LiveRow> MeasureRun::rows() const {
    std::vector<LiveRow> rows;
    const auto now = m_ended.value_or(steady_clock::now());
    for (std::size_t i = 0; i < m_stations.size(); ++i) {
        const std::string prefix = m_stations.size() > 1 ? m_stations[i]->name + "." : "";
        const std::vector<VariableRecord>& variables = m_selection.ecus[i].variables;
        for (std::size_t j = 0; j < variables.size(); ++j) {
            rows.push_back(liveRow(prefix + variables[j].name, variables[j], m_stations[i]->tallies[j], now));
        }
    }
    return rows;
}

double MeasureRun::elapsed() const {
    return std::chrono::duration<double>(m_ended.value_or(steady_clock::now()) - m_started).count();
}

}  // namespace host
