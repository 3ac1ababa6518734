// talvex_soak [--minutes N | --seconds N] [--provoke gap|log|leak] [--slow MICROSECONDS]
// Exits with 0 if all held, 1 if not, 2 for arguments that it does not know.
#include "tests/soak/FailureListener.h"
#include "tests/soak/Soak.h"
#include "tests/soak/SoakOptions.h"
#include "tests/soak/SoakVerdict.h"

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr int kHeld = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

/// Everything of the soak is gone when it returns, so that its last words count too.
std::string run(const soak::SoakPlan& plan, soak::SoakVerdict& verdict) {
    const soak::FailureListener listener(verdict);
    soak::Soak soak(plan, verdict);
    soak.run();
    return soak.summary();
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<soak::SoakPlan> plan = soak::planOf(std::vector<std::string>(argv + 1, argv + argc));
    if (!plan) {
        std::fputs(soak::kUsageText, stderr);
        return kUsage;
    }
    soak::SoakVerdict verdict;
    const std::string summary = run(*plan, verdict);
    for (const std::string& fault : verdict.faults()) {
        std::printf("  %s\n", fault.c_str());
    }
    if (verdict.held()) {
        std::printf("soak: held: %s\n", summary.c_str());
        return kHeld;
    }
    std::printf("soak: failed, %zu faults: %s\n", verdict.faultCount(), summary.c_str());
    return kFailed;
}
