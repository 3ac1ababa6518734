/// @file
/// What the host and its helper `talvex-seedkey` say to each other: arguments, the key, and how it went.
/// Needs nothing but the standard library, so that the helper can be built alone for another word size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// The names under which libraries usually have their function.
inline constexpr const char* kXcpSeedKeyEntry = "XCP_ComputeKeyFromSeed";
inline constexpr const char* kCcpSeedKeyEntry = "ASAP1A_CCP_ComputeKeyFromSeed";

/// How the helper's message on standard error begins; what the library prints there does not.
inline constexpr std::string_view kSeedKeySpeaker = "talvex-seedkey: ";

/// Exit codes of the helper.
enum class SeedKeyStatus : int {
    done = 0,
    refused = 1,    ///< the library says no
    usage = 2,      ///< the arguments are wrong
    notLoaded = 3,  ///< the library is not there or cannot be loaded
    noEntry = 4,    ///< the library has no function of that name
    badKey = 5,     ///< the key is longer than its room, or has no bytes
    ended = 6,      ///< the library ended the process, or threw an exception
    outputLost = 7  ///< the library closed what the key was to be written to
};

/// One call of the helper.
struct SeedKeyRequest {
    std::string library;         ///< path
    std::string entry;           ///< name of the function
    bool check = false;          ///< only looks whether both are there; of the rest `limitS` alone matters
    bool ccp = false;            ///< the function is called as those for CCP are, else as those for XCP
    std::uint8_t privilege = 0;  ///< mask of the resource to be opened; functions for CCP do not get it
    std::vector<std::uint8_t> seed;  ///< at most `mostSeedKeyBytes`
    bool zeroIsSuccess = true;       ///< which results of the function are a success: 0, or all others
    std::uint16_t room = 255;        ///< bytes that the key may have; at most `mostSeedKeyBytes`
    std::uint16_t limitS = 10;       ///< seconds after which the helper ends itself; at least 1
};

/// How the helper is called by hand.
[[nodiscard]] std::string seedKeyUsage();

/// Bytes that a seed or a key can have: the lengths have 16 bits for CCP, 8 for XCP.
[[nodiscard]] constexpr std::size_t mostSeedKeyBytes(bool ccp) {
    return ccp ? 0xFFFF : 0xFF;
}

/// The arguments that make @p request, without the program's name.
[[nodiscard]] std::vector<std::string> seedKeyArguments(const SeedKeyRequest& request);

/// The opposite. Options that are left out have the defaults of the record, but for `zeroIsSuccess`, which is
/// false for CCP. @throws std::invalid_argument naming what is wrong and what is allowed
[[nodiscard]] SeedKeyRequest parseSeedKeyArguments(const std::vector<std::string>& arguments);

/// @return two lower-case digits per byte
[[nodiscard]] std::string seedKeyHex(const std::vector<std::uint8_t>& bytes);

/// @return nothing if @p text is anything but two hexadecimal digits per byte
[[nodiscard]] std::optional<std::vector<std::uint8_t>> seedKeyBytes(std::string_view text);

/// What the helper prints for a key: its digits and a line end.
[[nodiscard]] std::string seedKeyOutput(const std::vector<std::uint8_t>& key);

/// The opposite. @return nothing if @p output is not one such line
[[nodiscard]] std::optional<std::vector<std::uint8_t>> parseSeedKeyOutput(std::string_view output);

/// The last message of the helper itself in what came on standard error, without `kSeedKeySpeaker` and line
/// end; empty if there is none.
[[nodiscard]] std::string seedKeyMessage(std::string_view standardError);

}  // namespace host
