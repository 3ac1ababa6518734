/// @file
/// Names of frames for a person: what the library's analysis leaves to its host.
#pragma once

#include "host/IdPair.h"

#include <cstdint>
#include <string>

namespace host {

/// The name of a command, as "GET_SEED"; "command 0x24" for a code that has none.
/// @param subCode  byte behind the code; XCP's code 0xC0 stands for several commands
[[nodiscard]] std::string commandTitle(Protocol protocol, std::uint8_t code, std::uint8_t subCode);

/// The name of an XCP event, as "EV_SLEEP"; "EV 0x04" for a code that has none.
[[nodiscard]] std::string eventTitle(std::uint8_t code);

/// What a return code of CCP says; "UnKnow 0x31" for one without a meaning.
[[nodiscard]] std::string returnCodeText(std::uint8_t code);

}  // namespace host
