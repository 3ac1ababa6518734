#include "tests/sweep/Evidence.h"

#include "tests/support/HexText.h"

#include <algorithm>
#include <utility>

namespace sweep {
namespace {

using std::chrono::milliseconds;
using Kind = WireEntry::Kind;

constexpr std::uint8_t kPositive = 0xFF;
constexpr std::uint8_t kXcpError = 0xFE;
constexpr std::uint8_t kXcpUpload = 0xF5;
constexpr std::uint8_t kCcpUpload = 0x04;
/// Commands of XCP that go on with a block.
const std::set<std::uint8_t> kContinuations = {0xEF, 0xCA};
/// What a block begins with.
const std::set<std::uint8_t> kBlockStarts = {0xF0, 0xD0};

// Return codes of CCP that the library knows.
const std::set<std::uint8_t> kCcpRefusals = {0x10, 0x11, 0x12, 0x18, 0x19, 0x20, 0x21, 0x22, 0x23};
const std::set<std::uint8_t> kCcpEndings = {0x30, 0x32, 0x33, 0x34, 0x35, 0x36, 0x80};

/// One sending of a command, all frames of a block taken together.
struct Attempt {
    enum class Fate : std::uint8_t { done, refused, ended, silent };

    Bytes request;
    std::size_t frames = 1;
    std::vector<Bytes> answers{};
    Moment begin{};
    Moment end{};  ///< when the library went on, or later
    Fate fate = Fate::silent;
    bool unsure = false;  ///< more or other answers than one that decides
};

using Fate = Attempt::Fate;

bool continues(const Attempt& last, const Bytes& request) {
    return kContinuations.contains(request[0]) &&
           (kBlockStarts.contains(last.request[0]) || kContinuations.contains(last.request[0]));
}

/// @param stray  set if an answer came that nobody had asked for
std::vector<Attempt> attemptsOf(const std::vector<WireEntry>& entries, std::size_t from, std::size_t to,
                                bool xcp, bool& stray) {
    std::vector<Attempt> attempts;
    for (std::size_t i = from; i < to; ++i) {
        const WireEntry& entry = entries[i];
        if (entry.kind == Kind::answer) {
            stray = stray || attempts.empty();
            if (!attempts.empty()) {
                attempts.back().answers.push_back(entry.bytes);
            }
        } else if (entry.kind == Kind::request) {
            if (!attempts.empty()) {
                attempts.back().end = entry.moment;
            }
            if (xcp && !attempts.empty() && continues(attempts.back(), entry.bytes)) {
                ++attempts.back().frames;
                attempts.back().begin = entry.moment;
            } else {
                attempts.push_back({.request = entry.bytes, .begin = entry.moment});
            }
        }
    }
    if (!attempts.empty()) {
        attempts.back().end = entries[to].moment;
    }
    return attempts;
}

/// ERR_CMD_SYNCH counts as done though the ECU did nothing.
void judgeXcp(Attempt& attempt) {
    std::size_t carried = 0;
    for (const Bytes& answer : attempt.answers) {
        if (attempt.fate == Fate::refused) {
            attempt.unsure = true;
        } else if (answer[0] == kPositive) {
            attempt.unsure =
                attempt.unsure || (attempt.fate == Fate::done && attempt.request[0] != kXcpUpload);
            attempt.fate = Fate::done;
            carried += answer.size() - 1;
        } else if (answer[0] == kXcpError) {
            const bool synch = answer.size() < 2 || answer[1] == 0;
            const bool busy = !synch && (answer[1] == 0x10 || answer[1] == 0x12);
            attempt.unsure = attempt.unsure || synch || attempt.fate == Fate::done;
            attempt.fate = busy ? attempt.fate : synch ? Fate::done : Fate::refused;
        }
    }
    if (attempt.request[0] == kXcpUpload && attempt.fate == Fate::done && carried < attempt.request[1]) {
        attempt.unsure = true;
    }
}

/// An error is taken whatever its counter says. Codes that the library does not know count as done though the
/// ECU did nothing.
void judgeCcp(Attempt& attempt) {
    bool decided = false;
    for (const Bytes& answer : attempt.answers) {
        if (answer.size() < 2 || answer[0] != kPositive) {
            continue;
        }
        const std::uint8_t code = answer[1];
        if (code != 0) {
            attempt.unsure = attempt.unsure || decided;
        } else if (answer.size() < 3 || answer[2] != attempt.request[1]) {
            continue;
        }
        if (!decided) {
            const bool isKnown = kCcpRefusals.contains(code) || kCcpEndings.contains(code);
            attempt.fate = kCcpRefusals.contains(code)  ? Fate::refused
                           : kCcpEndings.contains(code) ? Fate::ended
                                                        : Fate::done;
            attempt.unsure = attempt.unsure || (code != 0 && !isKnown);
            decided = true;
        }
    }
}

/// One command with its repeats, from attempt @p first up to but not including @p end.
struct Group {
    std::size_t first;
    std::size_t end;
};

bool isRepeated(const Attempt& attempt, bool xcp) {
    return attempt.frames == 1 && attempt.request[0] != (xcp ? kXcpUpload : kCcpUpload);
}

std::vector<Group> groupsOf(const std::vector<Attempt>& attempts, bool xcp) {
    std::vector<Group> groups;
    for (std::size_t i = 0; i < attempts.size(); ++i) {
        const bool repeats = i > 0 && attempts[i].request == attempts[i - 1].request &&
                             attempts[i - 1].fate != Fate::done && isRepeated(attempts[i], xcp);
        if (repeats) {
            groups.back().end = i + 1;
        } else {
            groups.push_back({i, i + 1});
        }
    }
    return groups;
}

/// Repeats that a command may have after its first attempt.
std::size_t repeatsAfter(const Attempt& attempt, const Patience& patience) {
    const bool byCode = !patience.xcp && attempt.fate == Fate::refused;
    return byCode ? 2 : patience.retries;
}

void judgeAttempt(Attempt& attempt, const Patience& patience, Evidence& evidence) {
    if (patience.xcp) {
        judgeXcp(attempt);
    } else {
        judgeCcp(attempt);
    }
    const auto waited = std::chrono::duration_cast<milliseconds>(attempt.end - attempt.begin);
    if (attempt.fate == Fate::silent) {
        if (waited + milliseconds(1) < patience.timeout) {
            evidence.breaches.push_back(support::hexText(attempt.request) + " was given up too early");
        }
    } else {
        // The answer may have come when the library did not wait any more.
        attempt.unsure = attempt.unsure || waited >= patience.timeout;
    }
    evidence.muddled = evidence.muddled || attempt.unsure;
}

/// A command that was not answered may have been run, and so may be run twice.
void judgeGroup(const std::vector<Attempt>& attempts, const Group& group, const Patience& patience,
                Evidence& evidence) {
    const Attempt& first = attempts[group.first];
    const Attempt& last = attempts[group.end - 1];
    const std::size_t repeats = group.end - group.first - 1;
    if (repeats > repeatsAfter(first, patience)) {
        evidence.breaches.push_back(support::hexText(first.request) + " was sent again " +
                                    std::to_string(repeats) + " times");
    }
    const bool single = !isRepeated(last, patience.xcp);
    for (std::size_t i = group.first; i < group.end; ++i) {
        const Fate fate = attempts[i].fate;
        evidence.clean = evidence.clean && fate != Fate::silent && fate != Fate::ended;
        evidence.lost =
            evidence.lost || (!patience.xcp && !single && (fate == Fate::silent || fate == Fate::ended));
    }
    if (last.fate != Fate::done) {
        evidence.clean = false;
        evidence.failed.push_back(first.request[0]);
        evidence.lost = evidence.lost || (last.fate == Fate::silent && !single);
    }
}

std::set<int> allResults(const Operation& operation) {
    std::set<int> all = {0};
    for (const auto& [command, results] : operation.failures) {
        all.insert(results.begin(), results.end());
    }
    return all;
}

}  // namespace

std::vector<std::size_t> resultsIn(const std::vector<WireEntry>& entries) {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].kind == Kind::result) {
            found.push_back(i);
        }
    }
    return found;
}

