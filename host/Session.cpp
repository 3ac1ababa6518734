#include "host/Session.h"

#include <algorithm>
#include <shared_mutex>
#include <stdexcept>
#include <utility>

namespace host {
namespace {

constexpr std::uint32_t kWarning = 3;
constexpr std::size_t kMostComplaints = 20;

/// The way from the library's plain functions to the session, if there is one. Held shared while a callback
/// runs, so that a session ends only between callbacks. Ahead of all other locks of the host.
struct Gate {
    std::shared_mutex mutex;
    Session* session = nullptr;
};

Gate& gate() {
    // Never destroyed: the library's threads may outlive the statics of the program.
    static Gate* const kGate = new Gate;
    return *kGate;
}

}  // namespace

/// The functions that the library calls.
struct SessionCallbacks {
    static std::uint32_t send(std::uint8_t channel, std::uint32_t id, std::uint8_t flags, std::uint8_t length,
                              const std::uint8_t* data) {
        with([&](Session& session) { session.m_handlers.send({channel, id, flags, length, data}); });
        return 0;
    }

    static void values(const std::string& ecuName, std::int32_t kind,
                       const std::vector<mcMeasureVariableValue>& values,
                       const std::vector<std::string>& rejected) {
        with([&](Session& session) {
            session.m_handlers.values({ecuName, static_cast<ValueKind>(kind), values, rejected});
        });
    }

    static void decoded(std::uint64_t, mcDecodeMsg message) {
        const std::string title = std::move(message.name);
        with([&](Session& session) { session.onDecoded(title); });
    }

    static void result(std::uint32_t command, std::uint8_t code, const std::vector<std::string>* details) {
        TaskResult result{command, code, {}, std::chrono::steady_clock::now()};
        if (details != nullptr) {
            result.details = *details;
        }
        with([&](Session& session) { session.onResult(std::move(result)); });
    }

    static void memory(std::uint32_t command, std::uint32_t code, std::vector<mcMemoryData> data) {
        MemoryResult result{command, code, std::move(data), std::chrono::steady_clock::now()};
        with([&](Session& session) { session.onMemory(std::move(result)); });
    }

    static void plan(const EcuProtoCfg* cfg, const DaqFinishedNames* plan) {
        with([&](Session& session) { session.onPlan(*cfg, *plan); });
    }

    template <bool ccp>
    static SeedKeyFun seedLibrary(const char* path, const char*) {
        SeedKeyFun function;
        with([&](Session& session) { function = session.m_handlers.loadSeedKey(path, ccp); });
        return function;
    }

    static void log(std::uint32_t level, std::uint64_t, const std::string& text) {
        with([&](Session& session) { session.onLog(level, text); });
    }

private:
    template <class Call>
    static void with(Call call) {
        const std::shared_lock<std::shared_mutex> lock(gate().mutex);
        if (gate().session != nullptr) {
            call(*gate().session);
        }
    }
};

Session::Session(SessionHandlers handlers) : m_handlers(std::move(handlers)) {
    {
        const std::unique_lock<std::shared_mutex> lock(gate().mutex);
        if (gate().session != nullptr) {
            throw std::logic_error("there is a session already");
        }
        gate().session = this;
    }
    CallBackFuns callbacks;
    callbacks.sndFun = &SessionCallbacks::send;
    callbacks.measureFun = &SessionCallbacks::values;
    callbacks.msgDecodeFun = &SessionCallbacks::decoded;
    callbacks.taskResultFun = &SessionCallbacks::result;
    callbacks.daqInfoFun = &SessionCallbacks::plan;
    callbacks.memResultFun = &SessionCallbacks::memory;
    callbacks.xcpSeedLibFun = &SessionCallbacks::seedLibrary<false>;
    callbacks.ccpSeedLibFun = &SessionCallbacks::seedLibrary<true>;
    setLogBackFuns(&SessionCallbacks::log);
    setCallBackFuns(callbacks);
}

Session::~Session() {
    const std::unique_lock<std::shared_mutex> lock(gate().mutex);
    gate().session = nullptr;
}

std::optional<TaskResult> Session::takeResult(std::uint32_t command) {
    const auto found = std::find_if(m_results.begin(), m_results.end(), [command](const TaskResult& result) {
        return result.command == command;
    });
    if (found == m_results.end()) {
        return std::nullopt;
    }
    TaskResult result = std::move(*found);
    m_results.erase(found);
    return result;
}

std::optional<TaskResult> Session::waitResult(std::uint32_t command, std::chrono::milliseconds timeout,
                                              const std::function<bool()>& giveUp) {
    constexpr std::chrono::milliseconds kSlice(50);
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const bool last = giveUp() || std::chrono::steady_clock::now() >= deadline;
        std::unique_lock<std::mutex> lock(m_mutex);
        std::optional<TaskResult> result = takeResult(command);
        if (!result && !last) {
            m_changed.wait_for(lock, kSlice);
            result = takeResult(command);
        }
        if (result || last) {
            return result;
        }
    }
}

void Session::beginMemoryOperation() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_memoryResults.clear();
    m_progress = {};
}

std::optional<MemoryResult> Session::takeMemoryResult(std::uint32_t command) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found =
        std::find_if(m_memoryResults.begin(), m_memoryResults.end(),
                     [command](const MemoryResult& result) { return result.command == command; });
    if (found == m_memoryResults.end()) {
        return std::nullopt;
    }
    MemoryResult result = std::move(*found);
    m_memoryResults.erase(found);
    return result;
}

MemoryProgress Session::progress() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_progress;
}

std::map<std::string, DaqFinishedNames> Session::plans() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_plans;
}

DecodeCounts Session::decoded() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_decoded;
}

std::vector<LogLine> Session::complaints() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return {m_complaints.begin(), m_complaints.end()};
}

void Session::onResult(TaskResult result) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_results.push_back(std::move(result));
    m_changed.notify_all();
}

void Session::onMemory(MemoryResult result) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (result.command == command::kUploadPercent || result.command == command::kDownloadPercent) {
        ++m_progress.reports;
        m_progress.percent = std::max(m_progress.percent, result.code);
    } else {
        m_memoryResults.push_back(std::move(result));
    }
}

void Session::onPlan(const EcuProtoCfg& cfg, const DaqFinishedNames& plan) {
    if (m_handlers.plan) {
        m_handlers.plan(cfg);
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_plans[cfg.ecuName] = plan;
}

void Session::onDecoded(const std::string& title) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (title.rfind("CTO ", 0) == 0) {
        ++m_decoded.commands;
    } else if (title.rfind("RES ", 0) == 0) {
        ++m_decoded.responses;
    } else {
        ++m_decoded.events;
    }
}

void Session::onLog(std::uint32_t level, const std::string& text) {
    if (m_handlers.log) {
        m_handlers.log(level, text);
    }
    if (level < kWarning) {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_complaints.push_back({level, text});
    if (m_complaints.size() > kMostComplaints) {
        m_complaints.pop_front();
    }
}

}  // namespace host
