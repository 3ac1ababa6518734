/// @file
/// What a simulated ECU does wrong, on command.
#pragma once

#include "sim/Frame.h"

#include <cstdint>
#include <optional>
#include <random>
#include <vector>

namespace sim {

enum class EcuFaultKind : std::uint8_t {
    silence,       ///< commands are not heard; without `command` nothing at all is sent, DAQ included
    error,         ///< the command is not run, the answer is error or return code `code`
    warning,       ///< CCP: the command is run, its answer carries return code `code`
    delay,         ///< the answer leaves `delay` later
    wrongCounter,  ///< CCP: the answer echoes the next command counter instead of its own
    truncate,      ///< frames of the answer are cut to `length` bytes
    extend,        ///< frames of the answer get `length` more bytes
    repeat,        ///< the answer is sent twice
    drop,          ///< the command is run, the answer lost
    reset,         ///< the ECU forgets its session and does not answer
    event,         ///< event packet `code` with `data`, at once, or ahead of the answer to `command`
    service,       ///< XCP: service request packet `code` with `data`, likewise
    overload,      ///< a sample of the running lists of an event channel is lost
    dropDto,       ///< a DAQ packet is lost
    repeatDto,     ///< a DAQ packet is sent twice
};

struct EcuFault {
    static constexpr std::uint32_t kForever = 0xFFFFFFFF;  ///< as `count`: until the faults are cleared

    EcuFaultKind kind = EcuFaultKind::silence;
    std::optional<std::uint8_t> command{};  ///< code it waits for; none: any command
    std::uint32_t after = 0;                ///< commands (or samples, or DAQ packets) it lets pass first
    std::uint32_t count = 1;                ///< commands (or samples, or DAQ packets) it hits
    std::optional<Time> lasts{};  ///< nanoseconds from its injection to its end, whatever `count` says
    double chance = 1.0;          ///< of a hit, drawn for each command, sample or packet but those silenced
    std::uint8_t code = 0;
    Time delay = 0;  ///< nanoseconds
    std::uint8_t length = 0;
    std::vector<std::uint8_t> data{};
};

/// The faults that wait and work in one ECU. `now` is bus time and never goes back. Holds no lock.
class EcuFaults {
public:
    /// @param seed  of the draws: the same seed and the same calls always give the same hits
    explicit EcuFaults(std::uint32_t seed) : m_random(seed) {}

    void add(const EcuFault& fault, Time now);
    void clear() { m_faults.clear(); }

    /// The faults that hit this command, in the order they were added; each is used up by one.
    [[nodiscard]] std::vector<EcuFault> onCommand(std::uint8_t code, Time now);

    /// Whether the next sample is lost; uses up an `overload`.
    [[nodiscard]] bool onSample(Time now);

    /// How often the next DAQ packet leaves: 0, 1 or 2; uses up a `dropDto` or `repeatDto`.
    [[nodiscard]] int onDto(Time now);

    /// A silence without a command is on.
    [[nodiscard]] bool silent(Time now) const;

private:
    struct Waiting {
        EcuFault fault;
        std::optional<Time> end;
    };

    bool strike(Waiting& waiting, Time now);
    void removeSpent();

    std::vector<Waiting> m_faults;
    std::mt19937 m_random;
};

}  // namespace sim
