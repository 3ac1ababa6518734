#include "host/InfoText.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace host {

std::string printable(const std::vector<std::uint8_t>& bytes) {
    std::string text;
    std::transform(bytes.begin(), bytes.end(), std::back_inserter(text), [](std::uint8_t byte) {
        return byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
    });
    return text;
}

std::string cycleText(std::uint64_t ns) {
    struct Row {
        std::uint64_t ns;
        const char* unit;
    };
    constexpr std::array<Row, 4> kRows{{{1'000'000'000, "s"}, {1'000'000, "ms"}, {1'000, "us"}, {1, "ns"}}};
    if (ns == 0) {
        return "not cyclic";
    }
    const auto* row = std::find_if(kRows.begin(), kRows.end(),
                                   [ns](const Row& candidate) { return ns % candidate.ns == 0; });
    return fmt::format("{} {}", ns / row->ns, row->unit);
}

std::string cycleText(std::uint8_t cycle, std::uint8_t unit) {
    constexpr std::uint8_t kSecond = 9;
    if (unit > kSecond) {
        return fmt::format("{} units of code {}", cycle, unit);
    }
    std::uint64_t ns = cycle;
    for (unsigned i = 0; i < unit; ++i) {
        ns *= 10;
    }
    return cycleText(ns);
}

}  // namespace host
