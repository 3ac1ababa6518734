/// @file
/// Verbs of the planner tests: make variables and frames, show plans and values as text.
#pragma once

#include "TalvexDaq.h"
#include "TalvexRecords.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <list>
#include <string>
#include <vector>

namespace daq_test {

/// A packed number of a variable by value: no reference may be bound to it.
template <typename Number>
constexpr Number copied(Number number) {
    return number;
}

inline mcMeasureVariable variable(const std::string& name, std::uint32_t size, std::uint16_t event = 0,
                                  std::uint16_t period = 0) {
    mcMeasureVariable made;
    made.name = name;
    made.size = size;
    made.address = 0x1000;
    made.event = event;
    made.period = period;
    return made;
}

/// An entry as "name#fragment@offset:size"; fragment 0 is left out.
inline std::string text(const DaqOdtEntry& entry) {
    const std::string fragment = entry.fragment == 0 ? "" : "#" + std::to_string(entry.fragment);
    return entry.name + fragment + "@" + std::to_string(entry.offset) + ":" + std::to_string(entry.size);
}

/// ODTs as "a@0:4 b@4:2 | c@0:4".
inline std::string text(const std::vector<DaqOdtPlan>& odts) {
    std::string shown;
    for (const DaqOdtPlan& odt : odts) {
        shown += shown.empty() ? "" : " |";
        for (const DaqOdtEntry& entry : odt.entries) {
            shown += (shown.empty() ? "" : " ") + text(entry);
        }
    }
    return shown;
}

/// Variables as "a:4 b:2", with what is left of their size.
inline std::string text(const std::vector<mcMeasureVariable>& variables) {
    std::string shown;
    for (const mcMeasureVariable& one : variables) {
        shown += (shown.empty() ? "" : " ") + one.name + ":" + std::to_string(copied(one.size));
    }
    return shown;
}

inline std::string text(const std::list<std::string>& names) {
    std::string shown;
    for (const std::string& name : names) {
        shown += (shown.empty() ? "" : " ") + name;
    }
    return shown;
}

/// Values as "a@100=1,2 b@100=3": name, time, bytes.
inline std::string text(const std::vector<mcMeasureVariableValue>& values) {
    std::string shown;
    for (const mcMeasureVariableValue& value : values) {
        shown += (shown.empty() ? "" : " ") + value.name + "@" + std::to_string(value.time) + "=";
        for (std::size_t i = 0; i < value.data.size(); ++i) {
            shown += (i == 0 ? "" : ",") + std::to_string(value.data[i]);
        }
    }
    return shown;
}

/// Piece of a cycle with its bytes.
inline DaqOdtEntry piece(const std::string& name, std::uint8_t fragment, std::vector<std::uint8_t> data) {
    DaqOdtEntry made;
    made.name = name;
    made.fragment = fragment;
    made.size = static_cast<std::uint32_t>(data.size());
    made.data = std::move(data);
    return made;
}

/// Entry of a plan.
inline DaqOdtEntry entry(const std::string& name, std::uint8_t fragment, std::uint8_t offset,
                         std::uint32_t size) {
    DaqOdtEntry made;
    made.name = name;
    made.fragment = fragment;
    made.offset = offset;
    made.size = size;
    return made;
}

inline DaqOdtPlan odt(std::vector<DaqOdtEntry> entries) {
    DaqOdtPlan made;
    for (const DaqOdtEntry& one : entries) {
        made.size = static_cast<std::uint8_t>(made.size + one.size);
    }
    made.entries = std::move(entries);
    return made;
}

inline msgBuf frame(std::uint64_t time, std::initializer_list<int> bytes) {
    msgBuf made;
    made.time = time;
    made.length = static_cast<std::uint16_t>(bytes.size());
    std::transform(bytes.begin(), bytes.end(), made.data.begin(),
                   [](int byte) { return static_cast<std::uint8_t>(byte); });
    return made;
}

}  // namespace daq_test
