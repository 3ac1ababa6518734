#include "ccp/CcpDaq.h"

#include "tests/daq/PlanProperties.h"

#include <gtest/gtest.h>

#include <deque>

namespace {

using daq_test::Dice;
using daq_test::text;

/// A slow planner for valid pack modes that moves variables about one by one, to hold the fast one against.
class SlowCcpPlanner {
public:
    explicit SlowCcpPlanner(const EcuProtoCfg& cfg) : m_cfg(cfg) {}

    DaqInfo plan(const std::vector<mcMeasureVariable>& variables) {
        std::map<std::uint16_t, std::deque<mcMeasureVariable>> waiting;
        for (const mcMeasureVariable& one : variables) {
            const std::uint16_t event = one.event;
            waiting[event].push_back(one);
        }
        for (auto& [event, queue] : waiting) {
            planEvent(event, queue);
            m_info.pollVars.insert(m_info.pollVars.end(), queue.begin(), queue.end());
        }
        return m_info;
    }

private:
    void planEvent(std::uint16_t event, std::deque<mcMeasureVariable>& queue) {
        auto& names = m_info.finishedNames[event];
        const int limit = m_cfg.ccp.daqListLimit & 0xFF;
        while (!queue.empty() && m_next < 124 && (limit == 0 || m_next < limit)) {
            const auto number = static_cast<std::uint16_t>(m_next++);
            const CcpDaqListCfg& list = m_cfg.ccp.daqLists[number];
            bool suits = list.events.empty();
            for (const std::uint8_t one : list.events) {
                suits = suits || one == event;
            }
            if (suits) {
                const auto odts = pack(list.odtCount, queue, names[number]);
                m_info.daqLists[number] = {
                    event,         list.firstPid, static_cast<std::uint8_t>(list.firstPid + odts.size() - 1),
                    list.odtCount, odts,          0};
            }
        }
    }

    std::vector<DaqOdtPlan> pack(int budget, std::deque<mcMeasureVariable>& queue,
                                 std::list<std::string>& names) {
        const std::uint32_t capacity = m_cfg.maxCto == 1 ? 7U : m_cfg.maxCto - 1U;
        std::vector<DaqOdtPlan> odts;
        std::deque<mcMeasureVariable> deferred;
        while (!queue.empty() && static_cast<int>(odts.size()) < budget) {
            DaqOdtPlan odt;
            odt.isFirst = odts.empty() ? 1 : 0;
            std::uint32_t left = capacity;
            while (!queue.empty() && left != 0) {
                mcMeasureVariable& front = queue.front();
                std::uint32_t piece = 1;
                const bool isTooLarge = (m_cfg.ccp.packMode == 0 && front.size >= capacity) ||
                                        (m_cfg.ccp.packMode == 2 && front.size > 255);
                if (isTooLarge) {
                    deferred.push_back(front);
                    queue.pop_front();
                    continue;
                }
                if (m_cfg.ccp.packMode == 0) {
                    piece = front.size;
                    if (piece > left) {
                        break;
                    }
                } else if (m_cfg.ccp.packMode == 2) {
                    piece = front.size < left ? std::uint32_t{front.size} : left;
                }
                DaqOdtEntry entry = daq_test::entry(front.name, front.fragment, odt.size, piece);
                entry.address = front.address;
                odt.entries.push_back(entry);
                front.fragment = static_cast<std::uint8_t>(front.fragment + 1);
                front.address = front.address + piece;
                front.size = front.size - piece;
                odt.size = static_cast<std::uint8_t>(odt.size + piece);
                left -= piece;
                if (front.size == 0) {
                    names.push_back(front.name);
                    queue.pop_front();
                }
            }
            if (!odt.entries.empty()) {
                odts.push_back(odt);
            }
        }
        queue.insert(queue.end(), deferred.begin(), deferred.end());
        return odts;
    }

    EcuProtoCfg m_cfg;
    DaqInfo m_info;
    int m_next = m_cfg.ccp.firstDaqList;
};

EcuProtoCfg drawConfig(Dice& dice) {
    EcuProtoCfg cfg;
    cfg.protoType = 0;
    cfg.maxCto = dice.oneOf<std::uint8_t>({8, 8, 5, 1, 64});
    cfg.ccp.packMode = dice.below(3);
    cfg.ccp.firstDaqList = dice.oneOf<std::uint16_t>({0, 0, 1, 122});
    cfg.ccp.daqListLimit = dice.oneOf<std::uint16_t>({0, 3, 6, 20});
    for (std::uint32_t count = dice.below(8); count > 0; --count) {
        CcpDaqListCfg& list = cfg.ccp.daqLists[static_cast<std::uint16_t>(dice.below(8))];
        list.odtCount = dice.oneOf<std::uint8_t>({0, 1, 2, 3, 5, 20});
        list.firstPid = static_cast<std::uint8_t>(dice.below(256));
        list.events = dice.oneOf<std::vector<std::uint8_t>>({{}, {}, {1}, {2, 3}});
    }
    return cfg;
}

TEST(CcpDaqModel, PlansLikeASlowPlannerThatMovesVariablesOneByOne) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Dice dice(seed);
    for (int round = 0; round < 3000; ++round) {
        const EcuProtoCfg cfg = drawConfig(dice);
        const auto variables = dice.variables(40, {1, 2, 3, 257});
        ASSERT_EQ(text(getDaqInfo(cfg, variables, false)), text(SlowCcpPlanner(cfg).plan(variables)))
            << "round " << round;
    }
}

TEST(CcpDaqModel, PlansEveryByteOnceAndFillsNoOdtAboveItsFrame) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Dice dice(seed);
    for (int round = 0; round < 1000 && !testing::Test::HasFailure(); ++round) {
        const EcuProtoCfg cfg = drawConfig(dice);
        const auto variables = dice.variables(60, {1, 2, 3});
        const auto room = static_cast<std::uint8_t>(cfg.maxCto == 1 ? 7 : cfg.maxCto - 1);
        daq_test::expectEveryByteOnce(getDaqInfo(cfg, variables, false), variables, room, room);
    }
}

}  // namespace
