#include "host/DemoMemory.h"

#include "host/ImageFile.h"
#include "host/RawValue.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <utility>

namespace host {
namespace {

/// COPY_CAL_PAGE of XCP. MOVE of CCP copies between addresses that the library leaves as they are, so a CCP
/// ECU gets the page by writing it.
constexpr std::uint8_t kCopyCalPage = 0xE4;

constexpr std::uint8_t kErased = 0xFF;

/// Bytes without a pattern that begin and end inside @p flash, so that its edges have to stay erased.
struct Image {
    std::uint32_t address = 0;
    std::vector<std::uint8_t> bytes;
};

Image makeImage(const MemoryPart& flash) {
    const std::uint32_t edge = std::min<std::uint32_t>(flash.size / 4, 64);
    Image image{flash.address + edge, std::vector<std::uint8_t>(flash.size - 2 * edge)};
    std::mt19937 pattern(flash.size);
    std::generate(image.bytes.begin(), image.bytes.end(),
                  [&] { return static_cast<std::uint8_t>(pattern()); });
    return image;
}

std::size_t sizeOf(const std::list<mem_buf>& blocks) {
    std::size_t size = 0;
    for (const mem_buf& block : blocks) {
        size += block.data.size();
    }
    return size;
}

}  // namespace

DemoMemory::DemoMemory(const EcuRecord& ecu, SimulatedStation& station, Session& session,
                       DemoJournal& journal)
    : m_ecu(ecu), m_station(station), m_session(session), m_journal(journal), m_proof(ecu) {}

bool DemoMemory::run() {
    const bool pages = m_ecu.firstSegment(SegmentKind::calibration) != nullptr;
    const bool flashed = m_ecu.firstSegment(SegmentKind::flash) != nullptr;
    if (pages && !(upload() && switchPages() && copyPage() && calibrate())) {
        return false;
    }
    if (flashed && !flash()) {
        return false;
    }
    if (pages || flashed) {
        say("proof", fmt::format("all {} bytes that do not move are right", m_proof.size()));
    }
    return true;
}

bool DemoMemory::take(const ValueDelivery& delivery) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_reading || delivery.kind != ValueKind::read || delivery.ecuName != m_ecu.name) {
        return false;
    }
    for (const mcMeasureVariableValue& value : delivery.values) {
        m_read[value.name] = value.data;
    }
    return true;
}

bool DemoMemory::upload() {
    begin();
    UploadFromEcuMem(m_ecu.name, mcMemDataReference | mcMemDataWorking);
    const std::optional<MemoryResult> result = finish(command::kUpload, "upload");
    if (!result) {
        return false;
    }
    requireProgress("upload");
    checkUpload(result->data);
    std::size_t size = 0;
    for (const mcMemoryData& range : result->data) {
        size += range.data.size();
    }
    say("upload",
        fmt::format("{} bytes of RAM and both calibration pages, {}", size, rateText(size, *result)));
    return prove("upload");
}

/// Holds the uploaded ranges against the memory; flash is not among them.
void DemoMemory::checkUpload(const std::vector<mcMemoryData>& found) {
    std::size_t next = 0;
    for (std::size_t i = 0; i < m_proof.count(); ++i) {
        const MemoryPart& part = m_proof.part(i);
        if (part.kind == PartKind::flash) {
            continue;
        }
        const bool there = next < found.size() && found[next].address == part.address;
        if (require(there, "upload", partName(part) + " did not come")) {
            const std::optional<std::string> difference = m_proof.difference(i, found[next].data);
            require(!difference, "upload", difference.value_or(""));
            ++next;
        }
    }
    require(next == found.size(), "upload", "more came than was asked for");
}

bool DemoMemory::switchPages() {
    if (!selectPage(PartKind::referencePage) || !readBack("pages", PartKind::referencePage) ||
        !selectPage(PartKind::workingPage) || !readBack("pages", PartKind::workingPage)) {
        return false;
    }
    say("pages", "switched to the reference page and back to the working page");
    return prove("pages");
}

bool DemoMemory::selectPage(PartKind page) {
    SetCalPage(m_ecu.name, page == PartKind::workingPage);
    const std::optional<TaskResult> result =
        m_journal.await(m_session, command::kSetPage, m_ecu.name + ": switch of the page");
    if (!result || result->code != 0) {
        return false;
    }
    const MemoryPart& part = m_proof.part(page);
    return require(m_station.worksOn(part), "pages", "the ECU does not work on the " + partName(part));
}

