/// @file
/// The answers of a CCP ECU as facts.
#pragma once

#include "host/CanBus.h"
#include "host/ConfigRecords.h"
#include "host/InfoFacts.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace host {

/// A command and what the ECU answered, whole frames.
struct CcpExchange {
    std::array<std::uint8_t, 8> command{};
    std::array<std::uint8_t, 8> answer{};
};

/// Remembers the commands of a session that the ECU answered well. Any thread.
class CcpExchanges {
public:
    explicit CcpExchanges(const EcuRecord& record)
        : m_commandId(record.commandId), m_responseId(record.responseId), m_extended(record.extended) {}

    /// Takes a frame of the bus of the ECU.
    void take(const BusFrame& bus);

    /// All so far, in the order of the answers.
    [[nodiscard]] std::vector<CcpExchange> list() const;

private:
    const std::uint32_t m_commandId;
    const std::uint32_t m_responseId;
    const bool m_extended;
    mutable std::mutex m_mutex;  ///< guards all below; nothing else is locked while it is held
    std::optional<std::array<std::uint8_t, 8>> m_pending;  ///< command that waits for its answer
    std::vector<CcpExchange> m_list;
};

/// Adds to @p facts what @p exchanges say of the ECU @p record, as far as they go. CCP has no command for the
/// byte order; the address of the active page shows it, if it is one of the configuration either way round.
void addCcpFacts(const EcuRecord& record, const std::vector<CcpExchange>& exchanges, InfoFacts& facts);

}  // namespace host
