/// @file
/// Where a bus is, as a configuration or a command line says it.
#pragma once

#include "host/Endpoint.h"

#include <string>

namespace host {

/// What is behind a bus.
enum class BusKind {
    simulated,   ///< "sim:": the ECUs of the configuration, simulated in the process
    socketCan,   ///< "socketcan:can0": a CAN interface of this machine's kernel
    socketcand,  ///< "socketcand://host:29536/can0": a bus that a server on the network offers
};

/// Port of a socketcand server where none is given.
inline constexpr std::uint16_t kSocketcandPort = 29536;

/// A bus and how to get to it.
struct BusUrl {
    BusKind kind = BusKind::simulated;
    Endpoint server;   ///< socketcand only
    std::string name;  ///< socketCan: of the interface; socketcand: of the bus in the server
};

/// Longest name of an interface.
inline constexpr std::size_t kMostInterfaceName = 15;

/// Reads "sim:", "socketcan:INTERFACE" or "socketcand://HOST[:PORT]/BUS".
/// @throws HostError (ExitCode::usage) that says what is allowed
[[nodiscard]] BusUrl parseBusUrl(const std::string& url);

}  // namespace host
