/// @file
/// A simulated CCP ECU on the bus of a `BusHost`, and the configuration by which the host reaches it.
#pragma once

#include "sim/BusPort.h"
#include "sim/CcpEcu.h"
#include "sim/VirtualBus.h"
#include "tests/system/BusHost.h"
#include "tests/system/EcuPair.h"

#include <TalvexSDK.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace systemtest {

/// Both sides of one CCP ECU.
struct CcpPair {
    /// The host's configuration, and a twin of the ECU that nobody talks to: the same signals, moved by the
    /// same events. What is delivered is held against the twin. Signals and events are added here.
    EcuPair twin;
    sim::CcpEcuConfig ecu;  ///< its signals and events are the twin's, whatever stands here
};

/// Lists of an ECU, as made by `ccpEcu`.
inline constexpr std::uint8_t kCcpLists = 4;
inline constexpr std::uint8_t kCcpListOdts = 12;

/// An ECU on classic CAN, little endian, with four lists for any event of 12 ODTs each, two events of 10 and
/// 100 ms, nothing locked and no signals. It takes 20 s to time out.
/// @param number  makes its identifiers: 0x300 and 0x301 for 0, 0x302 and 0x303 for 1, and so on
[[nodiscard]] CcpPair ccpEcu(const std::string& name, unsigned number = 0);

/// To be called ahead of the functions that add signals.
void setByteOrder(CcpPair& pair, sim::ByteOrder order);

/// Time-out of all commands, and how often one is sent again.
void setPatience(CcpPair& pair, std::chrono::milliseconds timeout, std::int32_t retryCount);

/// Locks a resource behind a seed of 4 bytes. The host gets the right keys.
void addLock(CcpPair& pair, std::uint8_t resource);

/// Puts each list but the first on an identifier of its own: 0x380 and list number for the first ECU.
void giveListsOwnIds(CcpPair& pair, unsigned number = 0);

/// The ECU at its place. To be made behind its host, and to go ahead of it; all ECUs are disconnected then.
class CcpStation {
public:
    /// Puts the ECU on the bus, switches it on, and gives its configuration to the library.
    CcpStation(BusHost& host, sim::VirtualBus& bus, const CcpPair& pair);

    /// The same for an ECU whose twin the host has already, and without the configuration.
    CcpStation(BusHost& host, sim::VirtualBus& bus, sim::CcpEcuConfig config);
    ~CcpStation();
    CcpStation(const CcpStation&) = delete;
    CcpStation& operator=(const CcpStation&) = delete;

    [[nodiscard]] sim::PortNumber port() const { return m_port->number(); }

    sim::CcpEcu ecu;

private:
    BusHost& m_host;
    const std::unique_ptr<sim::BusPort> m_port;  ///< goes ahead of its node
};

/// The ECU's side of @p pair with the signals and events of the twin.
[[nodiscard]] sim::CcpEcuConfig ecuOf(const CcpPair& pair);

}  // namespace systemtest
