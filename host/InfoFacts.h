/// @file
/// What an ECU says of itself beside what the configuration says.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace host {

/// What an ECU answers to a command that it does not know.
inline constexpr const char* kNotSupported = "not supported by the ECU";

/// One line.
struct Fact {
    std::string field;
    std::string ecu;           ///< as the ECU says
    std::string configured{};  ///< as the configuration says; empty if it says nothing
    bool differs = false;      ///< the two do not go together
};

/// All lines of one ECU. One thread.
class InfoFacts {
public:
    /// The configuration says nothing of @p field.
    void tell(std::string field, std::string ecu) { m_facts.push_back({std::move(field), std::move(ecu)}); }

    /// Both have to be equal.
    void compare(std::string field, std::string ecu, std::string configured) {
        const bool differs = ecu != configured;
        m_facts.push_back({std::move(field), std::move(ecu), std::move(configured), differs});
    }

    /// Whether the two go together is known to the caller.
    void add(Fact fact) { m_facts.push_back(std::move(fact)); }

    [[nodiscard]] const std::vector<Fact>& list() const { return m_facts; }

    [[nodiscard]] std::size_t differences() const {
        return static_cast<std::size_t>(
            std::count_if(m_facts.begin(), m_facts.end(), [](const Fact& fact) { return fact.differs; }));
    }

private:
    std::vector<Fact> m_facts;
};

}  // namespace host
