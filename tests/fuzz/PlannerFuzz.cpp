// Any variables planned for any configuration, of both protocols.
#include "tests/fuzz/FuzzConfig.h"
#include "tests/fuzz/FuzzTarget.h"

#include <TalvexPlan.h>

#include <algorithm>
#include <set>

namespace {

using Names = std::set<std::string>;

/// What holds for every ODT, whatever the configuration.
void checkOdt(const DaqOdtPlan& odt, const Names& known) {
    std::uint32_t used = 0;
    for (const DaqOdtEntry& entry : odt.entries) {
        fuzz::require(known.contains(entry.name), "a planned name is a variable's");
        fuzz::require(entry.offset == static_cast<std::uint8_t>(used), "pieces stand one behind the other");
        fuzz::require(entry.data.empty(), "a plan has no data");
        used += entry.size;
    }
    fuzz::require(odt.size == static_cast<std::uint8_t>(used), "an ODT knows its size");
    fuzz::require(used <= 255, "an ODT has no more bytes than 8 bits say");
}

/// Whether the plan of one event can take the place of another one's: the running number of a list may come
/// to a list that is predefined for an event before, and what stood there is replaced.
bool replacesLists(const EcuProtoCfg& cfg) {
    return std::ranges::any_of(cfg.xcp.daqListInfo,
                               [](const auto& list) { return list.second.fixedEvent != 255; });
}

/// Bytes are neither lost nor invented.
void checkBytes(const DaqInfo& info, const std::vector<mcMeasureVariable>& variables) {
    std::uint64_t wanted = 0;
    for (const mcMeasureVariable& variable : variables) {
        wanted += std::uint32_t{variable.size};
    }
    std::uint64_t planned = 0;
    for (const mcMeasureVariable& variable : info.pollVars) {
        planned += std::uint32_t{variable.size};
    }
    for (const auto& [number, list] : info.daqLists) {
        for (const DaqOdtPlan& odt : list.odts) {
            for (const DaqOdtEntry& entry : odt.entries) {
                planned += entry.size;
            }
        }
    }
    fuzz::require(planned == wanted, "every byte is planned once or polled");
}

}  // namespace

void fuzz::run(FuzzInput& input) {
    const bool xcp = input.flag();
    const bool unlimited = input.flag();
    const EcuProtoCfg cfg = drawConfig(input, xcp);
    const std::vector<mcMeasureVariable> variables = drawVariables(input, 40, 0xFFFFFFFF);
    Names known;
    bool sized = true;
    for (const mcMeasureVariable& variable : variables) {
        known.insert(variable.name);
        sized = sized && std::uint32_t{variable.size} != 0;
    }
    const DaqInfo info = getDaqInfo(cfg, variables, unlimited);
    for (const auto& [number, list] : info.daqLists) {
        for (const DaqOdtPlan& odt : list.odts) {
            checkOdt(odt, known);
        }
    }
    for (const mcMeasureVariable& variable : info.pollVars) {
        require(known.contains(variable.name), "a polled name is a variable's");
    }
    if (sized && !replacesLists(cfg)) {
        checkBytes(info, variables);
    }
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    std::vector<Bytes> made;
    for (std::uint8_t protocol = 0; protocol < 2; ++protocol) {
        for (std::uint8_t packMode = 0; packMode < 3; ++packMode) {
            Bytes seed{protocol, 0};
            seed.resize(30, 0);
            seed.push_back(packMode);
            for (std::uint8_t number = 0; number < 40; ++number) {
                seed.insert(seed.end(), {number, 4, 0, 1, number, 1, 0});
            }
            made.push_back(std::move(seed));
        }
    }
    return made;
}

std::vector<fuzz::Bytes> fuzz::words() {
    return {{0xFF},
            {0xF0, 0xFF, 0x00, 0x00, 0x00},
            {0xF0, 0x00, 0x01, 0x00, 0x00},
            {0xF0, 0xFF, 0xFF, 0xFF, 0xFF},
            {0x40},
            {0x80},
            {0xC0}};
}
