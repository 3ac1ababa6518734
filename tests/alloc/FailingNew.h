/// @file
/// `operator new` of this program: counted, and failing when a test wants it to.
#pragma once

#include <cstddef>
#include <cstdint>

namespace alloc {

/// Which calls of `operator new` fail.
enum class Failing : std::uint8_t {
    once,       ///< one
    fromThenOn  ///< one and all behind it
};

/// Blocks of `operator new` that have not been deleted.
std::int64_t liveBlocks();

/// While one is armed, calls of `operator new` on its thread are counted and fail as told. One at a time.
class FailingNew {
public:
    /// @param number  of the first call that fails, from 1 on
    FailingNew(std::size_t number, Failing failing);
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;

    /// From here on `operator new` does what it should.
    static void disarm();

    /// Whether a call has failed.
    [[nodiscard]] static bool happened();
    /// Calls while it was armed.
    [[nodiscard]] static std::size_t calls();
};

}  // namespace alloc
