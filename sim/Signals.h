/// @file
/// Values that live in the memory of a simulated ECU and move with its event channels.
#pragma once

#include "sim/ByteOrder.h"
#include "sim/Memory.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace sim {

enum class SignalType : std::uint8_t { u8, i8, u16, i16, u32, i32, u64, i64, f32, f64 };

/// How a signal moves. n is the event number plus `phase`.
enum class SignalKind : std::uint8_t {
    counter,       ///< n, cut to the width of the type
    sine,          ///< offset + amplitude * sin(2 pi n / length)
    ramp,          ///< offset + step * (n mod length)
    constant,      ///< offset
    stateMachine,  ///< a state byte and its text, `length` events per state; `type` is not used
};

/// Bytes of the text of a state machine, behind its state byte; shorter texts end in zeros.
inline constexpr std::size_t kStateTextSize = 16;

struct Signal {
    std::string name{};
    std::uint32_t address = 0;
    std::uint8_t extension = 0;
    SignalType type = SignalType::u32;
    ByteOrder byteOrder = ByteOrder::intel;
    SignalKind kind = SignalKind::counter;
    std::uint16_t event = 0;  ///< event channel that moves the signal
    std::uint64_t phase = 0;  ///< events that the signal is ahead
    double offset = 0.0;
    double amplitude = 0.0;
    double step = 1.0;
    std::uint32_t length = 1;          ///< events per period, ramp or state; 0 counts as 1
    std::vector<std::string> texts{};  ///< texts of states 0, 1, ...; without texts the state stays 0
};

/// Bytes that the signal takes in memory.
[[nodiscard]] std::size_t signalSize(const Signal& signal);

/// The bytes of @p signal after @p eventIndex events of its channel (0: as the ECU started).
/// Depends on nothing else, so that a test can name every value an ECU ever had.
[[nodiscard]] std::vector<std::uint8_t> signalBytes(const Signal& signal, std::uint64_t eventIndex);

/// Keeps the signals of one ECU up to date in its memory. Holds no lock.
class Signals {
public:
    explicit Signals(std::vector<Signal> signals);

    /// Writes each signal whose channel moved since the last call.
    /// @param eventIndices  events so far by channel; a signal of a channel behind the end stays at 0
    void update(Memory& memory, std::span<const std::uint64_t> eventIndices);

private:
    std::vector<Signal> m_signals;
    std::vector<std::optional<std::uint64_t>> m_written;  ///< event number in memory, by signal
};

}  // namespace sim
