/// @file
/// What a simulated XCP ECU does wrong, on command.
#pragma once

#include "sim/Frame.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace sim {

enum class XcpFaultKind : std::uint8_t {
    silence,    ///< commands are not heard; without `command` nothing at all is sent, DAQ included
    error,      ///< the command is not run, the answer is error `code`
    delay,      ///< the answer leaves `delay` later
    truncate,   ///< frames of the answer are cut to `length` bytes
    extend,     ///< frames of the answer get `length` more bytes
    repeat,     ///< the answer is sent twice
    drop,       ///< the command is run, the answer lost
    reset,      ///< the ECU forgets its session and does not answer
    event,      ///< event packet `code` with `data`, at once, or ahead of the answer to `command`
    service,    ///< service request packet `code` with `data`, likewise
    overload,   ///< a sample of the running lists of an event channel is lost
    dropDto,    ///< a DAQ packet is lost
    repeatDto,  ///< a DAQ packet is sent twice
};

struct XcpFault {
    static constexpr std::uint32_t kForever = 0xFFFFFFFF;  ///< as `count`: until the faults are cleared

    XcpFaultKind kind = XcpFaultKind::silence;
    std::optional<std::uint8_t> command{};  ///< code it waits for; none: any command
    std::uint32_t after = 0;                ///< commands (or samples, or DAQ packets) it lets pass first
    std::uint32_t count = 1;                ///< commands (or samples, or DAQ packets) it hits
    std::uint8_t code = 0;
    Time delay = 0;  ///< nanoseconds
    std::uint8_t length = 0;
    std::vector<std::uint8_t> data{};
};

/// The faults that wait and work in one ECU. Holds no lock.
class XcpEcuFaults {
public:
    void add(const XcpFault& fault) { m_faults.push_back(fault); }
    void clear() { m_faults.clear(); }

    /// The faults that hit this command, in the order they were added; each is used up by one.
    [[nodiscard]] std::vector<XcpFault> onCommand(std::uint8_t code);

    /// Whether the next sample is lost; uses up an `overload`.
    [[nodiscard]] bool onSample();

    /// How often the next DAQ packet leaves: 0, 1 or 2; uses up a `dropDto` or `repeatDto`.
    [[nodiscard]] int onDto();

    /// A silence without a command is on.
    [[nodiscard]] bool silent() const;

private:
    /// Counts one occasion for @p fault and tells whether it is hit.
    static bool strike(XcpFault& fault);
    void removeSpent();

    std::vector<XcpFault> m_faults;
};

}  // namespace sim
