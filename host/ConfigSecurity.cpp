// Seed and key of an ECU.
#include "host/ConfigEcu.h"
#include "host/ConfigWords.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace host {
namespace {

constexpr NumberRange kSeedLength{1, 124};
constexpr NumberRange kTime{1, 60'000};

/// "sim:" and the like. A single letter is a drive, not a scheme.
bool hasScheme(const std::string& text) {
    const std::size_t colon = text.find(':');
    return colon != std::string::npos && colon > 1 &&
           std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(colon),
                       [](char letter) { return std::isalnum(static_cast<unsigned char>(letter)) != 0; });
}

/// A path of the file, which counts from the folder that the file is in.
std::string readPath(ConfigTable& table, const std::string& key) {
    std::string found = table.text(key, "");
    if (found.empty() || hasScheme(found)) {
        return found;
    }
    const std::filesystem::path folder = std::filesystem::path(table.place().file).parent_path();
    return (folder / found).lexically_normal().string();
}

LockRecord readLock(ConfigTable& table, bool ccp) {
    LockRecord lock;
    lock.place = table.place();
    lock.resource =
        ccp ? readWire(table, "resource", kCcpResources) : readWire(table, "resource", kXcpResources);
    if (!ccp) {
        lock.seedLength = table.as<std::uint8_t>("seed_length", kSeedLength);
    }
    table.finish();
    return lock;
}

}  // namespace

SecurityRecord readSecurity(ConfigTable table, bool ccp) {
    SecurityRecord security;
    security.seedKey = readPath(table, "seed_key");
    security.entry = table.text("entry", "");
    if (table.has("success")) {
        security.zeroIsSuccess = table.word("success", {"zero", "nonzero"}) == 0;
    }
    security.timeMs = table.as<std::uint32_t>("time_ms", kTime, security.timeMs);
    security.helper = readPath(table, "helper");
    if (table.has("unlock")) {
        security.unlockMask =
            ccp ? readBits(table, "unlock", kCcpResources) : readBits(table, "unlock", kXcpResources);
    }
    for (ConfigTable& lock : table.tables("lock")) {
        security.locks.push_back(readLock(lock, ccp));
    }
    table.finish();
    return security;
}

}  // namespace host