bool DemoMemory::copyPage() {
    const bool known = !m_ecu.ccp && m_ecu.knows(kCopyCalPage);
    if (known ? !copyByCommand() : !copyByWrites()) {
        return false;
    }
    const MemoryPart& working = m_proof.part(PartKind::workingPage);
    const MemoryPart& reference = m_proof.part(PartKind::referencePage);
    m_proof.put(PartKind::workingPage, working.address,
                m_proof.at(PartKind::referencePage, reference.address, reference.size));
    say("copy", fmt::format("reference page to working page, {} bytes by {}", working.size,
                            known ? "one command" : "writing them"));
    return prove("copy");
}

bool DemoMemory::copyByCommand() {
    EcuCopyRefeToWork(m_ecu.name);
    const std::optional<TaskResult> result =
        m_journal.await(m_session, command::kCopyPage, m_ecu.name + ": copy of the page");
    return result && result->code == 0;
}

/// In pieces that one write can take.
bool DemoMemory::copyByWrites() {
    constexpr std::uint32_t kMostBytes = 255;
    const MemoryPart& working = m_proof.part(PartKind::workingPage);
    const MemoryPart& reference = m_proof.part(PartKind::referencePage);
    for (std::uint32_t offset = 0; offset < working.size; offset += kMostBytes) {
        const std::uint32_t size = std::min(kMostBytes, working.size - offset);
        if (!write("piece of the page", working.address + offset,
                   m_proof.at(PartKind::referencePage, reference.address + offset, size))) {
            return false;
        }
    }
    return true;
}

/// The result does not tell whether the ECU took the bytes; only reading them does.
bool DemoMemory::write(const std::string& name, std::uint32_t address,
                       const std::vector<std::uint8_t>& bytes) {
    mcMeasureVariable variable;
    variable.name = name;
    variable.address = address;
    variable.size = static_cast<std::uint32_t>(bytes.size());
    CalibrationVar(m_ecu.name, variable, bytes);
    return m_journal.await(m_session, command::kCalibrate, m_ecu.name + ": write of " + name).has_value();
}

bool DemoMemory::calibrate() {
    for (const ParameterRecord& parameter : m_ecu.parameters) {
        if (!write(parameter.name, parameter.address, parameter.bytes)) {
            return false;
        }
        m_proof.put(PartKind::workingPage, parameter.address, parameter.bytes);
    }
    if (!readBack("calibrate", PartKind::workingPage)) {
        return false;
    }
    say("calibrate", fmt::format("{} values written and read back", m_ecu.parameters.size()));
    return prove("calibrate");
}

mcMeasureVariable DemoMemory::variableOf(const ParameterRecord& parameter, PartKind page) const {
    const MemoryPart& working = m_proof.part(PartKind::workingPage);
    mcMeasureVariable variable;
    variable.name = parameter.name;
    variable.address = m_proof.part(page).address + (parameter.address - working.address);
    variable.size = static_cast<std::uint32_t>(parameter.bytes.size());
    return variable;
}

bool DemoMemory::readBack(const std::string& what, PartKind page) {
    std::vector<mcMeasureVariable> variables;
    for (const ParameterRecord& parameter : m_ecu.parameters) {
        variables.push_back(variableOf(parameter, page));
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_read.clear();
        m_reading = true;
    }
    MeasureVars(m_ecu.name, variables);
    const auto result = m_journal.await(m_session, command::kMeasureVariables, m_ecu.name + ": " + what);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_reading = false;
    bool good = result.has_value();
    for (const mcMeasureVariable& variable : variables) {
        const std::vector<std::uint8_t> wanted = m_proof.at(page, variable.address, variable.size);
        const std::vector<std::uint8_t>& found = m_read[variable.name];
        good = require(found == wanted, what,
                       fmt::format("{} is [{}] instead of [{}]", variable.name, hexText(found),
                                   hexText(wanted))) &&
               good;
    }
    return good;
}

bool DemoMemory::flash() {
    const Image image = makeImage(m_proof.part(PartKind::flash));
    std::list<mem_buf> blocks;
    try {
        const ImageFile file(image.bytes, image.address);
        blocks = ParseMemFile(file.path());
    } catch (const std::runtime_error& problem) {
        return require(false, "image", problem.what());
    }
    const std::size_t size = image.bytes.size();
    if (!require(sizeOf(blocks) == size, "image",
                 fmt::format("the file of objcopy holds {} bytes instead of {}", sizeOf(blocks), size))) {
        return false;
    }
    say("image", fmt::format("{} bytes from 0x{:X} on, made by objcopy", size, image.address));
    if (!erase() || !reconnect() || !program(blocks, size) || !reconnect()) {
        return false;
    }
    m_proof.put(PartKind::flash, image.address, image.bytes);
    return prove("program") && check(blocks, size);
}

