#include "xcp/XcpDaq.h"

#include "tests/daq/PlanProperties.h"

#include <gtest/gtest.h>

#include <deque>

namespace {

using daq_test::Dice;
using daq_test::text;

/// A slow planner for valid pack modes that moves variables about one by one, to hold the fast one against.
class SlowXcpPlanner {
public:
    explicit SlowXcpPlanner(const EcuProtoCfg& cfg) : m_cfg(cfg) {}

    DaqInfo plan(const std::vector<mcMeasureVariable>& variables, bool unlimited) {
        std::map<std::uint16_t, std::deque<mcMeasureVariable>> waiting;
        for (const mcMeasureVariable& one : variables) {
            const std::uint16_t event = one.event;
            waiting[event].push_back(one);
        }
        for (auto& [event, queue] : waiting) {
            planEvent(event, queue, unlimited);
            const auto info = m_cfg.xcp.events.find(event);
            for (mcMeasureVariable& one : queue) {
                one.period = info == m_cfg.xcp.events.end() ? std::uint16_t{100} : info->second.timeCycle;
                m_info.pollVars.push_back(one);
            }
        }
        return m_info;
    }

    std::vector<DaqOdtPlan> pack(int budget, int odtLimit, std::deque<mcMeasureVariable>& variables,
                                 std::list<std::string>& names) const {
        const int later = (m_cfg.xcp.daqKeyByte >> 6) + 1;
        int first = later;
        first += (m_cfg.xcp.daqListMode & 0x08) != 0 && later != 4 ? 1 : 0;
        first += (m_cfg.xcp.daqListMode & 0x10) != 0 ? m_cfg.xcp.timestampMode & 7 : 0;
        int frame = m_cfg.maxDto & 0xFF;
        if (odtLimit != 0 && later + odtLimit <= frame) {
            frame = later + odtLimit;
        }
        std::vector<DaqOdtPlan> odts;
        std::deque<mcMeasureVariable> skipped;
        const auto skip = [&] {
            skipped.push_back(variables.front());
            variables.pop_front();
        };
        bool makesProgress = true;
        while (!variables.empty() && makesProgress) {
            makesProgress = false;
            const int made = static_cast<int>(odts.size());
            const auto room = static_cast<std::uint8_t>(frame - (made == 0 ? first : later));
            DaqOdtPlan odt;
            odt.isFirst = made == 0 ? 1 : 0;
            int left = room;
            while (!variables.empty() && left != 0) {
                mcMeasureVariable& front = variables.front();
                const std::int64_t size = front.size;
                const int odtsLeft = budget - made - 1;
                const int capacity = left + (odtsLeft > 0 ? (frame - later) * odtsLeft : 0);
                int piece = 0;
                if (budget != 0 && made == budget) {
                    skip();
                    makesProgress = true;
                    continue;
                }
                if (m_cfg.xcp.packMode == 0) {
                    if (size >= room) {
                        skip();
                        makesProgress = true;
                        continue;
                    }
                    if (size > left) {
                        break;
                    }
                    piece = static_cast<int>(size);
                } else if ((budget != 0 && size > capacity) || (m_cfg.xcp.packMode == 2 && size > 255)) {
                    skip();
                    makesProgress = true;
                    continue;
                } else {
                    piece = m_cfg.xcp.packMode == 1 ? 1 : std::min<int>(left, static_cast<int>(size));
                }
                DaqOdtEntry entry =
                    daq_test::entry(front.name, front.fragment, odt.size, static_cast<std::uint32_t>(piece));
                entry.address = front.address;
                odt.entries.push_back(entry);
                front.fragment = static_cast<std::uint8_t>(front.fragment + 1);
                front.address = front.address + static_cast<std::uint32_t>(piece);
                front.size = front.size - static_cast<std::uint32_t>(piece);
                odt.size = static_cast<std::uint8_t>(odt.size + piece);
                left -= piece;
                makesProgress = true;
                if (front.size == 0) {
                    names.push_back(front.name);
                    variables.pop_front();
                }
            }
            if (!odt.entries.empty()) {
                odts.push_back(odt);
            }
        }
        variables.insert(variables.end(), skipped.begin(), skipped.end());
        return odts;
    }

private:
    void planEvent(std::uint16_t event, std::deque<mcMeasureVariable>& queue, bool unlimited) {
        const auto eventInfo = m_cfg.xcp.events.find(event);
        const int most = eventInfo == m_cfg.xcp.events.end() ? 100 : eventInfo->second.maxDaqList;
        const int start = m_next;
        m_info.finishedNames[event];
        const int limit = m_cfg.xcp.maxDaq & 0xFF;
        while (!queue.empty() && !(limit != 0 && m_next >= limit) && m_next - start < most) {
            int list = m_next;
            XcpDaqListCfg facts;
            facts.maxOdtEntries = m_cfg.xcp.maxOdtEntrySizeDaq;
            bool isFixed = false;
            for (const auto& [number, info] : m_cfg.xcp.daqListInfo) {
                if (!isFixed && info.fixedEvent == event) {
                    list = number;
                    facts = info;
                    isFixed = true;
                }
            }
            if (!isFixed && m_cfg.xcp.daqListInfo.count(static_cast<std::uint16_t>(list)) != 0) {
                facts = m_cfg.xcp.daqListInfo.at(static_cast<std::uint16_t>(list));
            }
            const auto planned = m_info.daqLists.find(static_cast<std::uint16_t>(list));
            const bool isPlanned = planned != m_info.daqLists.end();
            const int taken = isPlanned ? static_cast<int>(planned->second.odts.size()) : 0;
            if (facts.maxOdt != 0 && taken >= facts.maxOdt) {
                if (isFixed) {
                    return;
                }
                ++m_next;
                continue;
            }
            const int budget = facts.maxOdt == 0 || unlimited ? 0 : facts.maxOdt - taken;
            const std::vector<DaqOdtPlan> odts =
                pack(budget, facts.maxOdtEntries, queue,
                     m_info.finishedNames[event][static_cast<std::uint16_t>(m_next)]);
            if (isFixed && isPlanned) {
                if (odts.empty()) {
                    return;
                }
                planned->second.odts.insert(planned->second.odts.end(), odts.begin(), odts.end());
                continue;
            }
            m_info.daqLists[static_cast<std::uint16_t>(list)] = {
                event, facts.firstPid, 0, facts.maxOdt, odts, static_cast<std::uint8_t>(isFixed ? 1 : 0)};
            m_next += isFixed ? 0 : 1;
        }
    }

