/// @file
/// The buses that a sub-command works on, as the library's way to its ECUs.
#pragma once

#include "host/CanBus.h"
#include "host/CandumpLog.h"
#include "host/ConfigRecords.h"
#include "host/Session.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace host {

/// @p frame of the library as the bus takes it.
[[nodiscard]] sim::Frame busFrame(const OutgoingFrame& frame);

/// Puts URLs of the command line, "NAME=URL" each, in the place of those of @p config. With one bus in the
/// configuration the name may be left out.
/// @throws HostError ExitCode::usage for a name that is not there
void overrideUrls(Config& config, const std::vector<std::string>& urls);

/// Open buses. Any thread, but for construction and destruction.
class BusSet {
public:
    /// Sees every frame, of both directions, on a thread of its bus.
    /// @param bus  index of the configuration
    using Watcher = std::function<void(std::size_t bus, const BusFrame& frame)>;

    /// Opens those buses of @p config on which @p ecus are; from then on their frames go to the library.
    /// @param config  must outlive the object
    /// @param trace   gets every frame; may be null
    /// @throws HostError ExitCode::bus, or ExitCode::usage for an URL that is none
    /// @throws ConfigError if an ECU cannot be simulated as it is described
    BusSet(const Config& config, const std::vector<std::size_t>& ecus, CandumpWriter* trace, Watcher watcher);

    /// Sends a frame of the library on its channel. One without an open bus is dropped.
    void send(const OutgoingFrame& frame);

    /// The library delivered DAQ values that were on bus @p bus of the configuration at @p timeUs.
    void delivered(std::size_t bus, std::uint64_t timeUs);

    /// Why a bus is down; empty while all work.
    [[nodiscard]] std::string failure() const;

    /// Frames that the buses lost below the host, so far.
    [[nodiscard]] std::uint64_t overflows() const;

private:
    void take(std::size_t bus, const BusFrame& frame) const;

    const Config& m_config;
    CandumpWriter* m_trace;
    Watcher m_watcher;
    std::map<std::uint8_t, std::unique_ptr<CanBus>> m_buses;  ///< by channel; fixed after construction
};

}  // namespace host
