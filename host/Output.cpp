#include "host/Output.h"

#include <unistd.h>

#include <cstdlib>

namespace host {
namespace {

bool wantsColours(std::FILE* stream) {
    const char* noColour = std::getenv("NO_COLOR");
    return isatty(fileno(stream)) == 1 && (noColour == nullptr || *noColour == '\0');
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

Output::Output(std::FILE* stream, bool colours)
    : m_stream(stream), m_colours(colours && wantsColours(stream)) {}

void Output::line(std::string_view text) {
    std::string whole(text);
    whole += '\n';
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
