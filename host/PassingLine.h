/// @file
/// What is going on, for as long as it does.
#pragma once

#include "host/Output.h"

#include <string>

namespace host {

/// On a terminal a line, cut to its width, that goes with the object; elsewhere nothing. One thread.
class PassingLine {
public:
    /// @param output  must outlive the object
    PassingLine(Output& output, const std::string& text) : m_output(output) {
        const std::size_t columns = output.columns();
        m_output.passing(text.substr(0, columns > 0 ? columns - 1 : 0));
    }

    /// Takes the line away.
    ~PassingLine() { m_output.passing(""); }

    PassingLine(const PassingLine&) = delete;
    PassingLine& operator=(const PassingLine&) = delete;

private:
    Output& m_output;
};

}  // namespace host
