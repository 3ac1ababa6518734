#include "host/Output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

namespace host {
namespace {

constexpr const char* kEmptyLine = "\r\033[K";

bool wantsColours() {
    const char* noColour = std::getenv("NO_COLOR");
    return noColour == nullptr || *noColour == '\0';
}

const char* codeOf(Colour colour) {
    switch (colour) {
        case Colour::good:
            return "\033[32m";
        case Colour::bad:
            return "\033[31m";
        case Colour::dim:
            return "\033[2m";
        case Colour::bold:
            return "\033[1m";
        default:
            return "";
    }
}

}  // namespace

TerminalSize terminalSize(std::FILE* stream) {
    TerminalSize size;
    winsize asked{};
    if (ioctl(fileno(stream), TIOCGWINSZ, &asked) == 0 && asked.ws_col > 0 && asked.ws_row > 0) {
        size = {asked.ws_col, asked.ws_row};
    }
    return size;
}

void tell(const std::string& text) {
    Output(stderr, false).line("talvex: " + text);
}

Output::Output(std::FILE* stream, bool colours)
    : m_stream(stream),
      m_terminal(isatty(fileno(stream)) == 1),
      m_colours(colours && m_terminal && wantsColours()) {}

void Output::line(std::string_view text) {
    write((m_passing ? kEmptyLine : "") + std::string(text) + '\n');
    m_passing = false;
}

void Output::passing(std::string_view text) {
    if (m_terminal) {
        write(kEmptyLine + std::string(text));
        m_passing = true;
    }
}

void Output::write(const std::string& whole) {
    const bool written = std::fwrite(whole.data(), 1, whole.size(), m_stream) == whole.size();
    const bool flushed = std::fflush(m_stream) == 0;
    m_broken = m_broken || !written || !flushed;
}

std::string Output::paint(Colour colour, std::string_view text) const {
    if (!m_colours || colour == Colour::none) {
        return std::string(text);
    }
    return codeOf(colour) + std::string(text) + "\033[0m";
}

}  // namespace host
