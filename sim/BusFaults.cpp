#include "sim/BusFaults.h"

#include <algorithm>

namespace sim {

namespace {

/// Spreads neighbouring numbers over 64 bits, so that ports do not get related sequences.
std::uint64_t scatter(std::uint64_t value) {
    value = (value ^ value >> 31U) * 0x9E37'79B9'7F4A'7C15U;
    return value ^ value >> 29U;
}

/// True with @p probability. Written out because the distributions of the standard library differ
/// from one library to the next, and a printed seed has to mean the same everywhere.
bool happens(std::uint64_t random, double probability) {
    constexpr double kUnit = 1.0 / 9007199254740992.0;  // 2^-53
    return static_cast<double>(random >> 11U) * kUnit < probability;
}

}  // namespace

void BusFaults::restore(PortNumber port) {
    std::erase_if(m_silences, [port](const Silence& silence) { return silence.port == port; });
}

bool BusFaults::isSilent(PortNumber port, Time when) const {
    return std::any_of(m_silences.begin(), m_silences.end(), [port, when](const Silence& silence) {
        return silence.port == port && silence.from <= when && when < silence.until;
    });
}

FaultVerdict BusFaults::judge(PortNumber port) {
    const FaultRates& rates = ratesOf(port);
    std::mt19937_64& sequence = sequenceOf(port);
    FaultVerdict verdict;
    verdict.drop = happens(sequence(), rates.drop);
    verdict.delay = happens(sequence(), rates.delay) ? rates.delayBy : 0;
    verdict.duplicate = happens(sequence(), rates.duplicate);
    const bool corrupt = happens(sequence(), rates.corrupt);
    const auto mask = static_cast<std::uint8_t>(1U + sequence() % 255U);
    verdict.corruptMask = corrupt ? mask : std::uint8_t{0};
    return verdict;
}

const FaultRates& BusFaults::ratesOf(PortNumber port) const {
    const auto own = m_ratesByPort.find(port);
    return own == m_ratesByPort.end() ? m_ratesForAll : own->second;
}

std::mt19937_64& BusFaults::sequenceOf(PortNumber port) {
    const auto known = m_sequences.find(port);
    if (known != m_sequences.end()) {
        return known->second;
    }
    return m_sequences.emplace(port, std::mt19937_64(m_seed ^ scatter(port))).first->second;
}

}  // namespace sim
