#include "tests/soak/SoakOptions.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <map>
#include <system_error>

namespace soak {
namespace {

constexpr std::uint64_t kMostSeconds = 100 * 24 * 3600;
constexpr std::uint64_t kMostSlowness = 1'000'000;  ///< microseconds

const std::map<std::string, Provocation> kProvocations = {
    {"gap", Provocation::gap}, {"log", Provocation::log}, {"leak", Provocation::leak}};

/// A number from 1 to @p most.
std::optional<std::uint64_t> numberOf(const std::string& text, std::uint64_t most) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number == 0 || number > most) {
        return std::nullopt;
    }
    return number;
}

bool setLength(SoakPlan& plan, const std::string& value, std::uint64_t secondsEach) {
    const std::optional<std::uint64_t> number = numberOf(value, kMostSeconds / secondsEach);
    plan.length = number.value_or(0) * secondsEach * kSecond;
    return number.has_value();
}

bool setProvocation(SoakPlan& plan, const std::string& value) {
    const auto found = kProvocations.find(value);
    if (found == kProvocations.end()) {
        return false;
    }
    plan.provocation = found->second;
    return true;
}

bool setSlowness(SoakPlan& plan, const std::string& value) {
    const std::optional<std::uint64_t> number = numberOf(value, kMostSlowness);
    plan.slowness = std::chrono::microseconds(number.value_or(0));
    return number.has_value();
}

bool setOption(SoakPlan& plan, const std::string& name, const std::string& value) {
    if (name == "--minutes") {
        return setLength(plan, value, 60);
    }
    if (name == "--seconds") {
        return setLength(plan, value, 1);
    }
    if (name == "--provoke") {
        return setProvocation(plan, value);
    }
    return name == "--slow" && setSlowness(plan, value);
}

}  // namespace

std::optional<SoakPlan> planOf(const std::vector<std::string>& arguments) {
    SoakPlan plan;
    for (std::size_t i = 0; i < arguments.size(); i += 2) {
        if (i + 1 == arguments.size() || !setOption(plan, arguments[i], arguments[i + 1])) {
            return std::nullopt;
        }
    }
    return plan;
}

}  // namespace soak
