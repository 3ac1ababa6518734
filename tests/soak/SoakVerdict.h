/// @file
/// What was wrong in a soak.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace soak {

/// Collects faults, and of the library's log lines those of levels 3 and 4 that nobody announced. Any thread.
class SoakVerdict {
public:
    static constexpr std::uint32_t kFirstBadLevel = 3;
    static constexpr std::size_t kMostKept = 20;

    void blame(const std::string& fault);

    /// The script is about to do something of which the library logs @p text at @p level, once.
    void announce(std::uint32_t level, const std::string& text);

    /// A line of the library. One that was announced uses the announcement up; of others, those of level 3
    /// and above are faults.
    void onLog(std::uint32_t level, const std::string& text);

    /// Announced lines that never came are faults.
    void blameUnused();

    [[nodiscard]] bool held() const;
    /// The first `kMostKept` faults, oldest first.
    [[nodiscard]] std::vector<std::string> faults() const;
    /// How many there were.
    [[nodiscard]] std::size_t faultCount() const;
    /// Log lines of level 3 and above that were announced and came.
    [[nodiscard]] std::uint64_t announcedLines() const;

private:
    using Line = std::pair<std::uint32_t, std::string>;

    void add(const std::string& fault);

    mutable std::mutex m_mutex;  ///< guards all below
    std::vector<std::string> m_faults;
    std::size_t m_faultCount = 0;
    std::map<Line, std::uint64_t> m_announced;
    std::uint64_t m_announcedLines = 0;
};

}  // namespace soak
