/// @file
/// What the environment and the build say about how long and how often.
#pragma once

#include <chrono>
#include <cstdint>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TALVEX_STRESS_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TALVEX_STRESS_SANITIZED 1
#endif
#if !defined(TALVEX_STRESS_SANITIZED)
#define TALVEX_STRESS_SANITIZED 0
#endif

namespace stress {

/// Whether a sanitizer watches, which takes time and memory of its own.
inline constexpr bool kSanitized = TALVEX_STRESS_SANITIZED != 0;

/// @return the number in the environment variable @p name, @p otherwise if there is none
std::uint64_t numberFrom(const char* name, std::uint64_t otherwise);

/// How long threads call at random: TALVEX_STRESS_SECONDS, or 5 s.
std::chrono::seconds callTime();

/// TALVEX_SEED, or one that is another each time.
std::uint64_t callSeed();

}  // namespace stress
