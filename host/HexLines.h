/// @file
/// The lines of an image file, looked at before the library reads them.
#pragma once

#include <string>

namespace host {

enum class HexFormat { intelHex, srecord };

/// Looks at every line of a file. The library's reader forgives what a file on its way to an ECU must not
/// have: wrong checksums, cut lines, a missing end. What passes here reads the same in every program.
/// @throws HostError naming file, line and what is wrong; ExitCode::interrupted after Ctrl-C
void checkHexLines(const std::string& path, HexFormat format);

}  // namespace host
