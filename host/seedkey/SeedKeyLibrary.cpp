#include "host/seedkey/SeedKeyLibrary.h"

#include "host/seedkey/GuardedRoom.h"
#include "host/seedkey/LibraryFile.h"
#include "host/seedkey/SeedKeyFailure.h"

#include <algorithm>
#include <array>

#include <dlfcn.h>

namespace seedkey {
namespace {

using host::SeedKeyRequest;
using host::SeedKeyStatus;

extern "C" {
using XcpFunction = std::uint32_t (*)(std::uint8_t privilege, std::uint8_t seedLength, std::uint8_t* seed,
                                      std::uint8_t* keyLength, std::uint8_t* key);
/// Gives a C `bool`, of which the low byte alone is defined.
using CcpFunction = std::uint8_t (*)(std::uint8_t* seed, std::uint16_t seedLength, std::uint8_t* key,
                                     std::uint16_t keyRoom, std::uint16_t* keyLength);
}

/// What a function said.
struct Outcome {
    std::uint32_t result = 0;
    std::size_t keyLength = 0;
};

/// Libraries that take the length for a number of 32 bits are about: there is room for one.
template <class Length>
using Lengths = std::array<Length, 8 / sizeof(Length)>;

Outcome callXcp(void* function, const SeedKeyRequest& request, std::vector<std::uint8_t>& seed,
                const GuardedRoom& room) {
    Lengths<std::uint8_t> length{static_cast<std::uint8_t>(room.size())};
    const std::uint32_t result = reinterpret_cast<XcpFunction>(function)(
        request.privilege, static_cast<std::uint8_t>(request.seed.size()), seed.data(), length.data(),
        room.data());
    return {result, length[0]};
}

Outcome callCcp(void* function, const SeedKeyRequest& request, std::vector<std::uint8_t>& seed,
                const GuardedRoom& room) {
    Lengths<std::uint16_t> length{};
    const std::uint8_t result = reinterpret_cast<CcpFunction>(function)(
        seed.data(), static_cast<std::uint16_t>(request.seed.size()), room.data(),
        static_cast<std::uint16_t>(room.size()), length.data());
    return {result, length[0]};
}

struct NamedResult {
    std::uint32_t result;
    const char* name;
};

/// Failures of the functions for XCP.
constexpr std::array<NamedResult, 3> kXcpResults = {
    {{1, "privilege not available"}, {2, "wrong seed length"}, {3, "key buffer too small"}}};

std::string nameOf(const SeedKeyRequest& request, std::uint32_t result) {
    const auto* const found =
        std::find_if(kXcpResults.begin(), kXcpResults.end(),
                     [result](const NamedResult& candidate) { return candidate.result == result; });
    const bool named = !request.ccp && request.zeroIsSuccess && found != kXcpResults.end();
    return std::to_string(result) + (named ? std::string(" (") + found->name + ")" : "");
}

void requireSuccess(const SeedKeyRequest& request, const std::string& entry, std::uint32_t result) {
    if ((result == 0) != request.zeroIsSuccess) {
        throw SeedKeyFailure(SeedKeyStatus::refused,
                             entry + " refused with " + nameOf(request, result) +
                                 "; if its maker takes that for success, set success to " +
                                 (result == 0 ? "zero" : "nonzero"));
    }
}

void requireKey(const std::string& entry, std::size_t length, std::size_t room) {
    if (length == 0) {
        throw SeedKeyFailure(SeedKeyStatus::badKey, entry +
                                                        " gave a key of no bytes; ask its maker for the "
                                                        "length of its seeds");
    }
    if (length > room) {
        throw SeedKeyFailure(SeedKeyStatus::badKey, entry + " gave a key of " + std::to_string(length) +
                                                        " bytes, but there is room for " +
                                                        std::to_string(room) + "; check protocol and entry");
    }
}

/// Which of the known functions the library has besides the missing one.
std::string otherEntry(void* handle) {
    for (const char* known : {host::kXcpSeedKeyEntry, host::kCcpSeedKeyEntry}) {
        if (dlsym(handle, known) != nullptr) {
            return std::string("it has ") + known +
                   ", so set the entry to that, or the protocol to the other one";
        }
    }
    return std::string("it has neither ") + host::kXcpSeedKeyEntry + " nor " + host::kCcpSeedKeyEntry +
           ", so set the entry to the name that its maker gave it";
}

/// The loader's last message, without the path that it often begins with.
std::string loaderMessage(const std::string& path) {
    const char* const told = dlerror();
    const std::string text = told != nullptr ? told : "unknown error";
    const std::string head = path + ": ";
    return text.compare(0, head.size(), head) == 0 ? text.substr(head.size()) : text;
}

}  // namespace

SeedKeyLibrary::SeedKeyLibrary(const std::string& path, const std::string& entry)
    : m_path(path), m_entry(entry) {
    requireLoadable(path);
    // A name without a slash would be searched for in the system's folders.
    const std::string place = path.find('/') == std::string::npos ? "./" + path : path;
    void* const handle = dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        throw SeedKeyFailure(SeedKeyStatus::notLoaded,
                             "cannot be loaded: " + loaderMessage(place) + "; install what it depends on");
    }
    m_function = dlsym(handle, entry.c_str());
    if (m_function == nullptr) {
        throw SeedKeyFailure(SeedKeyStatus::noEntry, "has no function " + entry + "; " + otherEntry(handle));
    }
}

std::vector<std::uint8_t> SeedKeyLibrary::computeKey(const SeedKeyRequest& request) const {
    const GuardedRoom room(request.room, std::string(host::kSeedKeySpeaker) + m_path + ": " + m_entry +
                                             " wrote behind the " + std::to_string(request.room) +
                                             " bytes for the key; check protocol and entry\n");
    std::vector<std::uint8_t> seed = request.seed;
    seed.push_back(0);  // so that there is a place also for a seed of no bytes
    const Outcome outcome =
        request.ccp ? callCcp(m_function, request, seed, room) : callXcp(m_function, request, seed, room);
    requireSuccess(request, m_entry, outcome.result);
    requireKey(m_entry, outcome.keyLength, room.size());
    return {room.data(), room.data() + outcome.keyLength};
}

}  // namespace seedkey
