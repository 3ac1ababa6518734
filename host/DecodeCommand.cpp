#include "host/DecodeCommand.h"

#include "host/Config.h"
#include "host/DecodePrint.h"
#include "host/DecodeStats.h"
#include "host/HostError.h"
#include "host/Interrupt.h"
#include "host/LineReader.h"
#include "host/Output.h"
#include "host/RunCommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>

namespace host {
namespace {

constexpr const char* kDefaultConfig = "examples/demo.toml";

/// Complaints about single lines; a file that is no log at all would bring one for each of its lines.
constexpr std::uint64_t kMostComplaints = 20;

/// No sum of differences goes further, up or down: together with one more it fits into 64 bits, and so do the
/// differences of two sums.
constexpr std::int64_t kMostTimeUs = 4'000'000'000'000'000'000;

/// @throws ConfigError
std::vector<IdPair> configuredPairs(const DecodeOptions& options) {
    if (options.config) {
        return idPairs(loadConfig(*options.config));
    }
    try {
        return idPairs(loadConfig(kDefaultConfig));
    } catch (const ConfigError& error) {
        throw IdPairError(
            fmt::format("no ECU to look for: give its identifiers by --xcp or --ccp, or a "
                        "configuration by --config ({})",
                        error.what()));
    }
}

std::vector<IdPair> allPairs(const DecodeOptions& options) {
    std::vector<IdPair> pairs;
    for (const std::string& text : options.xcpPairs) {
        pairs.push_back(parseIdPair(Protocol::xcp, text));
    }
    for (const std::string& text : options.ccpPairs) {
        pairs.push_back(parseIdPair(Protocol::ccp, text));
    }
    if (options.config || pairs.empty()) {
        const std::vector<IdPair> configured = configuredPairs(options);
        pairs.insert(pairs.end(), configured.begin(), configured.end());
    }
    return distinct(pairs);
}

/// One run over a log.
class DecodeRun {
public:
    /// @param pairs  without two that share an identifier
    DecodeRun(const DecodeOptions& options, std::vector<IdPair> pairs)
        : m_options(options),
          m_name(options.log == "-" ? "standard input" : options.log),
          m_reader(options.log),
          m_output(stdout, !options.noColour),
          m_decoder(std::move(pairs)) {}

    ExitCode run() {
        while (!m_output.broken()) {
            const auto line = m_reader.next();
            if (!line) {
                break;
            }
            takeLine(*line);
        }
        return finish();
    }

private:
    void takeLine(std::string_view line) {
        try {
            if (std::optional<LoggedFrame> frame = readCandumpLine(line)) {
                takeFrame(*frame);
            }
        } catch (const CandumpError& error) {
            ++m_summary.malformed;
            if (m_summary.malformed <= kMostComplaints) {
                complain(fmt::format("{}:{}: {}", m_name, m_reader.count(), error.what()));
            }
        }
    }

    void takeFrame(LoggedFrame& frame) {
        ++m_summary.frames;
        if (frame.timeUs) {
            setTime(frame);
        }
        const std::optional<DecodedFrame> decoded = m_decoder.decode(frame);
        if (!decoded) {
            return;
        }
        ++m_summary.ours;
        const IdPair& pair = m_decoder.pairs()[decoded->pair];
        if (m_options.stats) {
            m_stats.take(frame, *decoded, pair);
        } else if (m_options.json) {
            m_output.line(frameJson(frame, *decoded, pair));
        } else {
            m_output.line(frameText(m_output, frame, *decoded));
        }
    }

    /// Makes a time of a difference, if that is what the log holds. Logs of several interfaces may be merged
    /// with a jitter; on one interface time does not go back.
    void setTime(LoggedFrame& frame) {
        if (m_options.timeDeltas) {
            m_timeUs = std::clamp(m_timeUs, -kMostTimeUs, kMostTimeUs) + *frame.timeUs;
            frame.timeUs = m_timeUs;
            return;
        }
        const auto [last, first] = m_lastUs.try_emplace(frame.interface, *frame.timeUs);
        if (*frame.timeUs < last->second && !m_wentBack) {
            m_wentBack = true;
            complain(fmt::format(
                "{}:{}: the time goes back, so response times are not right; a log of differences "
                "(candump -td) needs --delta",
                m_name, m_reader.count()));
        }
        last->second = *frame.timeUs;
    }

    ExitCode finish() {
        m_summary.lines = m_reader.count();
        if (m_options.stats) {
            for (const std::string& line : m_options.json ? statsJson(m_stats) : statsLines(m_stats)) {
                m_output.line(line);
            }
        }
        if (m_options.json) {
            m_output.line(summaryJson(m_summary));
        }
        if (m_summary.malformed > kMostComplaints) {
            complain(
                fmt::format("{}: {} more lines like these", m_name, m_summary.malformed - kMostComplaints));
        }
        if (!m_reader.failure().empty()) {
            complain(fmt::format("{}: cannot be read: {}", m_name, m_reader.failure()));
        }
        complain(
            fmt::format("{}: {} lines, {} frames, {} of them decoded, {} of others, {} lines not understood",
                        m_name, m_summary.lines, m_summary.frames, m_summary.ours,
                        m_summary.frames - m_summary.ours, m_summary.malformed));
        return exitCode();
    }

    [[nodiscard]] ExitCode exitCode() const {
        if (interrupted()) {
            return ExitCode::interrupted;
        }
        const bool whole = m_summary.malformed == 0 && m_reader.failure().empty();
        return whole ? ExitCode::done : ExitCode::failed;
    }

    void complain(const std::string& text) { m_messages.line("talvex: " + text); }

    const DecodeOptions& m_options;
    const std::string m_name;
    LineReader m_reader;
    Output m_output;
    Output m_messages{stderr, false};
    FrameDecoder m_decoder;
    DecodeStats m_stats;
    DecodeSummary m_summary;
    std::int64_t m_timeUs = 0;                     ///< sum of the differences
    std::map<std::string, std::int64_t> m_lastUs;  ///< time of the last frame, by interface
    bool m_wentBack = false;                       ///< has been complained about
};

ExitCode decode(const DecodeOptions& options) {
    try {
        return DecodeRun(options, allPairs(options)).run();
    } catch (const IdPairError& error) {
        throw HostError(error.what(), ExitCode::usage);
    }
}

}  // namespace

ExitCode runDecode(const DecodeOptions& options) {
    return runCommand("decode", options.json, [&] { return decode(options); });
}

}  // namespace host
