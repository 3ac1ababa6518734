// What the tests of seed and key share.
#pragma once

#include "tests/host/Places.h"

#include "host/SeedKeyLoader.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace host_test {

// Long enough for a helper on a machine that does other things too.
inline constexpr std::uint32_t kPatientMs = 60'000;

// The path of a library with faults: "faults", "crash_at_load" or "missing_symbol".
inline std::string badLibrary(const std::string& name) {
    return std::string(host_test::kSeedKeyBad) + "/" + name + ".so";
}

inline host::SeedKeySource sourceOf(const std::string& path, const std::string& entry = "",
                                    bool ccp = false) {
    host::SeedKeySource source;
    source.path = path;
    source.entry = entry;
    source.ccp = ccp;
    source.timeMs = kPatientMs;
    source.helper = host_test::kSeedKeyProgram;
    return source;
}

// A function of the library with faults.
inline host::SeedKeySource faulty(const std::string& entry, bool ccp = false) {
    return sourceOf(badLibrary("faults"), entry, ccp);
}

// Keeps what the loader complains about. Any thread.
class Complaints {
public:
    host::SeedKeyComplaint taker() {
        return [this](const std::string& text) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_texts.push_back(text);
        };
    }

    std::vector<std::string> texts() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_texts;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_texts;
};

}  // namespace host_test
