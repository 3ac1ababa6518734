/// @file
/// Records of a DAQ plan: which variable travels in which ODT of which DAQ list.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

/// One contiguous run of bytes of one variable within an ODT.
struct DaqOdtEntry {
    std::string name;                   ///< the variable's name
    std::uint8_t type = 255;            ///< the variable's type; XCP sends it as BIT_OFFSET
    std::uint32_t size = 0;             ///< bytes of this piece
    std::uint8_t addressExtension = 0;  ///< address extension
    std::uint32_t address = 0;          ///< first address of this piece
    std::uint8_t fragment = 0;          ///< ordinal of this piece within the variable, from 0
    std::uint8_t offset = 0;            ///< position within the ODT, behind the identification field
    std::vector<std::uint8_t> data;     ///< the piece's bytes; empty in a plan
};

/// One ODT (object descriptor table): the content of one DAQ frame.
struct DaqOdtPlan {
    std::uint8_t size = 0;             ///< bytes of payload used
    std::uint8_t isFirst = 0;          ///< flag: the first ODT that was planned for its list
    std::vector<DaqOdtEntry> entries;  ///< in payload order
};

/// One DAQ list.
struct DaqListPlan {
    std::uint16_t event = 0;       ///< event channel that triggers the list
    std::uint8_t firstPid = 0;     ///< PID of the first ODT
    std::uint8_t lastPid = 0;      ///< `firstPid` plus the number of ODTs minus 1, in 8 bits
    std::uint8_t maxOdt = 0;       ///< the list's capacity in ODTs; 0 is no limit (XCP)
    std::vector<DaqOdtPlan> odts;  ///< in PID order
    std::uint8_t predefined = 0;   ///< flag: the ECU predefines this list; always 0 for CCP
};

/// Event channel number to DAQ list number to the names of the variables whose last piece lies in that list.
using DaqFinishedNames = std::map<std::uint16_t, std::map<std::uint16_t, std::list<std::string>>>;
