#include "host/MemoryLink.h"

#include "host/MemoryPlan.h"
#include "host/PassingLine.h"
#include "host/Progress.h"

#include <algorithm>

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

/// An ECU that was reset answers again when it has started.
constexpr std::chrono::seconds kStartPatience{10};

/// The library's results for memory that came in part, and for none at all.
constexpr std::uint32_t kUploadIncomplete = 34;
constexpr std::uint32_t kReadIncomplete = 31;

}  // namespace

MemoryLink::MemoryLink(const Config& config, std::size_t ecu, const LinkOptions& options, MemoryPrint& print)
    : m_config(config),
      m_ecu(ecu),
      m_print(print),
      m_link(config, {ecu}, options, [this](const ValueDelivery& delivery) { take(delivery); }) {
    m_link.connect();
}

std::vector<mcMemoryData> MemoryLink::upload(mcMemOperType type) {
    const std::vector<MemoryPart> parts = partsReached(ecu(), type);
    const Operation operation{command::kUpload, "upload", "read", bytesIn(parts)};
    std::vector<mcMemoryData> found = counted(operation, [&] { UploadFromEcuMem(ecu().name, type); }).data;
    const bool whole = std::equal(found.begin(), found.end(), parts.begin(), parts.end(),
                                  [](const mcMemoryData& data, const MemoryPart& part) {
                                      return data.address == part.address && data.data.size() == part.size;
                                  });
    if (!whole) {
        throw m_link.failure(m_ecu, "upload", kUploadIncomplete);
    }
    return found;
}

void MemoryLink::erase() {
    const Operation operation{command::kErase, "erase", "erased", bytesIn(partsReached(ecu(), mcMemCode))};
    const Clock::time_point begin = Clock::now();
    const MemoryResult result = uncounted(operation, [&] { EarseEcu(ecu().name, mcMemCode); });
    m_changed = true;
    tell(operation, begin, result);
    reconnect();
}

void MemoryLink::program(const std::list<mem_buf>& image) {
    const Operation operation{command::kDownload, "program", "programmed", host::bytesIn(image)};
    static_cast<void>(counted(operation, [&] { DownToEcuMem(ecu().name, mcMemCode, image); }));
    reconnect();
}

std::vector<mcMemoryData> MemoryLink::check(const std::list<mem_buf>& image, mcMemOperType type) {
    const Operation operation{command::kCheck, "check", "checked", host::bytesIn(image)};
    return uncounted(operation, [&] { CheckEcuMemory(ecu().name, image, type); }).data;
}

std::vector<std::uint8_t> MemoryLink::read(std::size_t segment, std::uint32_t address, std::uint32_t size) {
    mcMeasureVariable variable;
    variable.name = "memory";
    variable.address = address;
    variable.addressExtension = ecu().segments[segment].extension;
    variable.size = size;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_read.clear();
    }
    static_cast<void>(
        m_link.run(m_ecu, command::kMeasureVariables, "read", [&] { MeasureVars(ecu().name, {variable}); }));
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_read.size() != size) {
        throw m_link.failure(m_ecu, "read", kReadIncomplete);
    }
    return m_read;
}

void MemoryLink::selectPage(bool working) {
    static_cast<void>(m_link.run(m_ecu, command::kSetPage, "page", [&] { SetCalPage(ecu().name, working); }));
}

MemoryResult MemoryLink::counted(const Operation& operation, const std::function<void()>& order) {
    const Clock::time_point begin = Clock::now();
    MemoryResult result;
    {
        Progress progress(m_print.messages(), ecu().name + ": " + operation.what, operation.bytes);
        result = m_link.runMemory(m_ecu, operation.command, operation.what, order,
                                  [&progress](std::uint32_t percent) { progress.show(percent); });
    }
    tell(operation, begin, result);
    return result;
}

MemoryResult MemoryLink::uncounted(const Operation& operation, const std::function<void()>& order) {
    const PassingLine line(m_print.messages(), ecu().name + ": " + operation.what + " ...");
    return m_link.runMemory(m_ecu, operation.command, operation.what, order, [](std::uint32_t) {});
}

void MemoryLink::tell(const Operation& operation, std::chrono::steady_clock::time_point begin,
                      const MemoryResult& result) {
    const std::chrono::duration<double> elapsed = result.when - begin;
    m_print.transfer({operation.done, operation.bytes, elapsed.count()});
}

void MemoryLink::take(const ValueDelivery& delivery) {
    if (delivery.kind == ValueKind::read && !delivery.values.empty()) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_read = delivery.values.front().data;
    }
}

/// PROGRAM_RESET ends a session of XCP, and the library does not tell. CONNECT is right either way.
void MemoryLink::reconnect() {
    const Clock::time_point end = Clock::now() + kStartPatience;
    bool connected = ecu().ccp;
    while (!connected) {
        try {
            m_link.connect();
            connected = true;
        } catch (const HostError& error) {
            if (error.code() != ExitCode::noAnswer || Clock::now() >= end) {
                throw;
            }
        }
    }
}

}  // namespace host
