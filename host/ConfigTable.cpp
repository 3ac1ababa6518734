#include "host/ConfigTable.h"

#include "host/ConfigKeys.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

namespace host {
namespace {

const toml::table& emptyTable() {
    static const toml::table kEmpty;
    return kEmpty;
}

std::string typeName(const toml::node& node) {
    std::ostringstream name;
    name << node.type();
    return name.str();
}

std::string choiceOf(const Words& words) {
    return fmt::format("one of \"{}\"", fmt::join(words, "\", \""));
}

}  // namespace

ConfigTable::ConfigTable(const toml::table& table, std::string file, std::string path)
    : m_table(&table), m_file(std::move(file)), m_path(std::move(path)) {}

std::string ConfigTable::pathOf(const std::string& key) const {
    return m_path.empty() ? key : m_path + "." + key;
}

ConfigPlace ConfigTable::place() const {
    return {m_file, m_table->source().begin.line};
}

ConfigPlace ConfigTable::place(const std::string& key) const {
    const toml::node* node = m_table->get(key);
    return node != nullptr ? ConfigPlace{m_file, node->source().begin.line} : place();
}

void ConfigTable::fail(const std::string& key, const std::string& problem) const {
    throw ConfigError(place(key), pathOf(key), problem);
}

const toml::node* ConfigTable::find(const std::string& key) {
    m_known.insert(key);
    return m_table->get(key);
}

const toml::node& ConfigTable::need(const std::string& key, const std::string& what) {
    const toml::node* node = find(key);
    if (node == nullptr) {
        fail(key, fmt::format("is missing; give {}", what));
    }
    return *node;
}

bool ConfigTable::has(const std::string& key) {
    return find(key) != nullptr;
}

std::string ConfigTable::textOf(const std::string& key, const toml::node& node) const {
    const auto* text = node.as_string();
    if (text == nullptr) {
        fail(key, fmt::format("found {}; give a text in quotation marks", typeName(node)));
    }
    return text->get();
}

std::string ConfigTable::text(const std::string& key) {
    std::string found = textOf(key, need(key, "a text in quotation marks"));
    if (found.empty()) {
        fail(key, "is empty; give a text");
    }
    return found;
}

std::string ConfigTable::text(const std::string& key, const std::string& fallback) {
    const toml::node* node = find(key);
    return node != nullptr ? textOf(key, *node) : fallback;
}

std::int64_t ConfigTable::checked(const std::string& key, const toml::node& node, NumberRange range) const {
    const auto* number = node.as_integer();
    if (number == nullptr) {
        fail(key, fmt::format("found {}; give a whole number from {} to {}", typeName(node), range.least,
                              range.most));
    }
    const std::int64_t value = number->get();
    if (value < range.least || value > range.most) {
        fail(key, fmt::format("found {}; allowed are {} to {}", value, range.least, range.most));
    }
    return value;
}

std::int64_t ConfigTable::number(const std::string& key, NumberRange range) {
    return checked(key, need(key, fmt::format("a whole number from {} to {}", range.least, range.most)),
                   range);
}

std::int64_t ConfigTable::number(const std::string& key, NumberRange range, std::int64_t fallback) {
    const toml::node* node = find(key);
    return node != nullptr ? checked(key, *node, range) : fallback;
}

double ConfigTable::real(const std::string& key, double fallback) {
    const toml::node* node = find(key);
    if (node == nullptr) {
        return fallback;
    }
    const std::optional<double> value = node->value<double>();
    if (!node->is_number() || !value || !std::isfinite(*value)) {
        fail(key, fmt::format("found {}; give a finite number", typeName(*node)));
    }
    return *value;
}

bool ConfigTable::flag(const std::string& key, bool fallback) {
    const toml::node* node = find(key);
    if (node == nullptr) {
        return fallback;
    }
    const auto* value = node->as_boolean();
    if (value == nullptr) {
        fail(key, fmt::format("found {}; give true or false", typeName(*node)));
    }
    return value->get();
}

std::size_t ConfigTable::indexOf(const std::string& key, const toml::node& node, const Words& words) const {
    const std::string found = textOf(key, node);
    const auto place = std::find(words.begin(), words.end(), found);
    if (place == words.end()) {
        fail(key, fmt::format("found \"{}\"; give {}", found, choiceOf(words)));
    }
    return static_cast<std::size_t>(std::distance(words.begin(), place));
}

std::size_t ConfigTable::word(const std::string& key, const Words& words) {
    return indexOf(key, need(key, choiceOf(words)), words);
}

std::size_t ConfigTable::word(const std::string& key, const Words& words, std::size_t fallback) {
    return has(key) ? word(key, words) : fallback;
}

std::vector<std::size_t> ConfigTable::chosen(const std::string& key, const Words& words) {
    std::vector<std::size_t> found;
    if (const toml::array* elements = array(key, "texts")) {
        for (const toml::node& element : *elements) {
            found.push_back(indexOf(key, element, words));
        }
    }
    return found;
}

const toml::array* ConfigTable::array(const std::string& key, const std::string& what) {
    const toml::node* node = find(key);
    if (node != nullptr && !node->is_array()) {
        fail(key, fmt::format("found {}; give an array of {}", typeName(*node), what));
    }
    return node != nullptr ? node->as_array() : nullptr;
}

std::vector<std::string> ConfigTable::texts(const std::string& key) {
    std::vector<std::string> found;
    if (const toml::array* elements = array(key, "texts")) {
        for (const toml::node& element : *elements) {
            found.push_back(textOf(key, element));
        }
    }
    return found;
}

std::vector<std::int64_t> ConfigTable::numbers(const std::string& key, NumberRange range) {
    std::vector<std::int64_t> found;
    if (const toml::array* elements = array(key, "numbers")) {
        for (const toml::node& element : *elements) {
            found.push_back(checked(key, element, range));
        }
    }
    return found;
}

ConfigTable ConfigTable::table(const std::string& key) {
    const toml::node* node = find(key);
    if (node == nullptr) {
        return {emptyTable(), m_file, pathOf(key)};
    }
    if (!node->is_table()) {
        fail(key, fmt::format("found {}; give a table [{}]", typeName(*node), pathOf(key)));
    }
    return {*node->as_table(), m_file, pathOf(key)};
}

std::vector<ConfigTable> ConfigTable::tables(const std::string& key) {
    std::vector<ConfigTable> found;
    if (const toml::array* elements = array(key, "tables")) {
        for (const toml::node& element : *elements) {
            if (!element.is_table()) {
                fail(key, fmt::format("found {}; give an array of tables", typeName(element)));
            }
            found.emplace_back(*element.as_table(), m_file, pathOf(key));
        }
    }
    return found;
}

void ConfigTable::finish() const {
    for (const auto& [key, node] : *m_table) {
        const std::string name(key.str());
        if (m_known.count(name) == 0) {
            throw ConfigError(
                {m_file, key.source().begin.line}, pathOf(name),
                fmt::format("is not a key of this table; allowed are {}", fmt::join(m_known, ", ")));
        }
    }
}

toml::table parseConfigFile(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    // A folder opens as a file does, and fails only as it is read.
    if (stream.peek(); !stream) {
        throw ConfigError({file, 0}, "", fmt::format("cannot be read: {}", std::strerror(errno)));
    }
    const std::string content(std::istreambuf_iterator<char>(stream), {});
    if (const std::optional<KeyMistake> mistake = findKeyMistake(content)) {
        throw ConfigError({file, mistake->line}, "", mistake->problem);
    }
    try {
        return toml::parse(content, file);
    } catch (const toml::parse_error& error) {
        throw ConfigError({file, error.source().begin.line}, "",
                          fmt::format("is not TOML: {}", error.description()));
    }
}

}  // namespace host
