/// @file
/// Every export as a thread of a host may call it, and what it has to say then.
#pragma once

#include "tests/stress/StressWorld.h"
#include "tests/sweep/Draw.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace stress {

/// A thread of the host.
struct Caller {
    StressWorld& world;
    std::uint32_t number;
    sweep::Draw draw;

    /// The name of an ECU, now and then of none.
    std::string ecu();
    std::vector<std::uint8_t> someBytes(std::uint32_t most);
    /// A file of the thread's own.
    [[nodiscard]] std::string file() const;
};

/// Which calls are made when.
enum class Share : std::uint8_t {
    often,
    seldom,    ///< one of twenty draws: what holds everything up or throws the measurement away
    disturbs,  ///< the same, and not at all while the measurement is to be calm
    once,      ///< one time in all
};

struct Call {
    const char* name;  ///< as it stands in the list of exports
    Share share;
    std::function<void(Caller& caller)> run;
};

/// The session functions.
std::vector<Call> sessionCalls();
/// Memory files, checksums, plans and analyses: each answer is held against the right one.
std::vector<Call> pureCalls();
/// The channel interface: each status is held against those that the handle may give.
std::vector<Call> channelCalls();

}  // namespace stress
