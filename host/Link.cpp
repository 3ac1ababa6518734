#include "host/Link.h"

#include "host/Config.h"
#include "host/EcuSetup.h"
#include "host/Interrupt.h"
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

/// The library ends every operation by itself; this is for a library that does not.
constexpr milliseconds kPatience{3'600'000};

/// What is stopped ends within the time of one command.
constexpr milliseconds kStopPatience{10'000};

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
      m_answers(config, m_ecus),
      m_trace(openIfNamed<CandumpWriter>(options.trace)),
      m_log(openIfNamed<LogFile>(options.log, options.logLevel)) {
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
}

SessionHandlers Link::handlers(ValueTaker takeValues) {
    SessionHandlers handlers;
    handlers.send = [this](const OutgoingFrame& frame) { m_buses->send(frame); };
    handlers.values = takeValues ? std::move(takeValues) : [](const ValueDelivery&) {};
    handlers.loadSeedKey = [this](const std::string& path, bool ccp) { return loadSeedKeyOf(path, ccp); };
    handlers.log = [this](std::uint32_t level, const std::string& text) { log(level, text); };
    handlers.plan = m_taps.plan;
    return handlers;
}

/// The library tells the path and no ECU; all ECUs of a protocol that name one path share what is set for it.
SeedKeyFun Link::loadSeedKeyOf(const std::string& path, bool ccp) {
    const auto found = std::find_if(m_ecus.begin(), m_ecus.end(), [&](std::size_t ecu) {
        return m_config.ecus[ecu].ccp == ccp && m_config.ecus[ecu].security.seedKey == path;
    });
    if (found == m_ecus.end()) {
        return {};
    }
    const SecurityRecord& security = m_config.ecus[*found].security;
    return loadSeedKey({path, security.entry, ccp, security.zeroIsSuccess, security.timeMs, security.helper},
                       [this](const std::string& text) { complainOfSeedKey(text); });
}

void Link::complainOfSeedKey(const std::string& text) {
    constexpr std::uint32_t kError = 4;
    log(kError, text);
    const std::lock_guard<std::mutex> lock(m_seedKeyMutex);
    m_seedKeyComplaint = text;
}

std::string Link::seedKeyComplaint() const {
    const std::lock_guard<std::mutex> lock(m_seedKeyMutex);
    return m_seedKeyComplaint;
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
        names.push_back(record.name);
        m_answers.begin(ecu);
    }
    setProtoCfgs(records);
    EcuConnect(names);
    const TaskResult result = await(command::kConnect, "connect", [] {});
    if (result.code == 0) {
        return;
    }
    const auto failed = std::find_if(m_ecus.begin(), m_ecus.end(), [this](std::size_t ecu) {
        return !m_answers.verdict(ecu).text.empty();
    });
    throw failure(failed != m_ecus.end() ? *failed : m_ecus.front(), "connect", result.code);
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
    m_answers.begin(ecu);
    order();
    TaskResult result = await(command, what, [] {});
    if (result.code != 0) {
        throw failure(ecu, what, result.code);
    }
    return result;
}

/// Behind each memory operation the library puts the calibration page back and reports that as well.
MemoryResult Link::runMemory(std::size_t ecu, std::uint32_t command, const std::string& what,
                             const std::function<void()>& order,
                             const std::function<void(std::uint32_t percent)>& onPercent) {
    m_answers.begin(ecu);
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
    std::optional<TaskResult> result = m_session->waitResult(command, kPatience, [&] {
        meanwhile();
        return interrupted() || !m_buses->failure().empty();
    });
    if (!result) {
        giveUp(command, what);
    }
    return std::move(*result);
}

/// Ends the operation at hand. The library finishes the command that it is in, and no more.
void Link::giveUp(std::uint32_t command, const std::string& what) {
    stopAllTask();
    static_cast<void>(m_session->waitResult(command, kStopPatience, [] { return false; }));
    requireBuses();
    if (interrupted()) {
        throw HostError(what + ": interrupted; what was open is closed", ExitCode::interrupted);
    }
    throw HostError(what + ": the library gave no result");
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
    const std::string result =
        fmt::format("result {}, {}", code, getErrorString(static_cast<std::int32_t>(code)));
    if (const std::string text = seedKeyComplaint(); !text.empty()) {
        return HostError(head + text + "; " + result, ExitCode::locked);
    }
    const auto* hint =
        std::find_if(kHints.begin(), kHints.end(), [code](const CodeHint& row) { return row.code == code; });
    if (!verdict.text.empty()) {
        return HostError(head + verdict.text + "; " + result,
                         hint != kHints.end() ? hint->exit : verdict.code);
    }
    return hint != kHints.end() ? HostError(head + hint->text + "; " + result, hint->exit)
                                : HostError(head + result);
}

}  // namespace host
