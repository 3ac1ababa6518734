/// @file
/// What CLI::Range does not see. In a header because only the program itself links CLI11.
#pragma once

#include <CLI/CLI.hpp>

#include <cmath>
#include <string>

namespace host {

/// Refuses "nan", which is neither below nor above any limit, and infinity.
inline CLI::Validator finiteNumber() {
    return CLI::Validator(
        [](const std::string& text) {
            double value = 0;
            const bool finite = CLI::detail::lexical_cast(text, value) && std::isfinite(value);
            return finite ? std::string() : "\"" + text + "\" is no finite number";
        },
        "");
}

}  // namespace host