bool DemoMemory::erase() {
    const MemoryPart& part = m_proof.part(PartKind::flash);
    begin();
    EarseEcu(m_ecu.name, mcMemCode);
    const std::optional<MemoryResult> result = finish(command::kErase, "erase");
    if (!result) {
        return false;
    }
    m_proof.put(PartKind::flash, part.address, std::vector<std::uint8_t>(part.size, kErased));
    say("erase", fmt::format("{} bytes in {} sectors, {:.2f} s", part.size,
                             part.size / m_ecu.flash.sectorSize, secondsTo(*result)));
    return prove("erase");
}

bool DemoMemory::program(const std::list<mem_buf>& image, std::size_t size) {
    begin();
    DownToEcuMem(m_ecu.name, mcMemCode, image);
    const std::optional<MemoryResult> result = finish(command::kDownload, "program");
    if (!result) {
        return false;
    }
    requireProgress("program");
    say("program", fmt::format("{} bytes, {}", size, rateText(size, *result)));
    return true;
}

bool DemoMemory::check(const std::list<mem_buf>& image, std::size_t size) {
    begin();
    CheckEcuMemory(m_ecu.name, image, mcMemCode);
    const std::optional<MemoryResult> result = finish(command::kCheck, "check");
    if (!result) {
        return false;
    }
    std::size_t checked = 0;
    bool equal = true;
    for (const mcMemoryData& sum : result->data) {
        equal = equal && !sum.data.empty() && sum.data == sum.expected;
        checked += sum.length;
    }
    const bool whole =
        require(checked == size, "check", fmt::format("{} bytes instead of {}", checked, size));
    const bool right = require(equal, "check", "a checksum of the ECU is not that of the image");
    if (whole && right) {
        say("check", fmt::format("{} bytes have the checksum of the image", checked));
    }
    return whole && right;
}

bool DemoMemory::reconnect() {
    if (m_station.connected()) {
        return true;
    }
    EcuConnect({m_ecu.name});
    const auto result =
        m_journal.await(m_session, command::kConnect, m_ecu.name + ": connect after the reset");
    if (!result || result->code != 0) {
        return false;
    }
    say("reset", "the ECU ended its session; connected and unlocked again");
    return require(m_station.connected() && m_station.protection() == 0, "reset",
                   "not connected and unlocked again");
}

void DemoMemory::begin() {
    m_session.beginMemoryOperation();
    m_begin = std::chrono::steady_clock::now();
}

/// Behind each memory operation the library puts the calibration page back and reports that as well.
std::optional<MemoryResult> DemoMemory::finish(std::uint32_t command, const std::string& step) {
    const std::string what = m_ecu.name + ": " + step;
    const std::optional<TaskResult> page = m_journal.awaitAny(m_session, command::kSetPage, what, [&] {
        if (const MemoryProgress progress = m_session.progress(); progress.reports > 0) {
            m_journal.sayProgress(step, m_ecu.name, progress.percent);
        }
    });
    if (!page) {
        return std::nullopt;
    }
    // A reset ends the session ahead of that, and nobody answers.
    require(page->code == 0 || !m_station.connected(), step,
            fmt::format("the page was not put back, result {}", page->code));
    std::optional<MemoryResult> result = m_session.takeMemoryResult(command);
    if (!require(result.has_value(), step, fmt::format("memResultFun({}) did not come", command)) ||
        !m_journal.requireSuccess(what, result->code)) {
        return std::nullopt;
    }
    return result;
}

void DemoMemory::requireProgress(const std::string& step) {
    const MemoryProgress progress = m_session.progress();
    require(progress.reports > 0 && progress.percent == 100, step,
            fmt::format("progress came {} times, up to {} percent", progress.reports, progress.percent));
}

bool DemoMemory::prove(const std::string& step) {
    const std::vector<std::string> differences = m_proof.differences(m_station);
    return require(differences.empty(), step, fmt::format("{}", fmt::join(differences, "; ")));
}

void DemoMemory::say(const std::string& step, const std::string& text) {
    m_journal.say(step, fmt::format("{}: {}", m_ecu.name, text));
}

bool DemoMemory::require(bool holds, const std::string& step, const std::string& reason) {
    return m_journal.require(holds, fmt::format("{}: {}: {}", m_ecu.name, step, reason));
}

double DemoMemory::secondsTo(const MemoryResult& result) const {
    return std::chrono::duration<double>(result.when - m_begin).count();
}

std::string DemoMemory::rateText(std::size_t bytes, const MemoryResult& result) const {
    const double seconds = std::max(secondsTo(result), 1e-6);
    return fmt::format("{:.2f} s, {:.1f} kB/s", seconds, static_cast<double>(bytes) / seconds / 1000.0);
}

}  // namespace host
