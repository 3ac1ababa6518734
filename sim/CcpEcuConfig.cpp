#include "sim/CcpEcuConfig.h"

#include <algorithm>
#include <bitset>
#include <stdexcept>

namespace sim {
namespace {

void require(bool holds, const char* reason) {
    if (!holds) {
        throw std::invalid_argument(reason);
    }
}

void checkLocks(const CcpEcuConfig& config) {
    for (const CcpLock& lock : config.locks) {
        const bool oneBit = lock.resource != 0 && (lock.resource & (lock.resource - 1)) == 0;
        require(oneBit && (lock.resource & config.resources) != 0, "a lock needs one resource of the ECU");
        require(lock.seedLength >= 1 && lock.seedLength <= 4, "a seed must have 1 to 4 bytes");
        require(static_cast<bool>(lock.key), "a lock needs a key function");
    }
}

void checkTexts(const CcpEcuConfig& config) {
    constexpr std::size_t kLongest = 255;
    const auto fits = [](const auto& entry) { return entry.second.result.size() <= kLongest; };
    require(config.id.size() <= kLongest, "the identification must have at most 255 bytes");
    require(std::all_of(config.diagServices.begin(), config.diagServices.end(), fits) &&
                std::all_of(config.actionServices.begin(), config.actionServices.end(), fits),
            "a service must return at most 255 bytes");
}

void checkLists(const CcpEcuConfig& config) {
    std::bitset<ccp::kMaxOdtNumbers> taken;
    require(config.lists.size() <= 256, "more lists than numbers");
    for (const CcpDaqListConfig& list : config.lists) {
        require(list.odts > 0 && list.elementsPerOdt > 0, "a list needs ODTs and elements");
        require(list.firstPid + list.odts <= static_cast<int>(ccp::kMaxOdtNumbers),
                "more ODTs than identifiers");
        require(list.canId || list.idRule == CcpIdRule::taken, "a list that keeps its identifier needs one");
        for (std::size_t pid = list.firstPid; pid < std::size_t{list.firstPid} + list.odts; ++pid) {
            require(!taken.test(pid), "two lists number their ODTs alike");
            taken.set(pid);
        }
        require(std::all_of(list.events.begin(), list.events.end(),
                            [&config](std::uint8_t event) { return event < config.events.size(); }),
                "a list names an event channel that is not there");
    }
}

void checkEvents(const CcpEcuConfig& config) {
    constexpr Time kShortestPeriod = 100'000;
    require(config.events.size() <= 256, "more event channels than numbers");
    for (const CcpEventConfig& event : config.events) {
        require(event.period == 0 || event.period >= kShortestPeriod, "an event period is below 100 us");
    }
    for (const std::uint8_t size : config.elementSizes) {
        require(size >= 1 && size <= ccp::kOdtSize, "an element must have 1 to 7 bytes");
    }
}

void checkMemory(const CcpEcuConfig& config) {
    require(std::all_of(config.memory.begin(), config.memory.end(),
                        [](const MemorySegment& segment) { return segment.pages.size() == 1; }),
            "a segment must have one page");
    Memory trial(config.memory, 1);
    const Flash trialFlash(config.flash, config.memory, trial);  // throws if there can be none like it
    for (const Signal& signal : config.signals) {
        require(trial.poke(MemoryView::ecu, signal.address, signal.extension, signalBytes(signal, 0)) ==
                    MemoryResult::ok,
                "a signal lies outside the memory");
    }
}

}  // namespace

void CcpEcuConfig::check() const {
    require((resources & ~ccp::kAllResources) == 0, "CCP has no such resource");
    require(checksumSize >= 1 && checksumSize <= 4, "a checksum must have 1 to 4 bytes");
    checkLocks(*this);
    checkTexts(*this);
    checkEvents(*this);
    checkLists(*this);
    checkMemory(*this);
}

}  // namespace sim
