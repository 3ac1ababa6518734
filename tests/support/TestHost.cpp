#include "tests/support/TestHost.h"

#include "tests/support/HexText.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace support {

namespace {

std::string listText(const std::vector<std::string>& entries) {
    std::string text;
    for (const std::string& entry : entries) {
        text += (text.empty() ? "" : ", ") + entry;
    }
    return std::string("[").append(text).append("]");
}

std::string valuesText(const std::vector<mcMeasureVariableValue>& values) {
    std::vector<std::string> shown;
    for (const mcMeasureVariableValue& value : values) {
        shown.push_back(value.name + "=" + hexText(value.data));
    }
    return listText(shown);
}

}  // namespace

std::atomic<TestHost*> TestHost::s_current = nullptr;

TestHost::TestHost() {
    s_current = this;
}

TestHost::~TestHost() {
    TestHost* self = this;
    s_current.compare_exchange_strong(self, nullptr);
}

CallBackFuns TestHost::callBacks() {
    CallBackFuns table;
    table.measureFun = takeMeasured;
    table.sndFun = takeSent;
    table.msgDecodeFun = takeDecoded;
    table.taskResultFun = takeTaskResult;
    table.memResultFun = takeMemResult;
    table.xcpSeedLibFun = loadXcpSeed;
    table.ccpSeedLibFun = loadCcpSeed;
    table.daqInfoFun = takePlan;
    table.logFuns = {takeLog};
    return table;
}

void TestHost::install() {
    setLogBackFuns(takeLog);
    setCallBackFuns(callBacks());
}

int TestHost::plug(std::function<void(const SentFrame&)> receiver) {
    const std::lock_guard lock(m_mutex);
    m_receivers.emplace_back(m_nextReceiver, std::move(receiver));
    return m_nextReceiver++;
}

void TestHost::unplug(int number) {
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_receivers, [number](const auto& receiver) { return receiver.first == number; });
}

void TestHost::setSeedFun(SeedKeyFun function) {
    const std::lock_guard lock(m_mutex);
    m_seedFun = std::move(function);
}

void TestHost::setSndResult(std::uint32_t result) {
    const std::lock_guard lock(m_mutex);
    m_sndResult = result;
}

void TestHost::onEvent(std::function<void(const std::string& entry)> hook) {
    const std::lock_guard lock(m_mutex);
    m_hook = std::move(hook);
}

std::vector<std::string> TestHost::logTexts(std::uint32_t level) const {
    std::vector<std::string> texts;
    for (const LogLine& line : logs()) {
        if (line.level == level) {
            texts.push_back(line.text);
        }
    }
    return texts;
}

void TestHost::clear() {
    const std::lock_guard lock(m_mutex);
    m_sent.clear();
    m_logs.clear();
    m_measured.clear();
    m_taskResults.clear();
    m_memResults.clear();
    m_decoded.clear();
    m_plans.clear();
    m_seedLoads.clear();
    m_journal.clear();
}

template <typename T>
void TestHost::record(std::vector<T>& records, T call, const std::string& entry) {
    std::function<void(const std::string&)> hook;
    {
        const std::lock_guard lock(m_mutex);
        records.push_back(std::move(call));
        if (!entry.empty()) {
            m_journal.push_back(entry);
        }
        hook = m_hook;
    }
    if (hook && !entry.empty()) {
        hook(entry);
    }
}

void TestHost::takeMeasured(const std::string& ecuName, std::int32_t kind,
                            const std::vector<mcMeasureVariableValue>& values,
                            const std::vector<std::string>& rejected) {
    if (TestHost* host = current()) {
        host->record(host->m_measured, {ecuName, kind, values, rejected},
                     "measure " + ecuName + " " + std::to_string(kind) + " " + valuesText(values) + " " +
                         listText(rejected));
    }
}

std::uint32_t TestHost::takeSent(std::uint8_t channel, std::uint32_t id, std::uint8_t flags,
                                 std::uint8_t length, const std::uint8_t* data) {
    TestHost* host = current();
    if (host == nullptr) {
        return 0;
    }
    const SentFrame frame{channel, id, flags, {data, data + length}, std::chrono::steady_clock::now()};
    host->record(host->m_sent, frame, "snd " + hexText(frame.data));
    for (const auto& [number, receiver] : host->copyOf(host->m_receivers)) {
        receiver(frame);
    }
    const std::lock_guard lock(host->m_mutex);
    return host->m_sndResult;
}

void TestHost::takeDecoded(std::uint64_t hostTag, mcDecodeMsg message) {
    if (TestHost* host = current()) {
        host->record(host->m_decoded, {hostTag, std::move(message)}, "");
    }
}

void TestHost::takeTaskResult(std::uint32_t command, std::uint8_t result,
                              const std::vector<std::string>* details) {
    if (TestHost* host = current()) {
        const std::vector<std::string> texts = details != nullptr ? *details : std::vector<std::string>{};
        host->record(host->m_taskResults, {command, result, texts},
                     "task " + std::to_string(command) + " " + std::to_string(result) +
                         (texts.empty() ? std::string() : std::string(" ").append(listText(texts))));
    }
}

void TestHost::takeMemResult(std::uint32_t command, std::uint32_t result, std::vector<mcMemoryData> data) {
    if (TestHost* host = current()) {
        const std::string ranges =
            data.empty() ? std::string() : std::string(" +").append(std::to_string(data.size()));
        host->record(host->m_memResults, {command, result, std::move(data)},
                     "mem " + std::to_string(command) + " " + std::to_string(result) + ranges);
    }
}

SeedKeyFun TestHost::loadXcpSeed(const char* path, const char* entry) {
    return loadSeed(true, path, entry);
}

SeedKeyFun TestHost::loadCcpSeed(const char* path, const char* entry) {
    return loadSeed(false, path, entry);
}

SeedKeyFun TestHost::loadSeed(bool xcp, const char* path, const char* entry) {
    TestHost* host = current();
    if (host == nullptr) {
        return {};
    }
    host->record(host->m_seedLoads, {xcp, path, entry}, std::string("seed ") + path + " " + entry);
    const std::lock_guard lock(host->m_mutex);
    return host->m_seedFun;
}

void TestHost::takePlan(const EcuProtoCfg* cfg, const DaqFinishedNames* plan) {
    if (TestHost* host = current()) {
        host->record(host->m_plans, {*cfg, *plan}, "plan " + cfg->ecuName);
    }
}

void TestHost::takeLog(std::uint32_t level, std::uint64_t timeMs, const std::string& text) {
    if (TestHost* host = current()) {
        host->record(host->m_logs, {level, timeMs, text},
                     level == 0 ? "" : "log " + std::to_string(level) + " " + text);
    }
}

bool waitFor(const std::function<bool()>& predicate, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!predicate()) {
        if (std::chrono::steady_clock::now() >= end) {
            return predicate();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace support
