#include "host/JsonLines.h"

#include <fmt/format.h>

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
    const std::string line = object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool written = std::fwrite(line.data(), 1, line.size(), m_stream) == line.size();
    const bool flushed = std::fflush(m_stream) == 0;
    m_broken = m_broken || !written || !flushed;
}

void JsonLines::writeResult(const std::string& command, ExitCode code, const std::string& error) {
    Json result = jsonObject("result");
    result["command"] = command;
    result["code"] = static_cast<int>(code);
    result["error"] = error.empty() ? Json() : Json(error);
    write(result);
}

bool JsonLines::broken() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_broken;
}

}  // namespace host
