/// @file
/// Whether all went as it had to.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace host {

/// Collects the reasons why something is not good.
class Verdict {
public:
    /// Counts a check; adds @p reason if it failed. @return @p holds
    bool require(bool holds, std::string reason) {
        ++m_checks;
        if (!holds) {
            m_reasons.push_back(std::move(reason));
        }
        return holds;
    }

    [[nodiscard]] bool good() const { return m_checks > 0 && m_reasons.empty(); }
    [[nodiscard]] std::size_t checks() const { return m_checks; }
    [[nodiscard]] const std::vector<std::string>& reasons() const { return m_reasons; }

private:
    std::size_t m_checks = 0;
    std::vector<std::string> m_reasons;
};

}  // namespace host
