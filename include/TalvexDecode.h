/// @file
/// Analysed CCP and XCP frames: every field by name, for a trace view.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// One analysed field of a frame.
struct mcDecodeField {
    std::string label;        ///< the field's name
    std::string text;         ///< the value as shown to a user
    std::uint32_t value = 0;  ///< the raw value; 0 for byte strings, 0 or 1 for single flags
    bool mark = false;        ///< set for fields that a trace view shows in its short form
};

/// One analysed frame, as `msgDecodeFun` gets it.
struct mcDecodeMsg {
    std::string name;                   ///< title, with its prefix "CTO ", "RES " or "Event "
    std::uint8_t command = 0;           ///< CTO: byte 0. Response: the command answered (CCP), byte 0 (XCP).
                                        ///< Event: the event code
    std::uint64_t timestamp = 0;        ///< time of the frame, microseconds
    std::uint32_t canId = 0;            ///< CAN identifier without flag bits
    std::vector<std::uint8_t> data;     ///< the frame's bytes; empty for events
    std::vector<mcDecodeField> fields;  ///< in the order of the frame's description
    std::string errorText;              ///< empty unless the frame reports an error
};
