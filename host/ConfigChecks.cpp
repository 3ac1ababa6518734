#include "host/ConfigChecks.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <tuple>

namespace host {
namespace {

[[noreturn]] void fail(const EcuRecord& ecu, const std::string& key, const std::string& problem) {
    throw ConfigError(ecu.place, "ecu." + key, fmt::format("in \"{}\": {}", ecu.name, problem));
}

/// Identifiers that frames of @p ecu carry, those of its own DAQ lists included.
std::set<std::uint32_t> identifiers(const EcuRecord& ecu) {
    std::set<std::uint32_t> ids{ecu.commandId, ecu.responseId};
    for (const DaqListRecord& list : ecu.daq.lists) {
        ids.insert(list.id.value_or(ecu.responseId));
    }
    for (const EventRecord& event : ecu.events) {
        ids.insert(event.ids.begin(), event.ids.end());
    }
    return ids;
}

bool sharesIdentifier(const EcuRecord& a, const EcuRecord& b) {
    const std::set<std::uint32_t> taken = identifiers(a);
    const std::set<std::uint32_t> wanted = identifiers(b);
    return std::any_of(wanted.begin(), wanted.end(),
                       [&taken](std::uint32_t id) { return taken.count(id) > 0; });
}

void checkIdentity(const ConfigTable& table, const EcuRecord& ecu, const std::vector<EcuRecord>& before) {
    if (ecu.commandId == ecu.responseId) {
        table.fail("response_id", "equals command_id; give two identifiers");
    }
    for (const EcuRecord& other : before) {
        if (other.name == ecu.name) {
            table.fail("name", fmt::format("\"{}\" is the name of another ECU; give each its own", ecu.name));
        }
        if (other.bus == ecu.bus && sharesIdentifier(other, ecu)) {
            table.fail("command_id",
                       fmt::format("shares an identifier with \"{}\" on the same bus", other.name));
        }
    }
}

void checkLocks(const EcuRecord& ecu) {
    std::set<std::uint8_t> seen;
    for (const LockRecord& lock : ecu.security.locks) {
        if (!seen.insert(lock.resource).second) {
            fail(ecu, "security.lock", "a resource has two locks; give each resource one");
        }
    }
    if (!ecu.security.locks.empty() && ecu.security.seedKey.empty()) {
        fail(ecu, "security.seed_key", "is missing, so that the locks would stay closed; give one");
    }
}

template <class Records, class NameOf>
void checkUnique(const EcuRecord& ecu, const std::string& key, const Records& records, NameOf nameOf) {
    std::set<std::string> seen;
    for (const auto& record : records) {
        if (!seen.insert(nameOf(record)).second) {
            fail(ecu, key, fmt::format("\"{}\" stands there twice; give each its own name", nameOf(record)));
        }
    }
}

void checkNames(const EcuRecord& ecu) {
    checkUnique(ecu, "signals", ecu.signals, [](const SignalRecord& signal) { return signal.first.name; });
    checkUnique(ecu, "variables", ecu.variables,
                [](const VariableRecord& variable) { return variable.name; });
    checkUnique(ecu, "parameters", ecu.parameters,
                [](const ParameterRecord& parameter) { return parameter.name; });
    for (const ParameterRecord& parameter : ecu.parameters) {
        if (ecu.find(parameter.name) != &parameter) {
            fail(ecu, "parameters",
                 fmt::format("\"{}\" is the name of a variable as well; give each its own", parameter.name));
        }
    }
}

/// The first bytes of packets tell DAQ lists apart, unless the packets name their list.
void checkPids(const EcuRecord& ecu) {
    const unsigned pids = ecu.ccp ? 254 : 252;
    std::set<unsigned> taken;
    for (const DaqListRecord& list : ecu.daq.lists) {
        const unsigned end = list.firstPid + list.odts;
        if (end > pids) {
            fail(ecu, "daq.list",
                 fmt::format("the one from first_pid {} on ends behind {}", list.firstPid, pids - 1));
        }
        for (unsigned pid = list.firstPid; pid < end; ++pid) {
            if (!taken.insert(pid).second) {
                fail(ecu, "daq.list",
                     fmt::format("the one from first_pid {} on shares {} with another", list.firstPid, pid));
            }
        }
    }
}

void checkLists(const EcuRecord& ecu) {
    if (ecu.ccp || (!ecu.daq.dynamic && ecu.daq.idField == 0)) {
        checkPids(ecu);
    }
    for (const DaqListRecord& list : ecu.daq.lists) {
        if (list.id == ecu.commandId) {
            fail(ecu, "daq.list.id", "equals command_id; give another identifier, or none");
        }
    }
    for (const EventRecord& event : ecu.events) {
        if (std::find(event.ids.begin(), event.ids.end(), ecu.commandId) != event.ids.end()) {
            fail(ecu, "event.ids", fmt::format("those of \"{}\" hold command_id; leave it out", event.name));
        }
    }
}

/// A range of addresses.
struct Range {
    std::uint8_t extension = 0;  ///< each has addresses of its own
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

/// @param size  bytes
Range makeRange(const EcuRecord& ecu, std::uint8_t extension, std::uint64_t address, std::uint64_t size) {
    const std::uint64_t addresses = (size + ecu.addressGranularity - 1) / ecu.addressGranularity;
    return {extension, address, address + addresses};
}

Range rangeOf(const EcuRecord& ecu, const SegmentRecord& segment) {
    return makeRange(ecu, segment.extension, segment.address, segment.size);
}

/// The ranges of all segments and of their reference pages, in ascending order.
std::vector<Range> sortedRanges(const EcuRecord& ecu) {
    std::vector<Range> ranges;
    for (const SegmentRecord& segment : ecu.segments) {
        ranges.push_back(rangeOf(ecu, segment));
        if (segment.kind == SegmentKind::calibration && ecu.ccp) {
            ranges.push_back(makeRange(ecu, segment.extension, segment.referenceAddress, segment.size));
        }
    }
    std::sort(ranges.begin(), ranges.end(), [](const Range& a, const Range& b) {
        return std::tie(a.extension, a.begin) < std::tie(b.extension, b.begin);
    });
    return ranges;
}

void checkSegments(const EcuRecord& ecu) {
    const std::vector<Range> sorted = sortedRanges(ecu);
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        if (sorted[i].end > 0x1'0000'0000) {
            fail(ecu, "segment",
                 fmt::format("the one at 0x{:X} ends behind the last address", sorted[i].begin));
        }
        if (i > 0 && sorted[i - 1].extension == sorted[i].extension && sorted[i - 1].end > sorted[i].begin) {
            fail(ecu, "segment",
                 fmt::format("those at 0x{:X} and 0x{:X} overlap", sorted[i - 1].begin, sorted[i].begin));
        }
    }
}

/// The library selects one pair of pages, and sectors of flash have numbers of 8 bits.
void checkKinds(const EcuRecord& ecu) {
    const auto count = [&ecu](SegmentKind kind) {
        return std::count_if(ecu.segments.begin(), ecu.segments.end(),
                             [kind](const SegmentRecord& segment) { return segment.kind == kind; });
    };
    if (count(SegmentKind::calibration) > 1 || count(SegmentKind::flash) > 1) {
        fail(ecu, "segment", "there are two of kind \"calibration\" or \"flash\"; give one of each at most");
    }
    const SegmentRecord* flash = ecu.firstSegment(SegmentKind::flash);
    if (flash != nullptr && flash->size / ecu.flash.sectorSize > 0xFF) {
        fail(ecu, "flash.sector_size",
             fmt::format("makes {} sectors; 255 are allowed", flash->size / ecu.flash.sectorSize));
    }
}

template <class Wanted>
bool inSegment(const EcuRecord& ecu, const Range& wantedRange, Wanted wanted) {
    return std::any_of(ecu.segments.begin(), ecu.segments.end(), [&](const SegmentRecord& segment) {
        const Range range = rangeOf(ecu, segment);
        return wanted(segment.kind) && wantedRange.extension == range.extension &&
               wantedRange.begin >= range.begin && wantedRange.end <= range.end;
    });
}

/// What moves lies in RAM: signals in other memory would spoil what the demo writes there.
void checkSignals(const EcuRecord& ecu) {
    const auto ram = [](SegmentKind kind) { return kind == SegmentKind::ram; };
    for (const SignalRecord& signal : ecu.signals) {
        if (!inSegment(ecu, makeRange(ecu, 0, signal.first.address, signal.size()), ram)) {
            fail(ecu, "signals",
                 fmt::format("\"{}\" lies outside the segments of kind \"ram\"", signal.first.name));
        }
    }
}

void checkVariables(const EcuRecord& ecu) {
    const auto calibration = [](SegmentKind kind) { return kind == SegmentKind::calibration; };
    const auto any = [](SegmentKind) { return true; };
    const auto rangeOfVariable = [&ecu](const VariableRecord& variable) {
        return makeRange(ecu, variable.extension, variable.address, variable.size);
    };
    for (const VariableRecord& variable : ecu.variables) {
        // Without segments nothing is known of the memory.
        const bool placed = ecu.segments.empty() || inSegment(ecu, rangeOfVariable(variable), any);
        if (!ecu.rejects(variable) && !placed) {
            fail(ecu, "variables", fmt::format("\"{}\" lies outside the segments", variable.name));
        }
    }
    for (const ParameterRecord& parameter : ecu.parameters) {
        if (!inSegment(ecu, rangeOfVariable(parameter), calibration)) {
            fail(ecu, "parameters", fmt::format("\"{}\" lies outside the working page", parameter.name));
        }
    }
}

/// Two signals over the same bytes would each spoil what the other shows.
void checkSignalOverlap(const EcuRecord& ecu) {
    std::vector<const SignalRecord*> sorted;
    for (const SignalRecord& signal : ecu.signals) {
        sorted.push_back(&signal);
    }
    std::sort(sorted.begin(), sorted.end(), [](const SignalRecord* a, const SignalRecord* b) {
        return a->first.address < b->first.address;
    });
    for (std::size_t i = 1; i < sorted.size(); ++i) {
        if (sorted[i - 1]->first.address + sorted[i - 1]->size() > sorted[i]->first.address) {
            fail(ecu, "signals",
                 fmt::format("\"{}\" and \"{}\" overlap", sorted[i - 1]->first.name, sorted[i]->first.name));
        }
    }
}

}  // namespace

void checkEcu(const ConfigTable& table, const EcuRecord& ecu, const std::vector<EcuRecord>& before) {
    checkIdentity(table, ecu, before);
    checkLocks(ecu);
    checkNames(ecu);
    checkLists(ecu);
    checkSegments(ecu);
    checkKinds(ecu);
    checkSignals(ecu);
    checkVariables(ecu);
    checkSignalOverlap(ecu);
}

}  // namespace host
