/// @file
/// Disturbances of a simulated bus, drawn from a seed.
#pragma once

#include "sim/Frame.h"
#include "sim/PortNumber.h"

#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <vector>

namespace sim {

/// A time that is never reached.
inline constexpr Time kNever = std::numeric_limits<Time>::max();

/// How often the frames of a port are disturbed. Probabilities from 0 (never) to 1 (always).
struct FaultRates {
    double drop = 0;       ///< the frame never gets to the bus; it then has no other fault
    double delay = 0;      ///< the frame is offered to the bus `delayBy` later; others may overtake it
    double duplicate = 0;  ///< the frame is sent twice
    double corrupt = 0;    ///< the first data byte is changed; a frame without data is left alone
    Time delayBy = 0;      ///< nanoseconds
};

/// What happens to one frame.
struct FaultVerdict {
    bool drop = false;
    bool duplicate = false;
    std::uint8_t corruptMask = 0;  ///< changes the first byte by exclusive or; 0 leaves it
    Time delay = 0;                ///< nanoseconds; 0 for none
};

/// Decides about the frames of all ports. Each port has a random sequence of its own and every frame
/// takes the same share of it, so the same seed and the same frames of a port meet the same faults,
/// whatever the other ports do and whichever rates are set. One thread at a time.
class BusFaults {
public:
    explicit BusFaults(std::uint64_t seed) : m_seed(seed) {}

    [[nodiscard]] std::uint64_t seed() const { return m_seed; }

    /// Rates of all ports that have none of their own.
    void setRates(const FaultRates& rates) { m_ratesForAll = rates; }

    /// Rates of the frames that @p port sends.
    void setRates(PortNumber port, const FaultRates& rates) { m_ratesByPort[port] = rates; }

    /// What @p port sends vanishes from bus time @p from until just before @p until.
    void silence(PortNumber port, Time from, Time until) { m_silences.push_back({port, from, until}); }

    /// Takes back all silences of @p port.
    void restore(PortNumber port);

    /// Whether @p port is silent at bus time @p when.
    [[nodiscard]] bool isSilent(PortNumber port, Time when) const;

    /// Draws what happens to the next frame of @p port.
    [[nodiscard]] FaultVerdict judge(PortNumber port);

private:
    struct Silence {
        PortNumber port;
        Time from;
        Time until;
    };

    [[nodiscard]] const FaultRates& ratesOf(PortNumber port) const;
    [[nodiscard]] std::mt19937_64& sequenceOf(PortNumber port);

    std::uint64_t m_seed;
    FaultRates m_ratesForAll;
    std::map<PortNumber, FaultRates> m_ratesByPort;
    std::map<PortNumber, std::mt19937_64> m_sequences;
    std::vector<Silence> m_silences;
};

}  // namespace sim
