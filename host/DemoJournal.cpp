#include "host/DemoJournal.h"

#include "host/Interrupt.h"

#include <TalvexSDK.h>

#include <fmt/format.h>

namespace host {

std::string DemoJournal::line(const std::string& step, const std::string& text) const {
    const double time = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    return fmt::format("{} {} {}", m_output.paint(Colour::dim, fmt::format("{:7.3f} s", time)),
                       m_output.paint(Colour::bold, fmt::format("{:<11}", step)), text);
}

void DemoJournal::say(const std::string& step, const std::string& text) {
    m_output.line(line(step, text));
}

void DemoJournal::sayProgress(const std::string& step, const std::string& text, std::uint32_t percent) {
    constexpr std::size_t kWidth = 30;
    const std::size_t done = percent * kWidth / 100;
    m_output.passing(
        line(step, fmt::format("{} [{:#<{}}{:.<{}}] {:3} %", text, "", done, "", kWidth - done, percent)));
}

bool DemoJournal::givenUp() const {
    return interrupted() || m_output.broken();
}

std::optional<TaskResult> DemoJournal::awaitAny(Session& session, std::uint32_t command,
                                                const std::string& what,
                                                const std::function<void()>& meanwhile) {
    std::optional<TaskResult> result = session.waitResult(command, kPatience, [&] {
        meanwhile();
        return givenUp();
    });
    if (!result && !givenUp()) {
        require(false, fmt::format("{}: taskResultFun({}) did not come", what, command));
    }
    return result;
}

std::optional<TaskResult> DemoJournal::await(Session& session, std::uint32_t command,
                                             const std::string& what) {
    std::optional<TaskResult> result = awaitAny(session, command, what, [] {});
    if (result) {
        requireSuccess(what, result->code);
    }
    return result;
}

bool DemoJournal::requireSuccess(const std::string& what, std::uint32_t code) {
    return require(code == 0, fmt::format("{}: result {}, {}", what, code,
                                          getErrorString(static_cast<std::int32_t>(code))));
}

}  // namespace host
