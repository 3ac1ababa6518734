#include "host/ConfigChecks.h"

#include "host/DaqPids.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <tuple>

namespace host {
namespace {

[[noreturn]] void fail(const EcuRecord& ecu, const ConfigPlace& place, const std::string& key,
                       const std::string& problem) {
    throw ConfigError(place, "ecu." + key, fmt::format("in \"{}\": {}", ecu.name, problem));
}

/// An identifier of CAN and where it stands.
struct Identifier {
    std::uint32_t id = 0;
    std::string key;  ///< below that of the ECU, "daq.list.id"
    ConfigPlace place;
    bool broadcast = false;  ///< several ECUs may listen to it
};

/// Identifiers that @p ecu sends on or listens to.
std::vector<Identifier> identifiers(const EcuRecord& ecu) {
    std::vector<Identifier> ids{{ecu.commandId, "command_id", ecu.place},
                                {ecu.responseId, "response_id", ecu.place}};
    if (ecu.broadcastId && *ecu.broadcastId != ecu.commandId) {
        ids.push_back({*ecu.broadcastId, "broadcast_id", ecu.place, true});
    }
    for (const DaqListRecord& list : ecu.daq.lists) {
        if (list.id) {
            ids.push_back({*list.id, "daq.list.id", list.place});
        }
    }
    for (const EventRecord& event : ecu.events) {
        for (const std::uint32_t id : event.ids) {
            ids.push_back({id, "event.ids", event.place});
        }
    }
    return ids;
}

/// @param table  of @p ecu
void checkSharing(const ConfigTable& table, const EcuRecord& ecu, const EcuRecord& other) {
    const std::vector<Identifier> taken = identifiers(other);
    for (const Identifier& wanted : identifiers(ecu)) {
        const auto same = std::find_if(taken.begin(), taken.end(), [&wanted](const Identifier& one) {
            return one.id == wanted.id && !(one.broadcast && wanted.broadcast);
        });
        if (same != taken.end()) {
            const bool ofEcu = wanted.key.find('.') == std::string::npos;
            fail(ecu, ofEcu ? table.place(wanted.key) : wanted.place, wanted.key,
                 fmt::format("0x{:X} is the {} of \"{}\" on the same bus; give another identifier", wanted.id,
                             same->key, other.name));
        }
    }
}

void checkIdentity(const ConfigTable& table, const EcuRecord& ecu, const std::vector<EcuRecord>& before) {
    if (ecu.commandId == ecu.responseId) {
        table.fail("response_id", "equals command_id; give two identifiers");
    }
    for (const EcuRecord& other : before) {
        if (other.name == ecu.name) {
            table.fail("name", fmt::format("\"{}\" is the name of another ECU; give each its own", ecu.name));
        }
        if (other.bus == ecu.bus) {
            checkSharing(table, ecu, other);
        }
    }
}

void checkLocks(const EcuRecord& ecu) {
    std::set<std::uint8_t> seen;
    for (const LockRecord& lock : ecu.security.locks) {
        if (!seen.insert(lock.resource).second) {
            fail(ecu, lock.place, "security.lock", "a resource has two locks; give each resource one");
        }
        if (ecu.security.seedKey.empty()) {
            fail(ecu, lock.place, "security.seed_key",
                 "is missing, so that the lock would stay closed; give one");
        }
    }
}

template <class Records, class NameOf>
void checkUnique(const EcuRecord& ecu, const std::string& key, const Records& records, NameOf nameOf) {
    std::set<std::string> seen;
    for (const auto& record : records) {
        if (!seen.insert(nameOf(record)).second) {
            fail(ecu, record.place, key,
                 fmt::format("\"{}\" stands there twice; give each its own name", nameOf(record)));
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
            fail(ecu, parameter.place, "parameters",
                 fmt::format("\"{}\" is the name of a variable as well; give each its own", parameter.name));
        }
    }
}

/// The first bytes of packets tell DAQ lists apart, unless the packets name their list.
void checkPids(const EcuRecord& ecu) {
    std::set<unsigned> taken;
    for (const DaqListRecord& list : ecu.daq.lists) {
        // One without a limit has a packet at least.
        const unsigned end = list.firstPid + std::max(unsigned{list.odts}, 1U);
        if (end > pidEnd(ecu.ccp)) {
            fail(
                ecu, list.place, "daq.list",
                fmt::format("the one from first_pid {} on ends behind {}; give it a lower first_pid or fewer "
                            "odts",
                            list.firstPid, pidEnd(ecu.ccp) - 1));
        }
        for (unsigned pid = list.firstPid; pid < end; ++pid) {
            if (!taken.insert(pid).second) {
                fail(ecu, list.place, "daq.list",
                     fmt::format("the one from first_pid {} on shares {} with another; give each its own "
                                 "first_pid",
                                 list.firstPid, pid));
            }
        }
    }
}

/// The library counts the lists that it fills, and does not count predefined ones. It delivers a predefined
/// list only where that count is the list's own number, which is never so behind other predefined lists.
void checkFixedEvents(const EcuRecord& ecu) {
    std::set<unsigned> fixed;
    for (const DaqListRecord& list : ecu.daq.lists) {
        if (list.fixedEvent) {
            fixed.insert(*list.fixedEvent);
        }
    }
    for (std::size_t number = 1; number < ecu.daq.lists.size(); ++number) {
        const DaqListRecord& list = ecu.daq.lists[number];
        unsigned event = 0;
        while (fixed.count(event) > 0) {
            ++event;
        }
        if (list.fixedEvent && *list.fixedEvent < event) {
            fail(ecu, list.place, "daq.list.fixed_event",
                 fmt::format("the library delivers nothing of list {}, because the events up to \"{}\" all "
                             "have a predefined list; leave fixed_event out",
                             number, ecu.events[*list.fixedEvent].name));
        }
    }
}

void checkLists(const EcuRecord& ecu) {
    if (ecu.ccp || (!ecu.daq.dynamic && ecu.daq.idField == 0)) {
        checkPids(ecu);
    }
    for (const DaqListRecord& list : ecu.daq.lists) {
        if (list.id == ecu.commandId) {
            fail(ecu, list.place, "daq.list.id", "equals command_id; give another identifier, or none");
        }
    }
    for (const EventRecord& event : ecu.events) {
        if (std::find(event.ids.begin(), event.ids.end(), ecu.commandId) != event.ids.end()) {
            fail(ecu, event.place, "event.ids",
                 fmt::format("those of \"{}\" hold command_id; leave it out", event.name));
        }
    }
    checkFixedEvents(ecu);
}

/// A range of addresses.
struct Range {
    std::uint8_t extension = 0;  ///< each has addresses of its own
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    ConfigPlace place{};
};

/// @param size  bytes
Range makeRange(const EcuRecord& ecu, std::uint8_t extension, std::uint64_t address, std::uint64_t size) {
    const std::uint64_t addresses = (size + ecu.addressGranularity - 1) / ecu.addressGranularity;
    return {extension, address, address + addresses, {}};
}

Range rangeOf(const EcuRecord& ecu, const SegmentRecord& segment) {
    Range range = makeRange(ecu, segment.extension, segment.address, segment.size);
    range.place = segment.place;
    return range;
}

/// The ranges of all segments and of their reference pages, in ascending order.
std::vector<Range> sortedRanges(const EcuRecord& ecu) {
    std::vector<Range> ranges;
    for (const SegmentRecord& segment : ecu.segments) {
        ranges.push_back(rangeOf(ecu, segment));
        if (segment.kind == SegmentKind::calibration && ecu.ccp) {
            ranges.push_back(makeRange(ecu, segment.extension, segment.referenceAddress, segment.size));
            ranges.back().place = segment.place;
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
            fail(ecu, sorted[i].place, "segment",
                 fmt::format("the one at 0x{:X} ends behind the last address; move or shorten it",
                             sorted[i].begin));
        }
        if (i > 0 && sorted[i - 1].extension == sorted[i].extension && sorted[i - 1].end > sorted[i].begin) {
            fail(ecu, sorted[i].place, "segment",
                 fmt::format("those at 0x{:X} and 0x{:X} overlap; move or shorten one", sorted[i - 1].begin,
                             sorted[i].begin));
        }
    }
}

/// The library selects one pair of pages.
void checkKinds(const EcuRecord& ecu) {
    const SegmentRecord* first = ecu.firstSegment(SegmentKind::calibration);
    for (const SegmentRecord& segment : ecu.segments) {
        if (segment.kind == SegmentKind::calibration && &segment != first) {
            fail(ecu, segment.place, "segment",
                 "there are two of kind \"calibration\"; give one at most, and the others as \"ram\"");
        }
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
            fail(ecu, signal.place, "signals",
                 fmt::format("\"{}\" lies outside the segments of kind \"ram\"; move it into one",
                             signal.first.name));
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
            fail(ecu, variable.place, "variables",
                 fmt::format("\"{}\" lies outside the segments; move it into one, or add a segment",
                             variable.name));
        }
    }
    for (const ParameterRecord& parameter : ecu.parameters) {
        if (!inSegment(ecu, rangeOfVariable(parameter), calibration)) {
            fail(ecu, parameter.place, "parameters",
                 fmt::format("\"{}\" lies outside the working page; move it into the segment of kind "
                             "\"calibration\"",
                             parameter.name));
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
        const SignalRecord& before = *sorted[i - 1];
        if (before.first.address + before.size() > sorted[i]->first.address) {
            fail(
                ecu, sorted[i]->place, "signals",
                fmt::format("\"{}\" and \"{}\" overlap; move one", before.first.name, sorted[i]->first.name));
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
