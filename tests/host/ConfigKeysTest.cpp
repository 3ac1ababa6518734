// Keys that are longer than any configuration has, which the parser would take apart by recursion.
#include "host/ConfigKeys.h"

#include "tests/host/ConfigTesting.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <optional>
#include <string>

namespace {

using host::ConfigError;
using host_test::TempFile;

// "a.a.a": so many parts.
std::string keyOf(std::size_t parts, const std::string& part = "a") {
    std::string key = part;
    for (std::size_t i = 1; i < parts; ++i) {
        key += "." + part;
    }
    return key;
}

// The line of the first mistake.
std::optional<std::uint32_t> lineOfMistake(const std::string& toml) {
    const std::optional<host::KeyMistake> mistake = host::findKeyMistake(toml);
    return mistake ? std::optional(mistake->line) : std::nullopt;
}

std::string complaint(const std::string& content) {
    const TempFile file(content);
    try {
        static_cast<void>(host::loadConfig(file.path()));
    } catch (const ConfigError& error) {
        return std::string(error.what()).substr(file.path().size());
    }
    return "none";
}

TEST(ConfigKeys, KeyOfAMillionPartsIsAMistakeWithItsLine) {
    const std::string message = ": found a key of more than 16 parts; give a shorter one";
    EXPECT_EQ(complaint("schema = 1\n" + keyOf(1'000'000) + " = 1\n"), ":2" + message);
    EXPECT_EQ(complaint("schema = 1\n\n[" + keyOf(1'000'000) + "]\n"), ":3" + message);
    EXPECT_EQ(complaint("[[" + keyOf(1'000'000) + "]]\n"), ":1" + message);
    EXPECT_EQ(complaint("a = { b = 1, " + keyOf(1'000'000) + " = 2 }\n"), ":1" + message);
}

TEST(ConfigKeys, NestedArraysAndTablesHaveTheLimitOfTheParser) {
    for (const std::string& opening : {std::string("["), std::string("{a=")}) {
        std::string content = "a = ";
        for (int i = 0; i < 100'000; ++i) {
            content += opening;
        }
        EXPECT_THAT(complaint(content), ::testing::StartsWith(":1: is not TOML: "));
    }
}

TEST(ConfigKeys, AsDeepAsBothLimitsAllowIsReadAndTakenApart) {
    std::string content = keyOf(16) + " = 1\n" + keyOf(16, "b") + " = ";
    std::string end;
    for (int i = 0; i < 200; ++i) {
        content += "{" + keyOf(16) + "=";
        end += "}";
    }
    EXPECT_EQ(complaint(content + "1" + end + "\n"),
              ":1: schema: is missing; give a whole number from 1 to 1000000");
}

TEST(ConfigKeys, SixteenPartsAreTheMost) {
    EXPECT_EQ(lineOfMistake(keyOf(16) + " = 1\n"), std::nullopt);
    EXPECT_EQ(lineOfMistake(keyOf(17) + " = 1\n"), 1U);
    EXPECT_EQ(lineOfMistake("x = 1\n" + keyOf(17, "\"a=b\"") + " = 1\n"), 2U);
    EXPECT_EQ(lineOfMistake(keyOf(17, " 'a#' ") + " = 1"), 1U);
}

TEST(ConfigKeys, PointsInStringsAndCommentsAreNoParts) {
    const std::string many = keyOf(40);
    EXPECT_EQ(lineOfMistake("a = \"" + many + "\" # " + many + "\nb = '" + many + "'\n"), std::nullopt);
    EXPECT_EQ(lineOfMistake("a = \"\"\"" + many + "\n" + many + "\"\"\"\nb = '''" + many + "'''\n"),
              std::nullopt);
    EXPECT_EQ(lineOfMistake("a = \"x\\\"" + many + "\"\n"), std::nullopt);
    EXPECT_EQ(lineOfMistake("a = [ 0.5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5, 10.5, 11.5, 12.5, 13.5, "
                            "14.5, 15.5, 16.5, 17.5 ]\n"),
              std::nullopt);
}

// A reader that lost its place in the strings would not see what stands behind them.
TEST(ConfigKeys, KeysBehindStringsOfAnyKindAreSeen) {
    const std::string key = keyOf(17) + " = 1\n";
    for (const char* value : {"\"\"", "''", "\"a\\\\\"", "'a\\'", "\"\"\"a\"\"\"\"\"", "'''a'''''",
                              "\"\"\"\"\"\"", "\"\"\"a\\\"\"\"\"", "\"'\"", "'\"'"}) {
        SCOPED_TRACE(value);
        EXPECT_EQ(lineOfMistake("a = { b = " + std::string(value) + ", " + key + "}"), 1U);
        EXPECT_EQ(lineOfMistake("a = " + std::string(value) + "\n" + key), 2U);
    }
    EXPECT_EQ(lineOfMistake("a = \"\"\"\n\n\"\"\"\n" + key), 4U);
    EXPECT_EQ(lineOfMistake("a = \"no end\n" + key), 2U);
}

TEST(ConfigKeys, CharactersOutsideAsciiStandInStringsAndCommentsOnly) {
    const std::string message = ": found a character outside ASCII; give it in quotation marks";
    for (const char* wrong : {"\xC3\xA9 = 1", "a\xC3\xA9 = 1", "a =\xC2\xA0 1", "a = \xEF\xBB\xBB",
                              "a = 1 \xFF", "\xEF\xBB\xBF = 1"}) {
        SCOPED_TRACE(wrong);
        EXPECT_EQ(complaint("schema = 1\n" + std::string(wrong) + "\n"), ":2" + message);
    }
    EXPECT_EQ(complaint("\xEF\xBB\xBB"), ":1" + message);
    EXPECT_EQ(
        lineOfMistake("\xEF\xBB\xBF# \xC3\xA9\na = \"\xC3\xA9\" # \xC3\xA9\n\"\xC3\xA9\" = '\xC3\xA9'\n"),
        std::nullopt);
}

// The parser looks for the end of a value also behind a quotation mark that may not be there.
TEST(ConfigKeys, CharactersOutsideAsciiStandInNoStringThatFollowsAValue) {
    const std::string message = ": found a character outside ASCII; give it in quotation marks";
    for (const char* wrong :
         {"a=0e01\"\xD0\x96p\"", "a = 1=\"\xD0\x96\"", "a = 1.'\xD0\x96'", "a = [1, 2[\"\xD0\x96\"]]",
          "a = 2020-01-01 \"\xD0\x96\"", "a = \"x\"\"\xD0\x96\"", "a = [ {b = 1}, 2{c=\"\xD0\x96\"} ]",
          "a ==\"\xD0\x96\"", "a = {b = 1 '\xD0\x96'}", "a = 1 \"\"\"\xD0\x96\"\"\""}) {
        SCOPED_TRACE(wrong);
        EXPECT_EQ(complaint("schema = 1\n" + std::string(wrong) + "\n"), ":2" + message);
    }
}

TEST(ConfigKeys, CharactersOutsideAsciiMayBeInAnyValueWithQuotationMarks) {
    for (const char* right :
         {"a=\"\xD0\x96\"", "a={b=\"\xD0\x96\",c=[\"\xD0\x96\",'\xD0\x96'],d='\xD0\x96'}",
          "a=[{b=\"\xD0\x96\"},{b='\xD0\x96'}]", "a=1\nb=\"\xD0\x96\"", "a=1 # x\nb=\"\xD0\x96\"",
          "a = [ # \xD0\x96\n  1,\n  \"\xD0\x96\", # \xD0\x96\n  \"\xD0\x96\"\n]\nb = '\xD0\x96'",
          "[[a]]\nb = '\xD0\x96'\n[a.c]\nd = \"\xD0\x96\"", "a.\"\xD0\x96\" = 1", "[a.'\xD0\x96']",
          "a = '''x'''\r\nb = \"\"\"\xD0\x96\n\xD0\x96\"\"\""}) {
        SCOPED_TRACE(right);
        EXPECT_EQ(lineOfMistake(std::string(right) + "\n"), std::nullopt);
    }
}

TEST(ConfigKeys, TextThatEndsAnywhereIsReadToItsEnd) {
    for (const char* text : {"", "\"", "\"\\", "'", "\"\"\"", "\"\"\"\\", "'''", "#", "a.", "\"\"\"a\"\""}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(lineOfMistake(text), std::nullopt);
    }
}

}  // namespace
