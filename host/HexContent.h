/// @file
/// What image files hold, for sub-commands that take no file with two readings.
#pragma once

#include "host/HexFile.h"

#include <list>
#include <string>
#include <vector>

namespace host {

/// @throws HostError if @p blocks, of the file @p path, are none
void expectBytes(const std::string& path, const std::list<mem_buf>& blocks);

/// @throws HostError that names the lowest address held twice
void expectApart(const std::vector<HexFile>& files);

/// What a file holds, as joined() makes it.
/// @throws HostError also for a file that holds an address twice
[[nodiscard]] std::list<mem_buf> imageOf(const std::string& path);

/// The same. @throws HostError also for a file without bytes
[[nodiscard]] std::list<mem_buf> contentOf(const std::string& path);

}  // namespace host
