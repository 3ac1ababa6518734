/// @file
/// What a master must make of an ECU's answers: a model of both protocols that knows frames and counts alone.
#pragma once

#include "tests/sweep/AnsweringEcu.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace sweep {

/// What becomes of one command.
struct Outcome {
    bool done = false;         ///< the command counts as done
    Bytes response{};          ///< the answer that decided; empty if none came
    std::size_t stored = 0;    ///< bytes that transfers moved
    std::uint32_t status = 0;  ///< of the last exchange; 0 as a new object has it, if there was none
    bool lost = false;         ///< the link counts as lost
    std::size_t sends = 0;     ///< frames that went out
    std::size_t warnings = 0;  ///< lines with the text of an error
    Bytes lastResponse{};      ///< XCP: the response that a first attempt got
};

/// Repeats of all models after an exchange without an answer.
inline constexpr std::size_t kRetries = 1;
/// Bytes that transfers of one frame move.
inline constexpr std::uint8_t kTransferSize = 4;

/// XCP, granularity 1.
class XcpModel {
public:
    explicit XcpModel(const Script& script) : m_script(script) {}

    /// A command with its repeats.
    [[nodiscard]] Outcome exchange();
    /// One frame and its response, without repeats, status and link.
    [[nodiscard]] Outcome sendOnce();
    /// UPLOAD frame by frame until all bytes are there.
    [[nodiscard]] Outcome upload();
    /// The same for a caller who wants the response.
    [[nodiscard]] Outcome uploadAndKeep();
    /// One UPLOAD that several responses answer.
    [[nodiscard]] Outcome uploadBlock();

private:
    std::uint32_t attempt();
    std::uint32_t judge(const Bytes& frame);

    const Script& m_script;
    Outcome m_outcome;
};

/// CCP.
class CcpModel {
public:
    explicit CcpModel(const Script& script) : m_script(script) {}

    [[nodiscard]] Outcome exchange();
    /// One frame and its response, without repeats, status and link.
    [[nodiscard]] Outcome sendOnce();

private:
    std::uint32_t attempt();
    [[nodiscard]] static bool isDone(std::uint32_t status);

    const Script& m_script;
    Outcome m_outcome;
};

/// A number that a command function hands out, and where it stands in the response.
struct Field {
    std::uint32_t untouched;     ///< what the caller finds if the command failed
    std::size_t position;        ///< of the first byte, the least significant one
    std::size_t width = 1;       ///< bytes
    bool endsWithFrame = false;  ///< bytes behind the end of the response are left alone, else they are zeros
};

/// @return the number in @p response; behind its end it is zeros
[[nodiscard]] std::uint32_t numberAt(const Bytes& response, std::size_t position, std::size_t width = 1);

using Numbers = std::vector<std::uint32_t>;

/// What most functions return.
[[nodiscard]] inline std::uint32_t zeroIfDone(const Outcome& outcome) {
    return outcome.done ? 0 : 1;
}

/// One command.
template <typename Transmit, typename Model>
struct CommandRow {
    std::string name;
    Bytes request;   ///< the frame that goes out first
    Bytes positive;  ///< a positive answer of 8 bytes
    /// Runs the command on a new object. What it hands out or keeps goes into the numbers.
    std::function<std::uint32_t(Transmit&, Numbers&)> call;
    Outcome (Model::*run)() = &Model::exchange;
    /// What the function returns.
    std::uint32_t (*result)(const Outcome&) = zeroIfDone;
    std::vector<Field> fields{};  ///< the numbers in their order
    /// The numbers of a command that fields cannot describe.
    Numbers (*numbers)(const Outcome&) = nullptr;
    bool slaveBlockMode = false;  ///< XCP: the ECU may answer an UPLOAD with several frames
};

/// For messages of GoogleTest.
template <typename Transmit, typename Model>
std::ostream& operator<<(std::ostream& stream, const CommandRow<Transmit, Model>& row) {
    return stream << row.name;
}

/// @return what the numbers of @p row must be
template <typename Row>
Numbers numbersOf(const Row& row, const Outcome& outcome) {
    if (row.numbers != nullptr) {
        return row.numbers(outcome);
    }
    Numbers expected;
    for (const Field& field : row.fields) {
        const bool isThere =
            outcome.done && (!field.endsWithFrame || field.position < outcome.response.size());
        expected.push_back(isThere ? numberAt(outcome.response, field.position, field.width)
                                   : field.untouched);
    }
    return expected;
}

/// A way to answer a command.
struct AnswerCase {
    std::string name;
    Script script;
};

/// Answers of every length, every code and every kind that there is, each given always, or once and followed
/// by a positive one.
/// @param positive   the command's positive answer
/// @param allFirst   with every first byte, not only some
[[nodiscard]] std::vector<AnswerCase> xcpCases(const Bytes& positive, bool allFirst);
[[nodiscard]] std::vector<AnswerCase> ccpCases(const Bytes& positive);

/// The name of the only case to be run, from the environment; empty for all.
[[nodiscard]] std::string onlyCase();

}  // namespace sweep