    EcuProtoCfg m_cfg;
    DaqInfo m_info;
    int m_next = 0;
};

EcuProtoCfg drawConfig(Dice& dice) {
    EcuProtoCfg cfg;
    cfg.maxDto = dice.oneOf<std::uint16_t>({8, 8, 8, 16, 64, 5, 4, 2, 1});
    cfg.xcp.packMode = dice.below(3);
    cfg.xcp.maxOdtEntrySizeDaq = dice.oneOf<std::uint8_t>({0, 6, 7, 7, 63});
    cfg.xcp.maxDaq = dice.oneOf<std::uint16_t>({0, 1, 4, 20});
    cfg.xcp.daqKeyByte = dice.oneOf<std::uint8_t>({0x00, 0x00, 0x40, 0x80, 0xC0});
    cfg.xcp.daqListMode = dice.oneOf<std::uint8_t>({0, 0, 0x08, 0x10, 0x18});
    cfg.xcp.timestampMode = dice.oneOf<std::uint8_t>({1, 2, 4, 4});
    for (std::uint32_t count = dice.below(6); count > 0; --count) {
        XcpDaqListCfg& info = cfg.xcp.daqListInfo[static_cast<std::uint16_t>(dice.below(8))];
        info.maxOdt = dice.oneOf<std::uint8_t>({0, 1, 2, 3, 5});
        info.maxOdtEntries = dice.oneOf<std::uint8_t>({0, 3, 6, 7});
        info.firstPid = static_cast<std::uint8_t>(dice.below(256));
        info.fixedEvent = dice.oneOf<std::uint8_t>({255, 255, 255, 1, 2});
    }
    for (const std::uint16_t event : {std::uint16_t{1}, std::uint16_t{2}}) {
        if (dice.below(2) == 0) {
            cfg.xcp.events[event].maxDaqList = dice.oneOf<std::uint8_t>({0, 1, 3, 200});
            cfg.xcp.events[event].timeCycle = 20;
        }
    }
    return cfg;
}

TEST(XcpDaqModel, PlansLikeASlowPlannerThatMovesVariablesOneByOne) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Dice dice(seed);
    for (int round = 0; round < 3000; ++round) {
        const EcuProtoCfg cfg = drawConfig(dice);
        const bool unlimited = dice.below(4) == 0;
        const auto variables = dice.variables(40, {1, 2, 3, 255});
        ASSERT_EQ(text(getDaqInfo(cfg, variables, unlimited)),
                  text(SlowXcpPlanner(cfg).plan(variables, unlimited)))
            << "round " << round;
    }
}

