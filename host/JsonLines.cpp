#include "host/JsonLines.h"

#include <fmt/format.h>

#include <cerrno>

namespace host {
namespace {

/// Version of the form of the objects. Grows when an old reader would read them wrongly.
constexpr int kSchema = 1;

}  // namespace

Json jsonObject(const char* type) {
    return {{"schema", kSchema}, {"type", type}};
}

std::string hexDigits(const std::uint8_t* bytes, std::size_t count) {
    std::string text;
    text.reserve(count * 2);
    for (std::size_t i = 0; i < count; ++i) {
        text += fmt::format("{:02x}", bytes[i]);
    }
    return text;
}

void JsonLines::write(const Json& object) {
    write(object, m_giveUp);
}

/// The line goes past the buffer of the stream, whose writing cannot be given up.
void JsonLines::write(const Json& object, const GiveUp& giveUp) {
    const std::string line = object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_broken = m_broken || std::fflush(m_stream) != 0;
    if (m_broken) {
        return;
    }
    const std::size_t done = writePatiently(fileno(m_stream), line.data(), line.size(), giveUp);
    m_broken = done < line.size();
    if (m_broken && errno != ETIMEDOUT) {
        // Fails as well, so that the stream knows of it like of all else that is printed.
        static_cast<void>(std::fwrite(line.data() + done, 1, line.size() - done, m_stream));
        static_cast<void>(std::fflush(m_stream));
    }
}

void JsonLines::writeResult(const std::string& command, ExitCode code, const std::string& error) {
    Json result = jsonObject("result");
    result["command"] = command;
    result["code"] = static_cast<int>(code);
    result["error"] = error.empty() ? Json() : Json(error);
    // With a bus that is down there is no Ctrl-C to wait for.
    write(result, code == ExitCode::bus ? GiveUp([] { return true; }) : m_giveUp);
}

bool JsonLines::broken() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_broken;
}

}  // namespace host
