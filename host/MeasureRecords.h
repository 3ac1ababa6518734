/// @file
/// What a measurement hands from one of its parts to another.
#pragma once

#include "host/LossCounter.h"
#include "host/MeasureValue.h"
#include "host/Session.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// Values that came together.
struct MeasureDelivery {
    std::size_t ecu = 0;  ///< index of the selection
    ValueKind kind = ValueKind::daq;
    std::optional<std::uint16_t> event{};  ///< event channel of DAQ values, if that can be told
    double seconds = 0.0;                  ///< since the start of the measurement
    std::chrono::steady_clock::time_point arrival{};
    std::vector<mcMeasureVariableValue> values{};
};

/// What became of one variable.
struct MeasureTally {
    std::uint64_t count = 0;
    std::uint64_t missing = 0;  ///< of these, values without all their bytes
    double firstSeconds = 0.0;
    double lastSeconds = 0.0;
    std::optional<double> minimum{};
    std::optional<double> maximum{};
    MeasureValue last{};
    std::chrono::steady_clock::time_point lastArrival{};

    /// @param seconds  time of the value since the start of the measurement
    void add(double seconds, std::chrono::steady_clock::time_point arrival, const MeasureValue& value) {
        firstSeconds = count == 0 ? seconds : firstSeconds;
        lastSeconds = seconds;
        lastArrival = arrival;
        last = value;
        ++count;
        missing += value.missing() ? 1U : 0U;
        if (const std::optional<double> number = value.first()) {
            minimum = std::min(minimum.value_or(*number), *number);
            maximum = std::max(maximum.value_or(*number), *number);
        }
    }

    /// Values per second from the first to the last; 0 with less than two.
    [[nodiscard]] double rate() const {
        return count > 1 && lastSeconds > firstSeconds
                   ? static_cast<double>(count - 1) / (lastSeconds - firstSeconds)
                   : 0.0;
    }
};

/// What the whole measurement lost.
struct MeasureLosses {
    std::vector<EcuLosses> ecus;    ///< by index of the selection
    std::uint64_t overflows = 0;    ///< frames that a bus lost below the host
    std::uint64_t discards = 0;     ///< frames beyond what the library stores; at least so many
    std::uint64_t notWritten = 0;   ///< deliveries dropped because the output did not keep up
    std::uint64_t shortValues = 0;  ///< that the library delivered without all their bytes

    /// At the end: "ECU.NAME" of variables of which no value came, though it was time for some.
    std::vector<std::string> silent{};

    /// Losses that are of no list.
    [[nodiscard]] std::uint64_t common() const {
        return overflows + discards + notWritten + shortValues + silent.size();
    }

    [[nodiscard]] std::uint64_t total() const {
        std::uint64_t sum = common();
        for (const EcuLosses& ecu : ecus) {
            sum += ecu.total();
        }
        return sum;
    }
};

}  // namespace host