Evidence judge(const std::vector<WireEntry>& entries, std::size_t from, std::size_t to,
               const Patience& patience) {
    Evidence evidence;
    std::vector<Attempt> attempts = attemptsOf(entries, from, to, patience.xcp, evidence.muddled);
    for (Attempt& attempt : attempts) {
        judgeAttempt(attempt, patience, evidence);
    }
    for (const Group& group : groupsOf(attempts, patience.xcp)) {
        judgeGroup(attempts, group, patience, evidence);
    }
    if (evidence.muddled) {
        evidence.clean = false;
        evidence.breaches.clear();  // what looks like one may belong to another command
    }
    return evidence;
}

/// The first failure that the operation does not pass over decides, unless a link that was given up ends it
/// in one of the commands that were not sent any more.
std::set<int> resultsOf(const Operation& operation, const Evidence& evidence) {
    if (evidence.muddled) {
        return allResults(operation);
    }
    std::set<int> results = {0};
    for (const std::uint8_t command : evidence.failed) {
        const auto row = operation.failures.find(command);
        const std::set<int> codes = row == operation.failures.end() ? std::set<int>{} : row->second;
        if (!codes.contains(0)) {
            return codes;
        }
        results.insert(codes.begin(), codes.end());
    }
    return evidence.lost ? allResults(operation) : results;
}

