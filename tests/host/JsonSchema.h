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
