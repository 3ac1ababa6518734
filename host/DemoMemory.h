/// @file
/// The steps of a demo that work on the memory of one ECU: calibration pages and flash.
#pragma once

#include "host/ConfigRecords.h"
#include "host/DemoJournal.h"
#include "host/MemoryProof.h"
#include "host/Session.h"
#include "host/SimulatedStation.h"

#include <TalvexSDK.h>

#include <chrono>
#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// Uploads, switches, copies and writes calibration pages, erases, programs and checks flash, and proves
/// after each step that the simulated ECU has every byte as it has to be. Steps that the ECU has no memory
/// for are left out.
class DemoMemory {
public:
    /// All of them must outlive the object.
    DemoMemory(const EcuRecord& ecu, SimulatedStation& station, Session& session, DemoJournal& journal);

    /// Runs all steps; the ECU has to be connected, and is so at the end.
    /// @return false if there is no point in going on
    [[nodiscard]] bool run();

    /// Takes values that a step reads. Any thread. @return false if they are not for a step
    [[nodiscard]] bool take(const ValueDelivery& delivery);

private:
    using Values = std::map<std::string, std::vector<std::uint8_t>>;

    // The steps, in their order. Each returns false if there is no point in going on.
    [[nodiscard]] bool upload();
    [[nodiscard]] bool switchPages();
    [[nodiscard]] bool copyPage();
    [[nodiscard]] bool calibrate();
    [[nodiscard]] bool flash();
    [[nodiscard]] bool erase();
    [[nodiscard]] bool program(const std::list<mem_buf>& image, std::size_t size);
    [[nodiscard]] bool check(const std::list<mem_buf>& image, std::size_t size);

    [[nodiscard]] bool selectPage(PartKind page);
    [[nodiscard]] bool copyByCommand();
    [[nodiscard]] bool copyByWrites();
    [[nodiscard]] bool write(const std::string& name, std::uint32_t address,
                             const std::vector<std::uint8_t>& bytes);
    void checkUpload(const std::vector<mcMemoryData>& found);
    [[nodiscard]] mcMeasureVariable variableOf(const ParameterRecord& parameter, PartKind page) const;

    /// Reads all calibration values from @p page and compares them with what has to stand there.
    [[nodiscard]] bool readBack(const std::string& what, PartKind page);

    /// Connects again if the ECU ended its session, as a reset does.
    [[nodiscard]] bool reconnect();

    /// Ahead of a memory operation.
    void begin();

    /// Waits for the end of the memory operation @p command. @return nothing if it failed
    [[nodiscard]] std::optional<MemoryResult> finish(std::uint32_t command, const std::string& step);

    /// Checks that the progress of an operation was reported to its end.
    void requireProgress(const std::string& step);

    /// Compares all memory of the ECU. @return false if it differs
    [[nodiscard]] bool prove(const std::string& step);

    void say(const std::string& step, const std::string& text);
    bool require(bool holds, const std::string& step, const std::string& reason);
    [[nodiscard]] double secondsTo(const MemoryResult& result) const;
    [[nodiscard]] std::string rateText(std::size_t bytes, const MemoryResult& result) const;

    const EcuRecord& m_ecu;
    SimulatedStation& m_station;
    Session& m_session;
    DemoJournal& m_journal;
    MemoryProof m_proof;
    std::chrono::steady_clock::time_point m_begin;  ///< of the memory operation at hand

    std::mutex m_mutex;      ///< guards the two below; nothing else is locked while it is held
    bool m_reading = false;  ///< values that come are those that a step asked for
    Values m_read;
};

}  // namespace host
