/// @file
/// What results an operation may have after what went over the wire.
#pragma once

#include "tests/sweep/Wire.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace sweep {

/// An operation: the results that the failure of each of its commands can make. A result of 0 means that the
/// operation goes on without the command.
struct Operation {
    const char* name;
    std::map<std::uint8_t, std::set<int>> failures;
};

// The operations of one protocol.
struct Operations {
    Operation connect, start, stop, calibrate, read, page, copyPage, upload, download, erase, check;
};

[[nodiscard]] const Operations& xcpOperations();
[[nodiscard]] const Operations& ccpOperations();

/// How the library was configured.
struct Patience {
    bool xcp = true;
    std::chrono::milliseconds timeout{0};
    std::size_t retries = 0;
};

/// What a part of the wire's entries, from one result to the next, says about an operation.
struct Evidence {
    bool clean = true;     ///< each command was answered positively at its first or a repeated attempt, and
                           ///< none was run by the ECU without the library's knowing
    bool muddled = false;  ///< answers and commands cannot be told to belong together; all is possible
    bool lost = false;     ///< the library has given up the link, and the rest of the operation with it
    std::vector<std::uint8_t> failed{};   ///< commands that were not done in the end, in order
    std::vector<std::string> breaches{};  ///< what the library did that nothing explains
};

/// @param from, to  the entries of the operation and the result that ends it
[[nodiscard]] Evidence judge(const std::vector<WireEntry>& entries, std::size_t from, std::size_t to,
                             const Patience& patience);

/// @return the results that @p operation may have, ascending
[[nodiscard]] std::set<int> resultsOf(const Operation& operation, const Evidence& evidence);

/// @return where the results stand in @p entries
[[nodiscard]] std::vector<std::size_t> resultsIn(const std::vector<WireEntry>& entries);

}  // namespace sweep
