/// @file
/// What frames take of a bus.
#pragma once

#include "host/ConfigRecords.h"
#include "sim/Frame.h"

#include <cstdint>

namespace host {

/// A share of the time of a bus. The content of a frame decides how many stuff bits it has.
struct BusShare {
    double framesPerSecond = 0.0;
    double averagePercent = 0.0;  ///< with the stuff bits of random content
    double worstPercent = 0.0;    ///< with as many stuff bits as there can be

    BusShare& operator+=(const BusShare& other);
};

/// The share of frames that look like @p shape, whose content is not looked at.
/// @param perSecond  how many there are
[[nodiscard]] BusShare shareOf(const sim::Frame& shape, double perSecond, const BusRecord& bus);

/// A frame of @p ecu without content. @param length  bytes; at most 8, with CAN FD 64
[[nodiscard]] sim::Frame frameShape(const EcuRecord& ecu, std::uint32_t id, std::size_t length);

}  // namespace host
