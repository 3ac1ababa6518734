/// @file
/// An XCP ECU, one command at a time, byte for byte. The channel interface of the library sends frames of 8
/// bytes at most and cannot stand beside a session of the same ECU.
#pragma once

#include "host/ConfigRecords.h"
#include "host/HostError.h"
#include "host/InfoXcpFacts.h"
#include "host/Link.h"
#include "host/XcpDialogue.h"
#include "host/XcpResponses.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace host {

/// One thread.
class XcpSlave {
public:
    /// All have to outlive the object; the frames of the bus go to @p responses.
    XcpSlave(const EcuRecord& record, std::size_t ecu, std::uint8_t channel, Link& link,
             XcpResponses& responses);

    /// Disconnects, if it is connected by a command of its own.
    ~XcpSlave();

    XcpSlave(const XcpSlave&) = delete;
    XcpSlave& operator=(const XcpSlave&) = delete;

    /// @throws HostError if the ECU does not answer or refuses
    SlaveAnswer connect();

    /// As `XcpDialogue::ask`.
    /// @throws HostError if the ECU does not answer, for a bus that is down and for an interrupt
    SlaveAnswer ask(const std::vector<std::uint8_t>& command);

    /// As `XcpDialogue::upload`.
    /// @throws HostError as `ask`
    std::vector<std::uint8_t> upload(const XcpText& text);

    /// Has the session of the link connect and unlock what the configuration says. From then on the session
    /// disconnects. If it fails, the ECU is connected as before, and locked.
    /// @return what was in the way, if anything
    /// @throws HostError if the ECU does not answer any more
    [[nodiscard]] std::optional<HostError> unlock();

private:
    void leave();
    void send(const std::vector<std::uint8_t>& command);
    [[nodiscard]] HostError silence(std::uint8_t command) const;

    const EcuRecord& m_record;
    const std::size_t m_ecu;
    const std::uint8_t m_channel;
    Link& m_link;
    XcpResponses& m_responses;
    XcpDialogue m_dialogue;
    bool m_connected = false;  ///< by a command of its own
};

}  // namespace host
