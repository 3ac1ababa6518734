/// @file
/// What was wrong with the seed and key libraries of some ECUs.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace host {

/// Keeps the last complaint for each ECU. Any thread. The functions that call the libraries share it with who
/// made them: such a function may run on a thread of the SDK behind the end of its host.
class SeedKeyReports {
public:
    /// Takes each complaint as it comes, on the thread of the library's caller, until `close`.
    using Log = std::function<void(const std::string& text)>;

    explicit SeedKeyReports(Log log) : m_log(std::move(log)) {}
    SeedKeyReports(const SeedKeyReports&) = delete;
    SeedKeyReports& operator=(const SeedKeyReports&) = delete;

    /// @param ecu  index of the configuration
    void take(std::size_t ecu, const std::string& text);

    /// Forgets what was wrong: an operation begins.
    void clear(std::size_t ecu);

    /// What was wrong last since `clear`; empty for nothing.
    [[nodiscard]] std::string of(std::size_t ecu) const;

    /// From now on nothing is logged, and calls of a library that are under way end. When it returns the log
    /// is not running any more.
    void close();

    [[nodiscard]] bool closed() const { return m_closed; }

private:
    std::atomic<bool> m_closed{false};
    mutable std::mutex
        m_mutex;  ///< guards all below, and is held while the log runs, which locks its own only
    Log m_log;
    std::map<std::size_t, std::string> m_texts;  ///< by ECU
};

}  // namespace host
