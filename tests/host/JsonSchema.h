// What programs that read the JSON lines rely on: which keys an object has, and what they hold.
#pragma once

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace host_test {

// What a key may hold: b boolean, n number, s string, a array, o object, 0 null; several letters are a
// choice.
struct JsonKey {
    const char* name;
    const char* kinds;
    bool required = true;
};

// The keys of one type of object, beside "schema" and "type".
struct JsonShape {
    const char* type;
    std::vector<JsonKey> keys;
};

inline char jsonKind(const nlohmann::json& value) {
    if (value.is_null()) {
        return '0';
    }
    if (value.is_boolean()) {
        return 'b';
    }
    if (value.is_number()) {
        return 'n';
    }
    if (value.is_string()) {
        return 's';
    }
    return value.is_array() ? 'a' : 'o';
}

inline std::string keyMistake(const nlohmann::json& object, const JsonKey& key) {
    if (!object.contains(key.name)) {
        return key.required ? std::string("lacks ") + key.name : "";
    }
    const bool fits = std::string(key.kinds).find(jsonKind(object.at(key.name))) != std::string::npos;
    return fits ? "" : std::string("wrong kind of ") + key.name;
}

// All objects of all sub-commands that end by themselves: a type has one shape, whoever writes it.
inline const std::vector<JsonShape>& jsonShapes() {
    static const std::vector<JsonShape> kShapes{
        {"result", {{"command", "s"}, {"code", "n"}, {"error", "s0"}}},
        {"error", {{"ecu", "s"}, {"name", "s"}, {"error", "s"}}},
        // info
        {"fact",
         {{"ecu", "s"}, {"field", "s"}, {"ecu_value", "s"}, {"config_value", "s0"}, {"differs", "b"}}},
        // read, write
        {"value",
         {{"ecu", "s"},
          {"name", "s"},
          {"address", "n"},
          {"raw", "s"},
          {"value", "nsa0"},
          {"unit", "s"},
          {"text", "s", false}}},
        {"written",
         {{"ecu", "s"},
          {"name", "s"},
          {"address", "n"},
          {"raw_before", "s"},
          {"raw", "s"},
          {"before", "nsa0"},
          {"value", "nsa0"},
          {"unit", "s"},
          {"exact", "b"}}},
        {"not_read_back", {{"ecu", "s"}, {"name", "s"}, {"raw", "s"}}},
        {"page", {{"ecu", "s"}, {"action", "s"}}},
        // upload, flash, erase, check
        {"plan",
         {{"ecu", "s"},
          {"address", "n"},
          {"last", "n"},
          {"length", "n"},
          {"segment", "s0"},
          {"action", "s"},
          {"sectors", "n", false},
          {"not_in_file", "n", false}}},
        {"block",
         {{"ecu", "s"},
          {"address", "n"},
          {"last", "n"},
          {"length", "n"},
          {"segment", "s0"},
          {"ecu_checksum", "s0"},
          {"file_checksum", "s0"},
          {"equal", "b"}}},
        {"difference", {{"ecu", "s"}, {"address", "n"}, {"file_byte", "n"}, {"ecu_byte", "n"}}},
        {"transfer", {{"ecu", "s"}, {"action", "s"}, {"bytes", "n"}, {"seconds", "n"}}},
        {"file_written", {{"file", "s"}, {"blocks", "n"}, {"bytes", "n"}}},
        // hex
        {"hex_block",
         {{"file", "s"},
          {"address", "n"},
          {"last", "n"},
          {"length", "n"},
          {"checksum_kind", "s", false},
          {"checksum", "s", false}}},
        {"gap", {{"file", "s"}, {"address", "n"}, {"last", "n"}, {"length", "n"}}},
        {"overlap", {{"file", "s"}, {"address", "n"}, {"last", "n"}, {"length", "n"}}},
        {"file",
         {{"file", "s"},
          {"format", "s"},
          {"blocks", "n"},
          {"bytes", "n"},
          {"gaps", "n"},
          {"gap_bytes", "n"},
          {"overlaps", "n"}}},
        {"hex_difference",
         {{"kind", "s"},
          {"address", "n"},
          {"last", "n"},
          {"length", "n"},
          {"first", "s0"},
          {"second", "s0"}}},
        {"comparison",
         {{"first", "s"},
          {"second", "s"},
          {"equal", "b"},
          {"ranges", "n"},
          {"bytes", "n"},
          {"address", "n0"}}},
        // decode
        {"frame",
         {{"time_us", "n0"},
          {"interface", "s"},
          {"direction", "s"},
          {"id", "s"},
          {"protocol", "s"},
          {"kind", "s"},
          {"title", "s"},
          {"command", "s0"},
          {"response_us", "n0"},
          {"error", "s0"},
          {"data", "s"},
          {"fields", "a"}}},
        {"command",
         {{"interface", "s"},
          {"protocol", "s"},
          {"command_id", "s"},
          {"response_id", "s"},
          {"command", "s"},
          {"sent", "n"},
          {"answers", "n"},
          {"errors", "n"},
          {"unanswered", "n"},
          {"in_blocks", "n"},
          {"min_ms", "n0"},
          {"median_ms", "n0"},
          {"max_ms", "n0"}}},
        {"error_code",
         {{"interface", "s"},
          {"protocol", "s"},
          {"command_id", "s"},
          {"response_id", "s"},
          {"command", "s"},
          {"code", "n"},
          {"text", "s"},
          {"count", "n"}}},
        {"other",
         {{"interface", "s"},
          {"protocol", "s"},
          {"command_id", "s"},
          {"response_id", "s"},
          {"title", "s"},
          {"count", "n"}}},
        {"log", {{"lines", "n"}, {"frames", "n"}, {"ours", "n"}, {"others", "n"}, {"malformed", "n"}}}};
    return kShapes;
}

// What is wrong with one line; empty if nothing is.
inline std::string jsonMistake(const std::string& line, const std::vector<JsonShape>& shapes) {
    const nlohmann::json object = nlohmann::json::parse(line, nullptr, false);
    if (!object.is_object() || object.value("schema", 0) != 1 || !object.contains("type")) {
        return "no object of schema 1: " + line;
    }
    const std::string type = object.at("type");
    const auto shape =
        std::find_if(shapes.begin(), shapes.end(), [&](const JsonShape& item) { return item.type == type; });
    if (shape == shapes.end()) {
        return "unknown type: " + line;
    }
    for (const JsonKey& key : shape->keys) {
        if (const std::string mistake = keyMistake(object, key); !mistake.empty()) {
            return mistake + ": " + line;
        }
    }
    const auto known = [&](const std::string& name) {
        return name == "schema" || name == "type" ||
               std::any_of(shape->keys.begin(), shape->keys.end(),
                           [&](const JsonKey& key) { return key.name == name; });
    };
    for (const auto& [name, value] : object.items()) {
        if (!known(name)) {
            return "unknown key " + name + ": " + line;
        }
    }
    return "";
}

}  // namespace host_test