/// PROGRAM and DOWNLOAD count their last frame as sent even if the ECU refused it; a seed that broke off is
/// used as it stands, which shows at UNLOCK.
const Operations& xcpOperations() {
    static const Operations kOperations = {
        .connect = {"connect", {{0xFF, {3}}, {0xFB, {54}}, {0xFD, {55}}, {0xF8, {11}}, {0xF7, {11}}}},
        .start = {"start",
                  {{0xDA, {16}},
                   {0xF5, {0}},  // names of events
                   {0xD9, {17}},
                   {0xDD, {15}},
                   {0xD7, {0}},
                   {0xD6, {0}},
                   {0xD5, {0}},
                   {0xD4, {0}},
                   {0xD3, {0}},
                   {0xE3, {0}},
                   {0xE2, {0}},
                   {0xE1, {0}},
                   {0xE0, {0}},
                   {0xDE, {0}},
                   {0xDC, {0}}}},
        .stop = {"stop", {{0xDD, {0}}}},
        .calibrate = {"calibrate", {{0xF6, {0}}, {0xF0, {0}}}},
        .read = {"read", {{0xF6, {0}}, {0xF5, {0}}, {0xF4, {0}}}},
        .page = {"page", {{0xEB, {23}}}},
        .copyPage = {"copy page", {{0xE4, {73}}}},
        .upload = {"upload", {{0xEB, {23}}, {0xF6, {37}}, {0xF5, {0, 34}}}},
        .download =
            {"download",
             {{0xD2, {59}}, {0xF6, {35}}, {0xF0, {0, 35}}, {0xD0, {0, 35}}, {0xCF, {64}}, {0xEB, {0}}}},
        .erase = {"erase", {{0xD2, {59}}, {0xF6, {0}}, {0xD1, {0}}, {0xCF, {64}}}},
        .check = {"check", {{0xEB, {0}}, {0xF6, {0}}, {0xF3, {70}}}},
    };
    return kOperations;
}

const Operations& ccpOperations() {
    static const Operations kOperations = {
        .connect = {"connect",
                    {{0x01, {3}},
                     {0x1B, {57, 5}},
                     {0x17, {6}},
                     {0x04, {0}},
                     {0x12, {8}},
                     {0x13, {8}},
                     {0x09, {0}},
                     {0x0D, {0, 3}},
                     {0x0C, {3}}}},
        .start = {"start", {{0x15, {0}}, {0x16, {0}}, {0x06, {0}}}},
        .stop = {"stop", {{0x06, {0}}, {0x08, {0}}}},
        .calibrate = {"calibrate", {{0x02, {0}}, {0x03, {0}}}},
        .read = {"read", {{0x02, {0}}, {0x04, {0}}, {0x0F, {0}}}},
        .page = {"page", {{0x02, {37}}, {0x11, {24}}}},
        .copyPage = {"copy page", {{0x19, {0}}}},
        .upload = {"upload", {{0x02, {37}}, {0x04, {0, 34}}}},
        .download = {"download", {{0x02, {37}}, {0x03, {0}}, {0x18, {0}}}},
        .erase = {"erase", {{0x02, {0}}, {0x10, {0}}}},
        .check = {"check", {{0x02, {0}}, {0x0E, {70}}}},
    };
    return kOperations;
}

}  // namespace sweep
