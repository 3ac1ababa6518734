#include "tests/stress/Settings.h"

#include <cstdlib>
#include <random>
#include <string>

namespace stress {
namespace {

constexpr std::uint64_t kCallSeconds = 5;

}  // namespace

std::uint64_t numberFrom(const char* name, std::uint64_t otherwise) {
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise : std::stoull(text);
}

std::chrono::seconds callTime() {
    return std::chrono::seconds(numberFrom("TALVEX_STRESS_SECONDS", kCallSeconds));
}

std::uint64_t callSeed() {
    return numberFrom("TALVEX_SEED", std::random_device()());
}

}  // namespace stress
