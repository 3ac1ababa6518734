/// @file
/// What holds for every plan, whatever the configuration.
#pragma once

#include "TalvexPlan.h"
#include "tests/daq/DaqTestSupport.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace daq_test {

/// Draws from a seed that a failing test prints.
class Dice {
public:
    explicit Dice(unsigned seed) : m_random(seed) {}

    std::uint32_t below(std::uint32_t end) { return static_cast<std::uint32_t>(m_random() % end); }

    template <typename Value>
    Value oneOf(std::initializer_list<Value> values) {
        return *(values.begin() + below(static_cast<std::uint32_t>(values.size())));
    }

    /// Variables with names, addresses and bytes of their own.
    std::vector<mcMeasureVariable> variables(std::uint32_t most,
                                             std::initializer_list<std::uint16_t> events) {
        std::vector<mcMeasureVariable> made;
        for (std::uint32_t index = below(most + 1); index > 0; --index) {
            const auto size = oneOf<std::uint32_t>({1, 1, 2, 2, 4, 4, 4, 8, 3, 6, 7, 12, 40, 255, 256});
            made.push_back(variable("v" + std::to_string(made.size()), size, oneOf(events)));
            made.back().address = 0x1000 * (index + 1);
        }
        return made;
    }

private:
    std::mt19937 m_random;
};

/// Every byte of every variable is planned exactly once or left to polling, and no ODT is above its room.
inline void expectEveryByteOnce(const DaqInfo& info, const std::vector<mcMeasureVariable>& variables,
                                std::uint8_t firstRoom, std::uint8_t laterRoom) {
    std::map<std::uint32_t, int> bytes;
    for (const mcMeasureVariable& one : info.pollVars) {
        for (std::uint32_t index = 0; index < one.size; ++index) {
            ++bytes[one.address + index];
        }
    }
    for (const auto& [number, plan] : info.daqLists) {
        for (const DaqOdtPlan& made : plan.odts) {
            std::uint32_t used = 0;
            for (const DaqOdtEntry& one : made.entries) {
                EXPECT_EQ(one.offset, used);
                used += one.size;
                for (std::uint32_t index = 0; index < one.size; ++index) {
                    ++bytes[one.address + index];
                }
            }
            EXPECT_EQ(made.size, used);
            EXPECT_GT(used, 0U);
            EXPECT_LE(used, made.isFirst != 0 ? firstRoom : laterRoom) << "list " << number;
        }
    }
    std::size_t wanted = 0;
    for (const mcMeasureVariable& one : variables) {
        wanted += one.size;
        for (std::uint32_t index = 0; index < one.size; ++index) {
            ASSERT_EQ(bytes[one.address + index], 1) << one.name << " byte " << index;
        }
    }
    EXPECT_EQ(bytes.size(), wanted);
}

/// Everything of a plan as text.
inline std::string text(const DaqInfo& info) {
    std::string shown;
    for (const auto& [number, plan] : info.daqLists) {
        shown += std::to_string(number) + ":e" + std::to_string(plan.event) + " pid " +
                 std::to_string(plan.firstPid) + "-" + std::to_string(plan.lastPid) + " max " +
                 std::to_string(plan.maxOdt) + (plan.predefined != 0 ? " fixed [" : " [") + text(plan.odts) +
                 "]\n";
    }
    for (const auto& [event, lists] : info.finishedNames) {
        shown += "event " + std::to_string(event);
        for (const auto& [number, names] : lists) {
            shown += " " + std::to_string(number) + ":" + text(names);
        }
        shown += "\n";
    }
    for (const mcMeasureVariable& one : info.pollVars) {
        shown += one.name + ":" + std::to_string(one.size) + "/" + std::to_string(one.period) + " ";
    }
    return shown;
}

}  // namespace daq_test
