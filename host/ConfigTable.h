/// @file
/// A table of a configuration file, read key by key with checks.
#pragma once

#include "host/ConfigError.h"

#include <toml++/toml.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace host {

/// Smallest and largest number that is allowed.
struct NumberRange {
    std::int64_t least = 0;
    std::int64_t most = 0;
};

/// The words that are allowed, in the order of the values they stand for.
using Words = std::vector<std::string>;

/// Reads one table. Every key that is asked for counts as known; `finish` refuses the others. All
/// functions throw ConfigError with file, line, key and what is allowed. Refers to @p table, which must
/// outlive it.
class ConfigTable {
public:
    /// @param path  where the table stands, "ecu.daq"; empty for the file itself
    ConfigTable(const toml::table& table, std::string file, std::string path);

    [[nodiscard]] bool has(const std::string& key);

    /// A text that must be there and must not be empty.
    [[nodiscard]] std::string text(const std::string& key);
    [[nodiscard]] std::string text(const std::string& key, const std::string& fallback);

    /// A number within @p range that must be there.
    [[nodiscard]] std::int64_t number(const std::string& key, NumberRange range);
    [[nodiscard]] std::int64_t number(const std::string& key, NumberRange range, std::int64_t fallback);

    /// As `number`, for a field of type T, all of whose values @p range must be.
    template <class T>
    [[nodiscard]] T as(const std::string& key, NumberRange range) {
        return static_cast<T>(number(key, range));
    }
    template <class T>
    [[nodiscard]] T as(const std::string& key, NumberRange range, std::int64_t fallback) {
        return static_cast<T>(number(key, range, fallback));
    }

    /// A finite number, whole or not.
    [[nodiscard]] double real(const std::string& key, double fallback);

    [[nodiscard]] bool flag(const std::string& key, bool fallback);

    /// The index of the word in @p words.
    [[nodiscard]] std::size_t word(const std::string& key, const Words& words);
    [[nodiscard]] std::size_t word(const std::string& key, const Words& words, std::size_t fallback);

    /// The indices in @p words of an array of words; empty if it is not there.
    [[nodiscard]] std::vector<std::size_t> chosen(const std::string& key, const Words& words);

    /// An array of texts or of numbers; empty if it is not there.
    [[nodiscard]] std::vector<std::string> texts(const std::string& key);
    [[nodiscard]] std::vector<std::int64_t> numbers(const std::string& key, NumberRange range);

    /// A table below this one; without it an empty one.
    [[nodiscard]] ConfigTable table(const std::string& key);

    /// The tables of an array; empty if it is not there.
    [[nodiscard]] std::vector<ConfigTable> tables(const std::string& key);

    /// Refuses keys that nobody asked for.
    void finish() const;

    /// Throws a ConfigError about @p key of this table.
    [[noreturn]] void fail(const std::string& key, const std::string& problem) const;

    [[nodiscard]] ConfigPlace place() const;
    [[nodiscard]] ConfigPlace place(const std::string& key) const;

private:
    [[nodiscard]] const toml::node* find(const std::string& key);
    [[nodiscard]] const toml::node& need(const std::string& key, const std::string& what);
    [[nodiscard]] std::string pathOf(const std::string& key) const;
    [[nodiscard]] std::int64_t checked(const std::string& key, const toml::node& node,
                                       NumberRange range) const;
    [[nodiscard]] std::string textOf(const std::string& key, const toml::node& node) const;
    [[nodiscard]] std::size_t indexOf(const std::string& key, const toml::node& node,
                                      const Words& words) const;
    [[nodiscard]] const toml::array* array(const std::string& key, const std::string& what);

    const toml::table* m_table;
    std::string m_file;
    std::string m_path;
    std::set<std::string> m_known;  ///< the keys asked for
};

/// Reads a file. @throws ConfigError if it cannot be opened or is not TOML
[[nodiscard]] toml::table parseConfigFile(const std::string& file);

}  // namespace host
