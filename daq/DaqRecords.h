/// @file
/// Records of the planners that do not leave the library.
#pragma once

#include <cstdint>

/// One event channel of the ECU, as the planners see it.
struct DaqEventInfo {
    std::uint16_t number = 0;   ///< event channel number
    std::uint16_t cycle = 0;    ///< bare number of the cycle; its unit is not looked at
    std::uint8_t maxLists = 0;  ///< DAQ lists the event can drive; always 0 for CCP, which does not read it
};

/// Where a received DAQ frame belongs.
struct DaqFramePlace {
    std::uint16_t list = 0;  ///< DAQ list number
    std::uint8_t odt = 0;    ///< index of the ODT in its list
    bool isFirst = false;    ///< the frame opens a cycle of the list
};
