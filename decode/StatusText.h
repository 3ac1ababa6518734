/// @file
/// Texts of protocol statuses: what an ECU answered, or why there is no answer. Not to be mixed up with the
/// result codes of operations (`getErrorString`).
#pragma once

#include <cstdint>
#include <string>

/// @param status  a CCP status; its low byte is the return code that is looked up
/// @return the text of the return code, "UnKnow 0x31" for a code that is not known
std::string ccpStatusText(std::uint32_t status);

/// @param status  0 to 255 an error code of the ECU; 256 success; 512 to 2304 the library's own statuses
/// @return the text of the status; for one that is not known "UnKnow " and its low byte, as "UnKnow 0x1"
std::string xcpStatusText(std::uint32_t status);
