/// @file
/// One measurement from connect to disconnect.
#pragma once

#include "host/Link.h"
#include "host/LiveTable.h"
#include "host/LossCounter.h"
#include "host/MeasureClock.h"
#include "host/MeasureCommand.h"
#include "host/MeasureCsv.h"
#include "host/MeasureQueue.h"
#include "host/MeasureRecords.h"
#include "host/MeasureSelection.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace host {

/// Measures once. One thread, but for what its comments say.
class MeasureRun {
public:
    /// Opens buses and files.
    /// @param config, options  must outlive the object
    /// @throws HostError as Link and CsvFile do
    MeasureRun(const Config& config, MeasureSelection selection, const MeasureOptions& options);

    /// Closes files ahead of the link: while a reader stands still they ask how it is.
    ~MeasureRun();

    MeasureRun(const MeasureRun&) = delete;
    MeasureRun& operator=(const MeasureRun&) = delete;

    /// Measures, writes what came and disconnects.
    /// @throws HostError for what ended it early; by then all is written and disconnected
    [[nodiscard]] ExitCode run();

private:
    /// Why it ended. Without a text all went as it should.
    struct Ending {
        ExitCode code = ExitCode::done;
        std::string text{};
    };

    /// One ECU of the selection.
    struct Station {
        Station(const Config& config, const EcuSelection& chosen);

        std::string name;
        std::size_t bus;
        std::vector<mcMeasureVariable> variables;
        LossCounter losses;
        std::vector<MeasureTally> tallies;                   ///< by variable
        std::unordered_map<std::string, std::size_t> index;  ///< of the variables, by name
    };

    // Threads of the library and of the buses.
    void onPlan(const EcuProtoCfg& cfg);
    void onValues(const ValueDelivery& delivery);
    void onLog(std::uint32_t level, const std::string& text);
    void onFrame(std::size_t bus, const BusFrame& frame);

    void tellRejected() const;
    void start();
    void order();
    [[nodiscard]] Ending measure();
    [[nodiscard]] std::optional<Ending> ended();
    [[nodiscard]] std::optional<Ending> endedByLink();
    void takeDeliveries(std::chrono::milliseconds patience);
    void take(const MeasureDelivery& delivery);
    void settle();
    [[nodiscard]] Ending conclude(const Ending& ending);
    void tellLive();
    void drawTable(const MeasureLosses& lost);
    [[nodiscard]] bool summarise(const MeasureLosses& lost);
    void summariseAsJson(const MeasureLosses& lost);
    [[nodiscard]] bool showsTable() const;
    [[nodiscard]] bool needsReader() const;
    [[nodiscard]] bool readerGone() const;
    [[nodiscard]] bool isHopeless() const;
    [[nodiscard]] std::vector<std::string> silent() const;
    [[nodiscard]] MeasureLosses losses() const;
    [[nodiscard]] std::vector<LiveRow> rows() const;
    [[nodiscard]] double elapsed() const;

    const Config& m_config;
    const MeasureSelection m_selection;
    const MeasureOptions& m_options;
    MeasureClock m_clock;
    MeasureQueue m_queue;
    std::vector<std::unique_ptr<Station>> m_stations;  ///< by index of the selection
    std::atomic<std::uint64_t> m_discards{0};          ///< that the library's log tells
    std::unique_ptr<MeasureCsv> m_csv;
    JsonLines m_json;
    LiveTable m_table;
    std::chrono::steady_clock::time_point m_started{};
    std::optional<std::chrono::steady_clock::time_point> m_ended{};
    double m_end = std::numeric_limits<double>::infinity();  ///< values of later times are not written
    std::chrono::steady_clock::time_point m_told{};          ///< when the table was drawn or losses were told
    std::uint64_t m_toldLosses = 0;
    Link m_link;  ///< last, so that nothing is called on what is gone
};

}  // namespace host
