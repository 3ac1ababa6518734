#include "host/SeedKeyLoader.h"

#include "host/SeedKeyProcess.h"
#include "host/SeedKeyWire.h"
#include "sim/SeedKey.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

namespace host {
namespace {

/// The library takes anything but 0 for success.
constexpr std::int32_t kSuccess = 1;
constexpr std::int32_t kFailure = 0;

/// How much longer than the host's limit the helper leaves itself: it is there for a host that died.
constexpr std::uint32_t kReserveS = 2;

std::int32_t giveKey(const std::vector<std::uint8_t>& computed, std::uint8_t* keyLength, std::uint8_t* key) {
    if (computed.size() > *keyLength) {
        return kFailure;
    }
    std::copy(computed.begin(), computed.end(), key);
    *keyLength = static_cast<std::uint8_t>(computed.size());
    return kSuccess;
}

std::int32_t computeSimulatedKey(std::uint8_t privilege, std::uint8_t seedLength, std::uint8_t* seed,
                                 std::uint8_t* keyLength, std::uint8_t* key) {
    return giveKey(sim::computeKey(privilege, std::span<const std::uint8_t>(seed, seedLength)), keyLength,
                   key);
}

/// A library whose calls all go through the helper. Fixed after construction.
class HelpedLibrary {
public:
    HelpedLibrary(const SeedKeySource& source, std::string helper, SeedKeyComplaint complain)
        : m_timeMs(source.timeMs),
          m_helper(std::move(helper)),
          m_stop(source.stop),
          m_complain(std::move(complain)) {
        m_request.library = source.path;
        m_request.ccp = source.ccp;
        m_request.entry = source.ccp ? kCcpSeedKeyEntry : kXcpSeedKeyEntry;
        if (!source.entry.empty()) {
            m_request.entry = source.entry;
        }
        m_request.zeroIsSuccess = source.zeroIsSuccess.value_or(!source.ccp);
        m_request.limitS = static_cast<std::uint16_t>(std::min(source.timeMs / 1'000 + kReserveS, 0xFFFFU));
    }

    [[nodiscard]] bool check() const {
        SeedKeyRequest request = m_request;
        request.check = true;
        return run(request).problem.empty();
    }

    std::int32_t operator()(std::uint8_t privilege, std::uint8_t seedLength, const std::uint8_t* seed,
                            std::uint8_t* keyLength, std::uint8_t* key) const {
        SeedKeyRequest request = m_request;
        request.privilege = privilege;
        request.seed.assign(seed, seed + seedLength);
        request.room = *keyLength;
        const SeedKeyAnswer answer = run(request);
        return answer.problem.empty() ? giveKey(answer.key, keyLength, key) : kFailure;
    }

private:
    [[nodiscard]] SeedKeyAnswer run(const SeedKeyRequest& request) const {
        SeedKeyAnswer answer = runSeedKeyHelper(m_helper, request, m_timeMs, m_stop);
        if (!answer.problem.empty()) {
            m_complain("seed and key: " + answer.problem);
        }
        return answer;
    }

    SeedKeyRequest m_request;  ///< without what differs from call to call
    std::uint32_t m_timeMs;
    std::string m_helper;
    std::function<bool()> m_stop;
    SeedKeyComplaint m_complain;
};

}  // namespace

SeedKeyFun loadSeedKey(const std::string& path) {
    return path == kSimulatedSeedKey ? SeedKeyFun(computeSimulatedKey) : SeedKeyFun();
}

SeedKeyFun loadSeedKey(const SeedKeySource& source, SeedKeyComplaint complain) {
    if (source.path == kSimulatedSeedKey) {
        return loadSeedKey(source.path);
    }
    const std::string helper = source.helper.empty() ? findSeedKeyHelper() : source.helper;
    if (helper.empty()) {
        complain(fmt::format(
            "seed and key: {}: there is no talvex-seedkey to load it, neither beside this program "
            "nor on PATH; install it or give its path",
            source.path));
        return {};
    }
    HelpedLibrary library(source, helper, std::move(complain));
    return library.check() ? SeedKeyFun(std::move(library)) : SeedKeyFun();
}

}  // namespace host
