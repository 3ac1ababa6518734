#include "host/JsonLines.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

// What a file holds that was written to.
std::string content(std::FILE* file) {
    std::rewind(file);
    std::array<char, 1024> bytes{};
    return {bytes.data(), std::fread(bytes.data(), 1, bytes.size(), file)};
}

TEST(JsonLines, ObjectsStandOneALineWithSchemaAndTypeInFront) {
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    host::JsonLines lines(file);
    host::Json object = host::jsonObject("value");
    object["name"] = "engine_speed";
    object["value"] = 12.5;
    lines.write(object);
    lines.write(host::jsonObject("end"));
    EXPECT_EQ(content(file),
              "{\"schema\":1,\"type\":\"value\",\"name\":\"engine_speed\",\"value\":12.5}\n"
              "{\"schema\":1,\"type\":\"end\"}\n");
    EXPECT_FALSE(lines.broken());
    std::fclose(file);
}

TEST(JsonLines, BytesThatAreNoTextAreReplaced) {
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    host::Json object = host::jsonObject("text");
    object["text"] = "a\xFFz";
    host::JsonLines(file).write(object);
    EXPECT_EQ(content(file), "{\"schema\":1,\"type\":\"text\",\"text\":\"a\xEF\xBF\xBDz\"}\n");
    std::fclose(file);
}

TEST(JsonLines, ResultOfSuccessHasNoError) {
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    host::JsonLines(file).writeResult("read", host::ExitCode::done, "");
    EXPECT_EQ(content(file),
              "{\"schema\":1,\"type\":\"result\",\"command\":\"read\",\"code\":0,\"error\":null}\n");
    std::fclose(file);
}

TEST(JsonLines, ResultOfAFailureNamesItsReason) {
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    host::JsonLines(file).writeResult("flash", host::ExitCode::locked, "engine: locked");
    EXPECT_EQ(content(file),
              "{\"schema\":1,\"type\":\"result\",\"command\":\"flash\",\"code\":7,"
              "\"error\":\"engine: locked\"}\n");
    std::fclose(file);
}

TEST(JsonLines, StreamThatTakesNothingIsBroken) {
    std::FILE* full = std::fopen("/dev/full", "w");
    if (full == nullptr) {
        GTEST_SKIP() << "this machine has no /dev/full";
    }
    host::JsonLines lines(full);
    lines.write(host::jsonObject("value"));
    EXPECT_TRUE(lines.broken());
    std::fclose(full);
}

TEST(HexDigits, ByteIsTwoLowerCaseDigits) {
    const std::array<std::uint8_t, 3> bytes{0x0A, 0xFF, 0x00};
    EXPECT_EQ(host::hexDigits(bytes.data(), bytes.size()), "0aff00");
    EXPECT_EQ(host::hexDigits(bytes.data(), 0), "");
}

}  // namespace
