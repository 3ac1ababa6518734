/// @file
/// The faults of the fault matrix: what an ECU does wrong, beginning with one frame of an operation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace systemtest {

enum class Protocol : std::uint8_t { xcp, ccp };

enum class FaultKind : std::uint8_t {
    none,
    silence,       ///< no answer
    reset,         ///< no answer, and deaf until the next CONNECT
    error,         ///< the answer is the error code `code`
    busyFirst,     ///< three times the error code `code`, then the answer; XCP only
    late,          ///< the answer comes with the next frame that is sent, ahead of that one's own
    slow,          ///< the answer comes from another thread, in time
    wrongCounter,  ///< CCP: answer, or error `code`, with the counter of another command
    cut,           ///< the answer has `length` bytes only
    extended,      ///< the answer has 64 bytes
    repeated,      ///< the answer comes twice
    foreign,       ///< frames of somebody else with the ECU's identifiers come ahead of the answer
};

struct Fault {
    static constexpr std::size_t kForever = std::numeric_limits<std::size_t>::max();

    std::string name;  ///< unlike the others of its protocol
    FaultKind kind = FaultKind::none;
    std::size_t times = 1;  ///< frames that it hits, one behind the other
    std::uint8_t code = 0;
    std::size_t length = 0;

    /// Whether it hits frame @p frame if it begins with frame @p first.
    [[nodiscard]] bool hits(std::size_t frame, std::size_t first) const {
        return kind != FaultKind::none && frame >= first && frame - first < times;
    }
};

/// All faults of @p protocol: the forms of bad answers, then each error code once and for ever.
[[nodiscard]] std::vector<Fault> faultsOf(Protocol protocol);

/// The line that the library logs for an error code of an ECU.
[[nodiscard]] std::string errorTextOf(Protocol protocol, std::uint8_t code);

/// "0x2a"
[[nodiscard]] std::string hexByte(std::uint8_t code);

}  // namespace systemtest
