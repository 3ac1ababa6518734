/// @file
/// Output that programs read: one JSON object a line.
#pragma once

#include "host/ExitCode.h"
#include "host/Interrupt.h"
#include "host/PatientWrite.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

namespace host {

using Json = nlohmann::ordered_json;

/// An object of that type, to be filled: `{"schema":1,"type":type}`.
[[nodiscard]] Json jsonObject(const char* type);

/// @p bytes as hexadecimal digits, two each.
[[nodiscard]] std::string hexDigits(const std::uint8_t* bytes, std::size_t count);

/// Writes objects to a stream as they come, each in one piece. Any thread.
class JsonLines {
public:
    /// @param giveUp  asked while the reader of a pipe stands still
    explicit JsonLines(std::FILE* stream, GiveUp giveUp = interrupted)
        : m_giveUp(std::move(giveUp)), m_stream(stream) {}

    /// Writes a line, or nothing once it is `broken`. Bytes that are no UTF-8 become the replacement
    /// character.
    void write(const Json& object);

    /// The last line: how the sub-command ended.
    /// @param error  what went wrong; empty for nothing
    void writeResult(const std::string& command, ExitCode code, const std::string& error);

    /// A line could not be written: there is nobody left to read.
    [[nodiscard]] bool broken() const;

private:
    void write(const Json& object, const GiveUp& giveUp);

    const GiveUp m_giveUp;
    mutable std::mutex m_mutex;  ///< guards all below; nothing else is locked while it is held
    std::FILE* m_stream;
    bool m_broken = false;
};

}  // namespace host
