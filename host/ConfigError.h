/// @file
/// A mistake in a configuration file, worded for the person who wrote the file.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace host {

/// A place in a configuration file.
struct ConfigPlace {
    std::string file;
    std::uint32_t line = 0;  ///< counted from 1; 0 is the file as a whole
};

/// "file:line: key: what was found and what is allowed".
class ConfigError : public std::runtime_error {
public:
    /// @param key  as a path, "ecu.daq.max_lists"; empty for none
    ConfigError(const ConfigPlace& place, const std::string& key, const std::string& problem);
};

}  // namespace host
