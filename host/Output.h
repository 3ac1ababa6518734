/// @file
/// Lines for a person, with colours where they make sense.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace host {

/// Size of a terminal in characters.
struct TerminalSize {
    std::size_t width = 80;
    std::size_t height = 24;
};

/// The size of the terminal behind @p stream as it is now; the usual one if it does not say.
[[nodiscard]] TerminalSize terminalSize(std::FILE* stream);

/// A message of the program on standard error: "talvex: text".
void tell(const std::string& text);

enum class Colour { none, good, bad, dim, bold };

/// Writes to a stream that may be a file, a pipe that closes, or a terminal. One thread at a time.
class Output {
public:
    /// @param colours  false never uses colours; true does on a terminal unless NO_COLOR is set
    Output(std::FILE* stream, bool colours);

    /// Writes a line and flushes it. What cannot be written is dropped.
    void line(std::string_view text);

    /// On a terminal shows a line that the next one takes the place of; elsewhere does nothing.
    void passing(std::string_view text);

    /// @p text in @p colour, or as it is.
    [[nodiscard]] std::string paint(Colour colour, std::string_view text) const;

    [[nodiscard]] bool isTerminal() const { return m_terminal; }

    /// Width of the terminal in characters, as it is now; 80 where it is not known.
    [[nodiscard]] std::size_t columns() const { return terminalSize(m_stream).width; }

    /// A line could not be written: there is nobody left to read.
    [[nodiscard]] bool broken() const { return m_broken; }

private:
    void write(const std::string& whole);

    std::FILE* m_stream;
    bool m_terminal;
    bool m_colours;
    bool m_passing = false;  ///< the line at hand is one that goes
    bool m_broken = false;
};

}  // namespace host