TEST(XcpDaqModel, PacksOneListLikeASlowPlannerThatMovesVariablesOneByOne) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Dice dice(seed);
    for (int round = 0; round < 3000; ++round) {
        const EcuProtoCfg cfg = drawConfig(dice);
        const auto budget = dice.oneOf<std::uint8_t>({0, 1, 2, 5});
        const auto odtLimit = dice.oneOf<std::uint8_t>({0, 2, 6, 7});
        std::vector<mcMeasureVariable> variables = dice.variables(30, {1});
        std::deque<mcMeasureVariable> slowVariables(variables.begin(), variables.end());
        std::list<std::string> names;
        std::list<std::string> slowNames;
        XCP_MOUDLE::XcpDaq daq;
        daq.configure(cfg);
        const auto odts = daq.packOdts(budget, odtLimit, variables, names, false);
        const auto slowOdts = SlowXcpPlanner(cfg).pack(budget, odtLimit, slowVariables, slowNames);
        ASSERT_EQ(text(odts), text(slowOdts)) << "round " << round;
        ASSERT_EQ(names, slowNames) << "round " << round;
        ASSERT_EQ(text(variables),
                  text(std::vector<mcMeasureVariable>(slowVariables.begin(), slowVariables.end())))
            << "round " << round;
    }
}

TEST(XcpDaqModel, PlansEveryByteOnceAndFillsNoOdtAboveItsFrame) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Dice dice(seed);
    for (int round = 0; round < 1000 && !testing::Test::HasFailure(); ++round) {
        EcuProtoCfg cfg = drawConfig(dice);
        cfg.maxDto = dice.oneOf<std::uint16_t>({12, 20, 64});
        cfg.xcp.maxOdtEntrySizeDaq = 0;
        for (auto& [number, info] : cfg.xcp.daqListInfo) {
            info.fixedEvent = 254;   // lists of two events would take each other's number
            info.maxOdtEntries = 0;  // a limit below the first header wraps its room
        }
        const auto variables = dice.variables(60, {1, 2, 3});
        const int later = (cfg.xcp.daqKeyByte >> 6) + 1;
        const int counter = (cfg.xcp.daqListMode & 8) != 0 && later != 4 ? 1 : 0;
        const int stamp = (cfg.xcp.daqListMode & 16) != 0 ? cfg.xcp.timestampMode : 0;
        daq_test::expectEveryByteOnce(getDaqInfo(cfg, variables, dice.below(2) == 0), variables,
                                      static_cast<std::uint8_t>(cfg.maxDto - later - counter - stamp),
                                      static_cast<std::uint8_t>(cfg.maxDto - later));
    }
}

TEST(XcpDaqModel, ManyFullListsLeaveTheRestInItsOrder) {
    // Each of 255 lists has a byte left in the end that nothing fits, and nothing goes over all the rest
    // again.
    EcuProtoCfg cfg;
    cfg.xcp.maxDaq = 255;
    cfg.xcp.maxOdtEntrySizeDaq = 7;
    cfg.xcp.events[1].maxDaqList = 255;
    for (std::uint16_t list = 0; list < 255; ++list) {
        cfg.xcp.daqListInfo[list].maxOdt = 3;
        cfg.xcp.daqListInfo[list].maxOdtEntries = 7;
    }
    std::vector<mcMeasureVariable> variables;
    for (int index = 0; index < 20'000; ++index) {
        variables.push_back(daq_test::variable("v" + std::to_string(index), 4, 1));
    }
    const DaqInfo info = getDaqInfo(cfg, variables, false);
    ASSERT_EQ(info.daqLists.size(), 255U);
    EXPECT_EQ(info.pollVars.size(), 20'000U - 255 * 5);
    EXPECT_EQ(info.pollVars.front().name, "v1275");
}

}  // namespace
