#include "host/ConfigChecks.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace host {
namespace {

[[noreturn]] void fail(const EcuRecord& ecu, const std::string& key, const std::string& problem) {
    throw ConfigError(ecu.place, "ecu." + key, fmt::format("in \"{}\": {}", ecu.name, problem));
}

void checkIdentity(const ConfigTable& table, const EcuRecord& ecu, const std::vector<EcuRecord>& before) {
    if (ecu.commandId == ecu.responseId) {
        table.fail("response_id", "equals command_id; give two identifiers");
    }
    for (const EcuRecord& other : before) {
        if (other.name == ecu.name) {
            table.fail("name", fmt::format("\"{}\" is the name of another ECU; give each its own", ecu.name));
        }
        const std::set<std::uint32_t> taken{other.commandId, other.responseId};
        if (other.bus == ecu.bus && (taken.count(ecu.commandId) > 0 || taken.count(ecu.responseId) > 0)) {
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
}

std::uint64_t endOf(const SegmentRecord& segment) {
    return std::uint64_t{segment.address} + segment.size;
}

void checkSegments(const EcuRecord& ecu) {
    std::vector<SegmentRecord> sorted = ecu.segments;
    std::sort(sorted.begin(), sorted.end(),
              [](const SegmentRecord& a, const SegmentRecord& b) { return a.address < b.address; });
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        if (endOf(sorted[i]) > 0x1'0000'0000) {
            fail(ecu, "segment",
                 fmt::format("the one at 0x{:X} ends behind the last address", sorted[i].address));
        }
        if (i > 0 && endOf(sorted[i - 1]) > sorted[i].address) {
            fail(ecu, "segment",
                 fmt::format("those at 0x{:X} and 0x{:X} overlap", sorted[i - 1].address, sorted[i].address));
        }
    }
}

bool inSegment(const EcuRecord& ecu, std::uint64_t address, std::uint64_t size) {
    return std::any_of(ecu.segments.begin(), ecu.segments.end(), [&](const SegmentRecord& segment) {
        return address >= segment.address && address + size <= endOf(segment);
    });
}

void checkMemory(const EcuRecord& ecu) {
    for (const SignalRecord& signal : ecu.signals) {
        if (!inSegment(ecu, signal.first.address, signal.size())) {
            fail(ecu, "signals", fmt::format("\"{}\" lies outside the segments", signal.first.name));
        }
    }
    for (const VariableRecord& variable : ecu.variables) {
        if (!ecu.rejects(variable) && !inSegment(ecu, variable.address, variable.size)) {
            fail(ecu, "variables", fmt::format("\"{}\" lies outside the segments", variable.name));
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
    checkSegments(ecu);
    checkMemory(ecu);
    checkSignalOverlap(ecu);
}

}  // namespace host
