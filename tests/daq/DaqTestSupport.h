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
#include <utility>
#include <vector>

#include <gtest/gtest.h>

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

/// Plans the lists that a test describes in `m_cfg`.
template <typename Daq>
class PlanTest : public testing::Test {
protected:
    void plans(const std::vector<mcMeasureVariable>& variables, bool unlimited = false) {
        m_daq.reset();
        m_daq.configure(m_cfg);
        m_daq.assignVariables(variables);
        m_daq.planLists(unlimited);
    }

    /// The plan as "0:e3[a@0:4 | b@0:1] 1:e3[]".
    std::string lists() const {
        std::string shown;
        for (const auto& [number, plan] : m_daq.m_daqLists) {
            shown += (shown.empty() ? "" : " ") + std::to_string(number) + ":e" + std::to_string(plan.event) +
                     "[" + text(plan.odts) + "]";
        }
        return shown;
    }

    /// The names as "e3{0:a b 1:c}".
    std::string names() const {
        std::string shown;
        for (const auto& [number, lists] : m_daq.m_finishedNames) {
            shown += (shown.empty() ? "e" : " e") + std::to_string(number) + "{";
            for (const auto& [list, finished] : lists) {
                shown += (shown.back() == '{' ? "" : " ") + std::to_string(list) + ":" + text(finished);
            }
            shown += "}";
        }
        return shown;
    }

    std::string polled() const { return text(m_daq.m_pollVars); }

    EcuProtoCfg m_cfg;
    Daq m_daq;
};

/// Packs one list.
template <typename Daq>
class PackTest : public testing::Test {
protected:
    /// @param limits  what the planner's `packOdts` takes ahead of the variables
    template <typename... Limits>
    std::string packsWithin(std::vector<mcMeasureVariable> variables, bool unlimited, Limits... limits) {
        m_variables = std::move(variables);
        m_odts = m_daq.packOdts(limits..., m_variables, m_names, unlimited);
        return text(m_odts);
    }

    std::string left() const { return text(m_variables); }
    std::string names() const { return text(m_names); }

    Daq m_daq;
    std::vector<mcMeasureVariable> m_variables;
    std::list<std::string> m_names;
    std::vector<DaqOdtPlan> m_odts;
};

/// The same in one pack mode. @tparam Pack  a `PackTest`
template <typename Pack, std::uint8_t mode>
class PackModeTest : public Pack {
protected:
    PackModeTest() { this->m_daq.m_packMode = mode; }
};

/// Takes DTOs by a plan made by hand.
template <typename Daq>
class DecodeTest : public testing::Test {
protected:
    /// A list of event 1 that finishes @p names.
    void list(std::uint16_t number, std::uint8_t firstPid, std::vector<DaqOdtPlan> odts,
              std::list<std::string> names) {
        const auto lastPid = static_cast<std::uint8_t>(firstPid + odts.size() - 1);
        m_daq.m_daqLists[number] = {1, firstPid, lastPid, 0, std::move(odts), 0};
        m_daq.m_finishedNames[1][number] = std::move(names);
    }

    std::string decodes(const msgBuf& one) { return text(m_daq.decodeDto(one)); }

    Daq m_daq;
};

}  // namespace daq_test
