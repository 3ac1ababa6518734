#include "host/Progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace host {
namespace {

constexpr std::uint32_t kWhole = 100;
constexpr std::uint32_t kLineStep = 10;  ///< percent between two lines of a log
constexpr std::size_t kMostBar = 30;
constexpr std::size_t kLeastBar = 8;

std::string barOf(std::uint32_t percent, std::size_t width) {
    const std::size_t done = percent * width / kWhole;
    return fmt::format(" [{:#<{}}{:.<{}}]", "", done, "", width - done);
}

}  // namespace

Progress::Progress(Output& output, std::string what, std::uint64_t bytes)
    : m_output(output), m_what(std::move(what)), m_bytes(bytes) {}

Progress::~Progress() {
    if (m_shown > 0) {
        m_output.passing("");
    }
}

std::string Progress::rateText(std::uint32_t percent) const {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - m_start;
    if (percent == 0 || elapsed.count() <= 0) {
        return {};
    }
    const double done = static_cast<double>(m_bytes) * percent / kWhole;
    const double left = elapsed.count() * (kWhole - percent) / percent;
    return fmt::format(", {:.1f} kB/s, {:.0f} s left", done / elapsed.count() / 1000.0, left);
}

void Progress::show(std::uint32_t percent) {
    if (percent <= m_shown) {
        return;
    }
    if (m_output.isTerminal()) {
        m_output.passing(barLine(m_what, percent, rateText(percent), m_output.columns()));
    } else if (percent / kLineStep > m_shown / kLineStep) {
        m_output.line(fmt::format("{}: {} %{}", m_what, percent / kLineStep * kLineStep, rateText(percent)));
    }
    m_shown = percent;
}

std::string Progress::barLine(const std::string& what, std::uint32_t percent, const std::string& rate,
                              std::size_t columns) {
    constexpr std::size_t kFrame = 3;  // blank and brackets
    const std::string number = fmt::format(" {:3} %", percent);
    const std::size_t room = columns > 0 ? columns - 1 : 0;
    for (const std::string& tail : {number + rate, number}) {
        const std::size_t fixed = what.size() + kFrame + tail.size();
        if (fixed + kLeastBar <= room) {
            return fmt::format("{}{}{}", what, barOf(percent, std::min(kMostBar, room - fixed)), tail);
        }
    }
    const std::size_t name = room > number.size() ? room - number.size() : 0;
    return what.substr(0, name) + number.substr(0, room);
}

}  // namespace host
