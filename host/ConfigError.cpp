#include "host/ConfigError.h"

#include <fmt/format.h>

namespace host {
namespace {

std::string whole(const ConfigPlace& place, const std::string& key, const std::string& problem) {
    const std::string line = place.line > 0 ? fmt::format(":{}", place.line) : "";
    const std::string about = key.empty() ? "" : fmt::format("{}: ", key);
    return fmt::format("{}{}: {}{}", place.file, line, about, problem);
}

}  // namespace

ConfigError::ConfigError(const ConfigPlace& place, const std::string& key, const std::string& problem)
    : std::runtime_error(whole(place, key, problem)) {}

}  // namespace host
