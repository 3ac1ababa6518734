#include "host/SeedKeyWire.h"

#include <charconv>
#include <stdexcept>

namespace host {
namespace {

constexpr std::size_t kPositionals = 5;
constexpr std::size_t kCheckArguments = 3;  ///< and options

/// @throws std::invalid_argument unless @p text is a decimal number from @p least to @p most
std::uint16_t number(const std::string& text, const std::string& what, unsigned least, unsigned most) {
    unsigned value = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stopped != end || value < least || value > most) {
        throw std::invalid_argument(what + " is \"" + text + "\"; allowed is " + std::to_string(least) +
                                    " to " + std::to_string(most));
    }
    return static_cast<std::uint16_t>(value);
}

/// Whether @p text is @p yes and not @p no. @throws std::invalid_argument if it is neither
bool choice(const std::string& text, const std::string& what, const char* yes, const char* no) {
    if (text != yes && text != no) {
        throw std::invalid_argument(what + " is \"" + text + "\"; allowed is " + yes + " or " + no);
    }
    return text == yes;
}

std::vector<std::uint8_t> seedOf(const std::string& text, bool ccp) {
    std::optional<std::vector<std::uint8_t>> seed = seedKeyBytes(text);
    if (!seed) {
        throw std::invalid_argument("the seed is \"" + text +
                                    "\"; allowed are two hexadecimal digits per byte");
    }
    if (seed->size() > mostSeedKeyBytes(ccp)) {
        throw std::invalid_argument("the seed has " + std::to_string(seed->size()) + " bytes; allowed are " +
                                    std::to_string(mostSeedKeyBytes(ccp)));
    }
    return *std::move(seed);
}

void takePositionals(SeedKeyRequest& request, const std::vector<std::string>& arguments) {
    request.library = arguments[0];
    request.entry = arguments[1];
    request.ccp = choice(arguments[2], "the protocol", "ccp", "xcp");
    request.privilege = static_cast<std::uint8_t>(number(arguments[3], "the privilege", 0, 0xFF));
    request.seed = seedOf(arguments[4], request.ccp);
    request.zeroIsSuccess = !request.ccp;
}

void takeOption(SeedKeyRequest& request, const std::string& name, const std::string& value) {
    if (name == "--success") {
        request.zeroIsSuccess = choice(value, name, "zero", "nonzero");
    } else if (name == "--room") {
        request.room = number(value, name, 1, static_cast<unsigned>(mostSeedKeyBytes(request.ccp)));
    } else if (name == "--limit") {
        request.limitS = number(value, name, 1, 0xFFFF);
    } else {
        throw std::invalid_argument("no option \"" + name + "\"; there are --success, --room and --limit");
    }
}

std::optional<std::uint8_t> digit(char character) {
    if (character >= '0' && character <= '9') {
        return static_cast<std::uint8_t>(character - '0');
    }
    const auto lower = static_cast<char>(character | 0x20);
    if (lower >= 'a' && lower <= 'f') {
        return static_cast<std::uint8_t>(lower - 'a' + 10);
    }
    return std::nullopt;
}

}  // namespace

std::string seedKeyUsage() {
    return "usage: talvex-seedkey LIBRARY ENTRY xcp|ccp PRIVILEGE SEED [--success zero|nonzero] [--room "
           "BYTES] "
           "[--limit SECONDS]\n"
           "       talvex-seedkey --check LIBRARY ENTRY [--limit SECONDS]\n"
           "\n"
           "Calls the function ENTRY of a seed and key library and prints the key in hexadecimal.\n"
           "\n"
           "  PRIVILEGE   mask of the resource to be opened, decimal; functions for CCP do not get it\n"
           "  SEED        in hexadecimal, two digits per byte\n"
           "  --success   results of the function that mean success: zero for XCP, nonzero for CCP\n"
           "  --room      bytes that the key may have, 255\n"
           "  --limit     seconds after which this program ends itself, 10\n"
           "  --check     only looks whether the library can be loaded and has the function\n"
           "\n"
           "Exit codes: 0 done, 1 the library refused, 2 usage, 3 not loaded, 4 no such function, 5 bad key, "
           "6 the library\nended the process, 7 the library closed the output.\n";
}

std::vector<std::string> seedKeyArguments(const SeedKeyRequest& request) {
    if (request.check) {
        return {"--check", request.library, request.entry, "--limit", std::to_string(request.limitS)};
    }
    return {request.library,
            request.entry,
            request.ccp ? "ccp" : "xcp",
            std::to_string(request.privilege),
            seedKeyHex(request.seed),
            "--success",
            request.zeroIsSuccess ? "zero" : "nonzero",
            "--room",
            std::to_string(request.room),
            "--limit",
            std::to_string(request.limitS)};
}

SeedKeyRequest parseSeedKeyArguments(const std::vector<std::string>& arguments) {
    SeedKeyRequest request;
    request.check = !arguments.empty() && arguments.front() == "--check";
    const std::size_t fixed = request.check ? kCheckArguments : kPositionals;
    if (arguments.size() < fixed || (arguments.size() - fixed) % 2 != 0) {
        throw std::invalid_argument("there are " + std::to_string(arguments.size()) +
                                    " arguments; --help tells what they have to be");
    }
    if (request.check) {
        request.library = arguments[1];
        request.entry = arguments[2];
    } else {
        takePositionals(request, arguments);
    }
    for (std::size_t i = fixed; i < arguments.size(); i += 2) {
        takeOption(request, arguments[i], arguments[i + 1]);
    }
    return request;
}

std::string seedKeyHex(const std::vector<std::uint8_t>& bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text.push_back(kDigits[byte >> 4]);
        text.push_back(kDigits[byte & 0x0F]);
    }
    return text;
}

std::optional<std::vector<std::uint8_t>> seedKeyBytes(std::string_view text) {
    if (text.size() % 2 != 0) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const std::optional<std::uint8_t> high = digit(text[i]);
        const std::optional<std::uint8_t> low = digit(text[i + 1]);
        if (!high || !low) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<std::uint8_t>(*high << 4 | *low));
    }
    return bytes;
}

std::string seedKeyOutput(const std::vector<std::uint8_t>& key) {
    return seedKeyHex(key) + '\n';
}

std::optional<std::vector<std::uint8_t>> parseSeedKeyOutput(std::string_view output) {
    if (output.empty() || output.back() != '\n') {
        return std::nullopt;
    }
    output.remove_suffix(1);
    return seedKeyBytes(output);
}

std::string seedKeyMessage(std::string_view standardError) {
    // Not looked for at the begin of a line: what a library printed may lack its line end.
    const std::size_t place = standardError.rfind(kSeedKeySpeaker);
    if (place == std::string_view::npos) {
        return {};
    }
    const std::string_view message = standardError.substr(place + kSeedKeySpeaker.size());
    return std::string(message.substr(0, message.find('\n')));
}

}  // namespace host
