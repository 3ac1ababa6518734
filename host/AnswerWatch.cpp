#include "host/AnswerWatch.h"

#include "host/BusTrace.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace host {
namespace {

constexpr std::uint8_t kXcpLocked = 0x25;   ///< ERR_ACCESS_LOCKED
constexpr std::uint8_t kCcpLocked = 0x35;   ///< access locked
constexpr std::uint8_t kXcpAnswers = 0xFE;  ///< first bytes of an XCP answer: this one and the next
constexpr std::uint8_t kCcpAnswer = 0xFF;

/// Commands that the library sends beside an operation on memory.
constexpr std::array<std::string_view, 5> kBesideMemory{"GET_STATUS", "GET_S_STATUS", "SELECT_CAL_PAGE",
                                                        "SET_CAL_PAGE", "SYNCH"};

/// Commands without which a measurement starts all the same: what the ECU does not tell stays as configured,
/// what a list does not take is polled. The others are those of polling and of the session.
constexpr std::array<std::string_view, 11> kBesideStart{
    "GET_STATUS",   "GET_S_STATUS",  "SYNCH",     "GET_DAQ_EVENT_INFO",
    "GET_DAQ_SIZE", "GET_DAQ_CLOCK", "WRITE_DAQ", "SHORT_UPLOAD",
    "SHORT_UP",     "SET_MTA",       "UPLOAD"};

/// Commands that go on with a block: the one ahead of them gets no answer of its own.
constexpr std::array<std::string_view, 2> kNext{"DOWNLOAD_NEXT", "PROGRAM_NEXT"};

bool isAmong(std::span<const std::string_view> names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Whether the frame is a command or an answer; measured data pass at little cost.
bool concerns(const IdPair& pair, const BusFrame& bus) {
    const sim::Frame& frame = bus.frame;
    if (frame.length == 0 || frame.extended != pair.extended) {
        return false;
    }
    const std::uint8_t first = frame.data[0];
    const std::uint8_t least = pair.protocol == Protocol::xcp ? kXcpAnswers : kCcpAnswer;
    return frame.id == pair.commandId || (frame.id == pair.responseId && first >= least);
}

}  // namespace

AnswerWatch::Station::Station(const EcuRecord& record, std::size_t number)
    : ecu(number), bus(record.bus), pair(idPair(record)), decoder({pair}), beside(kBesideMemory) {}

AnswerWatch::AnswerWatch(const Config& config, const std::vector<std::size_t>& ecus) {
    m_stations.reserve(ecus.size());
    for (const std::size_t ecu : ecus) {
        m_stations.emplace_back(config.ecus[ecu], ecu);
    }
}

void AnswerWatch::take(std::size_t bus, const BusFrame& frame) {
    for (Station& station : m_stations) {
        if (station.bus == bus && concerns(station.pair, frame)) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            follow(station, frame);
        }
    }
}

void AnswerWatch::follow(Station& station, const BusFrame& frame) {
    const std::optional<DecodedFrame> decoded =
        station.decoder.decode(loggedFrame(frame.frame, "", frame.timeUs));
    if (!decoded) {
        return;
    }
    if (decoded->kind == FrameKind::command) {
        followCommand(station, decoded->command);
    } else {
        followAnswer(station, *decoded);
    }
}

void AnswerWatch::followCommand(Station& station, const std::string& command) {
    const bool silent = !station.pending.empty() && station.pending != command && !isAmong(kNext, command) &&
                        !isAmong(station.beside, station.pending);
    if (silent) {
        station.doubt = Doubt{station.pending, silence(station)};
    }
    if (station.doubt && station.doubt->command != command) {
        station.first = station.first.text.empty() ? station.doubt->verdict : station.first;
        station.doubt.reset();
    }
    station.pending = command;
}

void AnswerWatch::followAnswer(Station& station, const DecodedFrame& answer) {
    station.pending.clear();
    if (answer.kind != FrameKind::error) {
        station.doubt.reset();
        return;
    }
    station.refused = answer.command;
    station.error = answer.status;
    station.errorText = answer.statusText;
    if (!answer.command.empty() && !isAmong(station.beside, answer.command)) {
        station.doubt = Doubt{answer.command, refusal(station)};
    }
}

void AnswerWatch::begin(std::size_t ecu) {
    begin(ecu, kBesideMemory);
}

void AnswerWatch::beginStart(std::size_t ecu) {
    begin(ecu, kBesideStart);
}

void AnswerWatch::begin(std::size_t ecu, std::span<const std::string_view> beside) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Station& station : m_stations) {
        if (station.ecu == ecu) {
            station.pending.clear();
            station.refused.clear();
            station.error.reset();
            station.doubt.reset();
            station.first = {};
            station.beside = beside;
        }
    }
}

const AnswerWatch::Station* AnswerWatch::find(std::size_t ecu) const {
    const auto found = std::find_if(m_stations.begin(), m_stations.end(),
                                    [ecu](const Station& station) { return station.ecu == ecu; });
    return found != m_stations.end() ? &*found : nullptr;
}

AnswerVerdict AnswerWatch::verdict(std::size_t ecu) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Station* station = find(ecu);
    if (station == nullptr) {
        return {};
    }
    if (!station->pending.empty()) {
        return silence(*station);
    }
    return station->error ? refusal(*station) : AnswerVerdict{};
}

AnswerVerdict AnswerWatch::memoryVerdict(std::size_t ecu) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Station* station = find(ecu);
    if (station == nullptr || !station->first.text.empty()) {
        return station == nullptr ? AnswerVerdict{} : station->first;
    }
    if (!station->pending.empty() && !isAmong(station->beside, station->pending)) {
        return silence(*station);
    }
    return station->doubt ? station->doubt->verdict : AnswerVerdict{};
}

/// The command at hand has no answer.
AnswerVerdict AnswerWatch::silence(const Station& station) {
    return {ExitCode::noAnswer,
            fmt::format("no answer to {} (sent with {}, awaited with {})", station.pending,
                        idText(station.pair.commandId, station.pair.extended),
                        idText(station.pair.responseId, station.pair.extended))};
}

/// The last error.
AnswerVerdict AnswerWatch::refusal(const Station& station) {
    const std::uint8_t locked = station.pair.protocol == Protocol::xcp ? kXcpLocked : kCcpLocked;
    return {*station.error == locked ? ExitCode::locked : ExitCode::refused,
            fmt::format("{} was answered with error 0x{:02X}, {}", station.refused, *station.error,
                        station.errorText)};
}

}  // namespace host
