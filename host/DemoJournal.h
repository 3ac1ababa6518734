/// @file
/// What all steps of a demo share: the clock, the output and the verdict.
#pragma once

#include "host/Output.h"
#include "host/Session.h"
#include "host/Verdict.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace host {

/// How a step ended is told in a line with the time since the start. One thread.
class DemoJournal {
public:
    /// No command of the demo takes longer, however busy the machine is.
    static constexpr std::chrono::milliseconds kPatience{60'000};

    /// @param output  must outlive the object
    explicit DemoJournal(Output& output) : m_output(output) {}

    /// Prints the line of a step.
    void say(const std::string& step, const std::string& text);

    /// Shows how far a step is, on a terminal only.
    void sayProgress(const std::string& step, const std::string& text, std::uint32_t percent);

    /// Counts a check; adds @p reason to the verdict if it failed. @return @p holds
    bool require(bool holds, std::string reason) { return m_verdict.require(holds, std::move(reason)); }

    /// There is nobody left who wants to see the rest.
    [[nodiscard]] bool givenUp() const;

    /// Waits for the result of a command. One that does not come goes into the verdict.
    /// @param meanwhile  called now and then
    [[nodiscard]] std::optional<TaskResult> awaitAny(Session& session, std::uint32_t command,
                                                     const std::string& what,
                                                     const std::function<void()>& meanwhile);

    /// As `awaitAny`, and another code than 0 goes into the verdict as well.
    [[nodiscard]] std::optional<TaskResult> await(Session& session, std::uint32_t command,
                                                  const std::string& what);

    /// Checks a result code of the library. @return whether it is 0
    bool requireSuccess(const std::string& what, std::uint32_t code);

    [[nodiscard]] Verdict& verdict() { return m_verdict; }

private:
    [[nodiscard]] std::string line(const std::string& step, const std::string& text) const;

    Output& m_output;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    Verdict m_verdict;
};

}  // namespace host
