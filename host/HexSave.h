/// @file
/// Image files, written whole or not at all.
#pragma once

#include <TalvexMemory.h>

#include <list>
#include <string>

namespace host {

/// Before minutes go into making what cannot be written then.
/// @throws HostError if @p path has no ending of an image file, is no regular file, or lies in no folder that
///         files can be made in
void requireHexTarget(const std::string& path);

/// Writes an image in the format of the ending. It goes into a temporary file beside @p path, is read back
/// and compared, and only then takes the place of what was there. A link stays, its target is replaced.
/// SIGXFSZ must be ignored, so that a limit on the size of files is an error like a full disk.
/// @param image  as joined() makes it
/// @throws HostError; what was there is then as it was
void saveHexFile(const std::list<mem_buf>& image, const std::string& path);

}  // namespace host
