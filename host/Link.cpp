#include "host/Link.h"

#include "host/Config.h"
#include "host/EcuSetup.h"
#include "host/Interrupt.h"
#include "host/LostOutput.h"
#include "host/SeedKeyLoader.h"

#include <TalvexSDK.h>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <list>
#include <system_error>
#include <utility>

namespace host {
namespace {

using std::chrono::milliseconds;

/// The library ends every operation by itself; this is for a library that does not. Counted from the last
/// progress that it told.
constexpr std::chrono::hours kPatience{1};

/// Of no account: what ends a wait is asked for while it lasts.
constexpr std::chrono::hours kForEver{24 * 365};

/// What is stopped ends within the time of one command.
constexpr milliseconds kStopPatience{10'000};

/// Level of errors in the library's log.
constexpr std::uint32_t kError = 4;

/// Result codes of the library that need no answer of an ECU to be understood.
struct CodeHint {
    std::uint32_t code;
    ExitCode exit;
    const char* text;
};

constexpr std::array<CodeHint, 4> kHints{{
    {2, ExitCode::configuration, "the library knows no ECU of that name"},
    {8, ExitCode::locked, "the ECU was not unlocked; look at `security` of the configuration"},
    {10, ExitCode::locked,
     "the seed and key library cannot be used; look at `security.seed_key` of the configuration"},
    {72, ExitCode::refused, "the command for this is not among `commands` of the configuration"},
}};

std::vector<std::string> namesOf(const Config& config) {
    std::vector<std::string> names;
    std::transform(config.ecus.begin(), config.ecus.end(), std::back_inserter(names),
                   [](const EcuRecord& ecu) { return ecu.name; });
    return names;
}

bool isChosen(const std::vector<std::string>& names, const EcuRecord& ecu) {
    return names.empty() || std::find(names.begin(), names.end(), ecu.name) != names.end();
}

/// What the library gets for the path of an ECU's seed and key library: it tells nothing else when it asks
/// for it, and ECUs may share a library and yet differ in how it is called.
std::string seedKeyName(const EcuRecord& ecu) {
    return ecu.security.seedKey.empty() ? "" : ecu.name + ": " + ecu.security.seedKey;
}

template <class File, class... More>
std::unique_ptr<File> openIfNamed(const std::string& path, More... more) {
    try {
        return path.empty() ? nullptr : std::make_unique<File>(path, more...);
    } catch (const std::system_error& error) {
        throw HostError(error.what());
    }
}

}  // namespace

Config loadConfigFor(const LinkOptions& options) {
    Config config = loadConfig(options.config);
    overrideUrls(config, options.buses);
    return config;
}

std::vector<std::size_t> chosenEcus(const Config& config, const LinkOptions& options) {
    const std::vector<std::string> known = namesOf(config);
    for (const std::string& name : options.ecus) {
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            throw HostError(fmt::format("--ecu: {} has no ECU \"{}\"; it has {}", config.file, name,
                                        fmt::join(known, ", ")),
                            ExitCode::usage);
        }
    }
    std::vector<std::size_t> chosen;
    for (std::size_t i = 0; i < config.ecus.size(); ++i) {
        if (isChosen(options.ecus, config.ecus[i])) {
            chosen.push_back(i);
        }
    }
    return chosen;
}

std::size_t chosenEcu(const Config& config, const LinkOptions& options) {
    const std::vector<std::size_t> chosen = chosenEcus(config, options);
    if (chosen.size() != 1) {
        throw HostError(
            fmt::format("this works on one ECU; say which with --ecu: {}", fmt::join(namesOf(config), ", ")),
            ExitCode::usage);
    }
    return chosen.front();
}

Link::Link(const Config& config, std::vector<std::size_t> ecus, const LinkOptions& options,
           ValueTaker takeValues, FrameWatcher watchFrames, LinkTaps taps)
    : m_config(config),
      m_ecus(std::move(ecus)),
      m_taps(std::move(taps)),
      m_tracePath(options.trace),
      m_logPath(options.log),
      m_answers(config, m_ecus),
      m_seedKeys(std::make_shared<SeedKeyReports>([this](const std::string& text) { log(kError, text); })),
      m_trace(openIfNamed<CandumpWriter>(options.trace, options.append)),
      m_log(openIfNamed<LogFile>(options.log, options.logLevel, options.append)) {
    const auto watch = [this, watchFrames = std::move(watchFrames)](std::size_t bus, const BusFrame& frame) {
        m_answers.take(bus, frame);
        if (watchFrames) {
            watchFrames(bus, frame);
        }
    };
    m_buses = std::make_unique<BusSet>(config, m_ecus, m_trace.get(), watch);
    m_session = std::make_unique<Session>(handlers(std::move(takeValues)));
}

Link::~Link() {
    disconnect();
    m_seedKeys->close();
    closeFiles();
}

void Link::closeFiles() {
    if (m_trace && !m_trace->close()) {
        noteLostFile(m_tracePath);
    }
    if (m_log && !m_log->close()) {
        noteLostFile(m_logPath);
    }
}

SessionHandlers Link::handlers(ValueTaker takeValues) {
    SessionHandlers handlers;
    handlers.send = [this](const OutgoingFrame& frame) { m_buses->send(frame); };
    handlers.values = takeValues ? std::move(takeValues) : [](const ValueDelivery&) {};
    handlers.loadSeedKey = [this](const std::string& key, bool) { return loadSeedKeyOf(key); };
    handlers.log = [this](std::uint32_t level, const std::string& text) { log(level, text); };
    handlers.plan = m_taps.plan;
    return handlers;
}

/// @param key  what `seedKeyName` gave the library
SeedKeyFun Link::loadSeedKeyOf(const std::string& key) {
    const auto found = std::find_if(m_ecus.begin(), m_ecus.end(),
                                    [&](std::size_t ecu) { return seedKeyName(m_config.ecus[ecu]) == key; });
    if (found == m_ecus.end()) {
        return {};
    }
    const EcuRecord& ecu = m_config.ecus[*found];
    const SecurityRecord& security = ecu.security;
    const SeedKeySource source{security.seedKey,
                               security.entry,
                               ecu.ccp,
                               security.zeroIsSuccess,
                               security.timeMs,
                               security.helper,
                               [reports = m_seedKeys] { return interrupted() || reports->closed(); }};
    return loadSeedKey(source, [reports = m_seedKeys, number = *found](const std::string& text) {
        reports->take(number, text);
    });
}

/// From now on what goes wrong with that ECU belongs to the operation at hand.
void Link::begin(std::size_t ecu) {
    m_answers.begin(ecu);
    m_seedKeys->clear(ecu);
}

void Link::log(std::uint32_t level, const std::string& text) {
    if (m_log) {
        m_log->write(level, text);
    }
    if (m_taps.log) {
        m_taps.log(level, text);
    }
}

void Link::connect() {
    std::list<EcuProtoCfg> records;
    std::vector<std::string> names;
    for (const std::size_t ecu : m_ecus) {
        const EcuRecord& record = m_config.ecus[ecu];
        records.push_back(protoCfg(record, m_config.buses[record.bus]));
        records.back().seedkey_path = seedKeyName(record);
        names.push_back(record.name);
        begin(ecu);
    }
    setProtoCfgs(records);
    EcuConnect(names);
    const TaskResult result = await(command::kConnect, "connect", [] {});
    if (result.code == 0) {
        return;
    }
    throw failure(blamed(), "connect", result.code);
}

/// The first ECU whose seed and key library failed, else the first whose answers tell of a failure.
std::size_t Link::blamed() const {
    auto failed = std::find_if(m_ecus.begin(), m_ecus.end(),
                               [this](std::size_t ecu) { return !m_seedKeys->of(ecu).empty(); });
    if (failed == m_ecus.end()) {
        failed = std::find_if(m_ecus.begin(), m_ecus.end(),
                              [this](std::size_t ecu) { return !m_answers.verdict(ecu).text.empty(); });
    }
    return failed != m_ecus.end() ? *failed : m_ecus.front();
}

void Link::disconnect() {
    if (isConnectEcu()) {
        EcuDisconnect();
        // Also after an interrupt: the wait is for what has been asked for just now.
        static_cast<void>(m_session->waitResult(command::kDisconnect, kStopPatience, [] { return false; }));
    }
}

TaskResult Link::run(std::size_t ecu, std::uint32_t command, const std::string& what,
                     const std::function<void()>& order) {
    begin(ecu);
    order();
    TaskResult result = await(command, what, [] {});
    if (result.code != 0) {
        throw failure(ecu, what, result.code);
    }
    return result;
}

void Link::startMeasurement(const std::function<void()>& order) {
    const std::string what = "start of the measurement";
    for (const std::size_t ecu : m_ecus) {
        m_answers.beginStart(ecu);
        m_seedKeys->clear(ecu);
    }
    order();
    const TaskResult result = await(command::kStartMeasurement, what, [] {});
    if (result.code != 0) {
        throw failure(blamed(), what, result.code);
    }
    for (const std::size_t ecu : m_ecus) {
        if (const std::optional<HostError> refused = objection(ecu, what)) {
            throw HostError(*refused);
        }
    }
}

/// Behind each memory operation the library puts the calibration page back and reports that as well.
MemoryResult Link::runMemory(std::size_t ecu, std::uint32_t command, const std::string& what,
                             const std::function<void()>& order,
                             const std::function<void(std::uint32_t percent)>& onPercent) {
    begin(ecu);
    m_session->beginMemoryOperation();
    order();
    static_cast<void>(await(command::kSetPage, what, [&] {
        if (const MemoryProgress progress = m_session->progress(); progress.reports > 0) {
            onPercent(progress.percent);
        }
    }));
    std::optional<MemoryResult> result = m_session->takeMemoryResult(command);
    if (!result) {
        throw HostError(fmt::format("{}: {}: the library gave no result", m_config.ecus[ecu].name, what));
    }
    const AnswerVerdict verdict = m_answers.memoryVerdict(ecu);
    if (result->code != 0 || !verdict.text.empty()) {
        requireBuses();
    }
    if (result->code != 0) {
        throw verdict.text.empty() ? failure(ecu, what, result->code)
                                   : failureBy(verdict, ecu, what, result->code);
    }
    if (!verdict.text.empty()) {
        throw HostError(fmt::format("{}: {}: {}", m_config.ecus[ecu].name, what, verdict.text), verdict.code);
    }
    onPercent(100);
    return std::move(*result);
}

TaskResult Link::await(std::uint32_t command, const std::string& what,
                       const std::function<void()>& meanwhile) {
    using Clock = std::chrono::steady_clock;
    Clock::time_point moved = Clock::now();
    std::uint32_t reports = m_session->progress().reports;
    std::optional<TaskResult> result = m_session->waitResult(command, kForEver, [&] {
        meanwhile();
        if (const std::uint32_t now = m_session->progress().reports; now != reports) {
            reports = now;
            moved = Clock::now();
        }
        return interrupted() || !m_buses->failure().empty() || Clock::now() - moved > kPatience;
    });
    if (!result) {
        stop(command);
    }
    if (!result || result->code != 0) {
        requireGoOn(what);
    }
    if (!result) {
        throw HostError(what + ": the library gave no result");
    }
    return std::move(*result);
}

/// Ends the operation at hand. The library finishes the command that it is in, and no more.
void Link::stop(std::uint32_t command) {
    m_seedKeys->close();
    stopAllTask();
    static_cast<void>(m_session->waitResult(command, kStopPatience, [] { return false; }));
}

/// What failed behind an interrupt or on a bus that is down failed because of that.
void Link::requireGoOn(const std::string& what) const {
    requireBuses();
    if (interrupted()) {
        throw HostError(what + ": interrupted; what was open is closed", ExitCode::interrupted);
    }
}

void Link::requireBuses() const {
    if (const std::string text = m_buses->failure(); !text.empty()) {
        throw HostError(text, ExitCode::bus);
    }
}

/// The seed and key library first, then what the ECU answered, then what the library's code says.
HostError Link::failure(std::size_t ecu, const std::string& what, std::uint32_t code) const {
    return failureBy(m_answers.verdict(ecu), ecu, what, code);
}

std::optional<HostError> Link::objection(std::size_t ecu, const std::string& what) const {
    const AnswerVerdict verdict = m_answers.memoryVerdict(ecu);
    if (verdict.text.empty()) {
        return std::nullopt;
    }
    return HostError(fmt::format("{}: {}: {}", m_config.ecus[ecu].name, what, verdict.text), verdict.code);
}

HostError Link::failureBy(const AnswerVerdict& verdict, std::size_t ecu, const std::string& what,
                          std::uint32_t code) const {
    const std::string head = fmt::format("{}: {}: ", m_config.ecus[ecu].name, what);
    const std::string result = fmt::format("result {}", code);
    if (const std::string text = m_seedKeys->of(ecu); !text.empty()) {
        return HostError(head + text + "; " + result, ExitCode::locked);
    }
    const auto* hint =
        std::find_if(kHints.begin(), kHints.end(), [code](const CodeHint& row) { return row.code == code; });
    if (!verdict.text.empty()) {
        return HostError(head + verdict.text + "; " + result,
                         hint != kHints.end() ? hint->exit : verdict.code);
    }
    // The library's own texts are in Chinese: better than nothing, and only that.
    return hint != kHints.end()
               ? HostError(head + hint->text + "; " + result, hint->exit)
               : HostError(head + result + ", " + getErrorString(static_cast<std::int32_t>(code)));
}

}  // namespace host
