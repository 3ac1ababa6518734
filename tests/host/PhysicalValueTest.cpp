#include "host/PhysicalValue.h"

#include "host/HostError.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using host::ValueType;
using sim::ByteOrder;
using ::testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

constexpr ByteOrder kLittle = ByteOrder::intel;
constexpr ByteOrder kBig = ByteOrder::motorola;

host::VariableRecord variable(ValueType type, double factor = 1.0, double offset = 0.0,
                              std::uint32_t elements = 1) {
    host::VariableRecord record;
    record.name = "v";
    record.unit = "rpm";
    record.type = type;
    record.size = host::valueSize(type) * elements;
    record.factor = factor;
    record.offset = offset;
    return record;
}

std::string text(const host::VariableRecord& record, ByteOrder order, const Bytes& bytes) {
    return host::physicalText(record, order, bytes);
}

Bytes parsed(const host::VariableRecord& record, const std::string& value, ByteOrder order = kLittle) {
    return host::parsePhysical(record, order, value).bytes;
}

// The message with which a value is refused.
std::string refusal(const host::VariableRecord& record, const std::string& value) {
    try {
        static_cast<void>(host::parsePhysical(record, kLittle, value));
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.code(), host::ExitCode::usage);
        return error.what();
    }
    return "taken";
}

TEST(PhysicalValue, WholeNumbersReadWithTheirSignAndByteOrder) {
    EXPECT_EQ(text(variable(ValueType::u8), kLittle, {0xFF}), "255");
    EXPECT_EQ(text(variable(ValueType::i8), kLittle, {0xF9}), "-7");
    EXPECT_EQ(text(variable(ValueType::u16), kLittle, {0x0C, 0x03}), "780");
    EXPECT_EQ(text(variable(ValueType::u16), kBig, {0x0C, 0x03}), "3075");
    EXPECT_EQ(text(variable(ValueType::i16), kBig, {0xFF, 0xDD}), "-35");
    EXPECT_EQ(text(variable(ValueType::u32), kLittle, {0xFF, 0xFF, 0xFF, 0xFF}), "4294967295");
    EXPECT_EQ(text(variable(ValueType::i32), kLittle, {0, 0, 0, 0x80}), "-2147483648");
}

TEST(PhysicalValue, NumbersOf64BitsKeepAllDigits) {
    const Bytes all(8, 0xFF);
    EXPECT_EQ(text(variable(ValueType::u64), kLittle, all), "18446744073709551615");
    EXPECT_EQ(text(variable(ValueType::i64), kLittle, all), "-1");
    EXPECT_EQ(host::physicalJson(variable(ValueType::u64), kLittle, all).dump(), "18446744073709551615");
}

TEST(PhysicalValue, ConversionShowsAsManyDigitsAsFactorAndOffsetHave) {
    EXPECT_EQ(text(variable(ValueType::u16, 0.1), kLittle, {0x7B, 0x00}), "12.3");
    EXPECT_EQ(text(variable(ValueType::u16, 0.001), kLittle, {0xE8, 0x35}), "13.800");
    EXPECT_EQ(text(variable(ValueType::u8, 1.0, -40.0), kLittle, {120}), "80");
    EXPECT_EQ(text(variable(ValueType::u8, 2.0, 0.25), kLittle, {3}), "6.25");
    EXPECT_EQ(text(variable(ValueType::u8, 1e-12), kLittle, {3}), "3e-12");
}

TEST(PhysicalValue, RealNumbersReadAsShortAsTheyCan) {
    EXPECT_EQ(text(variable(ValueType::f32), kLittle, {0xF6, 0x28, 0x7C, 0x3F}), "0.985");
    EXPECT_EQ(text(variable(ValueType::f64), kBig, {0x40, 0x3F, 0xC0, 0, 0, 0, 0, 0}), "31.75");
    EXPECT_EQ(text(variable(ValueType::f32, 2.0), kLittle, {0, 0, 0x80, 0x3F}), "2");
}

TEST(PhysicalValue, WhatIsNoNumberIsNullInJson) {
    const Bytes nan{0, 0, 0xC0, 0x7F};
    EXPECT_EQ(text(variable(ValueType::f32), kLittle, nan), "nan");
    EXPECT_TRUE(host::physicalJson(variable(ValueType::f32), kLittle, nan).is_null());
    EXPECT_TRUE(host::physicalJson(variable(ValueType::bytes), kLittle, Bytes{1, 2}).is_null());
}

TEST(PhysicalValue, NumberHasNoMoreDigitsThanItsText) {
    const Bytes three{3, 0};
    const std::vector<host::PhysicalNumber> numbers =
        host::physicalNumbers(variable(ValueType::u16, 0.1), kLittle, three);
    ASSERT_EQ(numbers.size(), 1U);
    EXPECT_EQ(numbers[0].number, 0.3);
    EXPECT_EQ(host::numberJson(numbers[0]).dump(), "0.3");
}

TEST(PhysicalValue, SeveralElementsStandInBrackets) {
    const host::VariableRecord three = variable(ValueType::i8, 0.5, 0.0, 3);
    const Bytes bytes{1, 0xFF, 4};
    EXPECT_EQ(text(three, kLittle, bytes), "[0.5, -0.5, 2.0]");
    EXPECT_EQ(host::physicalJson(three, kLittle, bytes).dump(), "[0.5,-0.5,2.0]");
    const std::vector<host::PhysicalNumber> numbers = host::physicalNumbers(three, kLittle, bytes);
    ASSERT_EQ(numbers.size(), 3U);
    EXPECT_EQ(numbers[1].text, "-0.5");
    EXPECT_EQ(numbers[1].number, -0.5);
}

TEST(PhysicalValue, BytesReadInHexadecimal) {
    host::VariableRecord record = variable(ValueType::bytes);
    record.size = 3;
    EXPECT_EQ(text(record, kBig, {0x0A, 0xBC, 0x00}), "0x0abc00");
    EXPECT_TRUE(host::physicalNumbers(record, kBig, Bytes{1, 2, 3}).empty());
}

TEST(PhysicalValueParse, NumbersBecomeBytesInTheOrderOfTheEcu) {
    EXPECT_THAT(parsed(variable(ValueType::u16), "780"), ElementsAre(0x0C, 0x03));
    EXPECT_THAT(parsed(variable(ValueType::u16), "780", kBig), ElementsAre(0x03, 0x0C));
    EXPECT_THAT(parsed(variable(ValueType::i8), "-7"), ElementsAre(0xF9));
    EXPECT_THAT(parsed(variable(ValueType::f32), "0.985"), ElementsAre(0xF6, 0x28, 0x7C, 0x3F));
    EXPECT_THAT(parsed(variable(ValueType::f64), "31.75", kBig),
                ElementsAre(0x40, 0x3F, 0xC0, 0, 0, 0, 0, 0));
    EXPECT_THAT(parsed(variable(ValueType::u64), "18446744073709551615"),
                ElementsAre(0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF));
    EXPECT_THAT(parsed(variable(ValueType::i64), "-9223372036854775808", kBig),
                ElementsAre(0x80, 0, 0, 0, 0, 0, 0, 0));
}

TEST(PhysicalValueParse, ConversionIsTurnedRound) {
    EXPECT_THAT(parsed(variable(ValueType::u8, 1.0, -40.0), "80"), ElementsAre(120));
    EXPECT_THAT(parsed(variable(ValueType::u16, 0.1), "12.3"), ElementsAre(0x7B, 0x00));
    EXPECT_THAT(parsed(variable(ValueType::i8, -2.0), "6"), ElementsAre(0xFD));
    EXPECT_TRUE(host::parsePhysical(variable(ValueType::u16, 0.1), kLittle, "12.3").exact);
}

TEST(PhysicalValueParse, NearestValueIsTakenAndMarked) {
    const host::RawValue value = host::parsePhysical(variable(ValueType::u8, 0.5), kLittle, "0.3");
    EXPECT_THAT(value.bytes, ElementsAre(1));
    EXPECT_FALSE(value.exact);
    EXPECT_FALSE(host::parsePhysical(variable(ValueType::u8), kLittle, "7.4").exact);
    EXPECT_TRUE(host::parsePhysical(variable(ValueType::f32), kLittle, "0.1").exact);
}

TEST(PhysicalValueParse, HexadecimalIsTheBytesThemselves) {
    EXPECT_THAT(parsed(variable(ValueType::u16), "0x0C03", kBig), ElementsAre(0x0C, 0x03));
    EXPECT_EQ(
        refusal(variable(ValueType::u16), "0x30C"),
        "v=0x30C: it has 2 bytes; give 4 hexadecimal digits behind 0x, in the order of their addresses");
    EXPECT_EQ(
        refusal(variable(ValueType::u16), "0x0G03"),
        "v=0x0G03: it has 2 bytes; give 4 hexadecimal digits behind 0x, in the order of their addresses");
}

TEST(PhysicalValueParse, SeveralNumbersStandWithCommas) {
    const host::VariableRecord two = variable(ValueType::i16, 1.0, 0.0, 2);
    EXPECT_THAT(parsed(two, "1,-2"), ElementsAre(1, 0, 0xFE, 0xFF));
    EXPECT_EQ(refusal(two, "1"), "v=1: found 1 numbers, and it has 2");
    EXPECT_EQ(refusal(two, "1,2,3"), "v=1,2,3: found 3 numbers, and it has 2");
}

TEST(PhysicalValueParse, WhatDoesNotFitIsRefusedWithWhatFits) {
    EXPECT_EQ(refusal(variable(ValueType::u8), "300"), "v=300: out of range; a u8 takes 0 to 255 rpm");
    EXPECT_EQ(refusal(variable(ValueType::u8), "-1"), "v=-1: out of range; a u8 takes 0 to 255 rpm");
    EXPECT_EQ(refusal(variable(ValueType::u8), "255.5"), "v=255.5: out of range; a u8 takes 0 to 255 rpm");
    EXPECT_EQ(refusal(variable(ValueType::i8, 0.5, 10.0), "74"),
              "v=74: out of range; a i8 takes -54.0 to 73.5 rpm");
    EXPECT_EQ(refusal(variable(ValueType::u8, -1.0), "1"), "v=1: out of range; a u8 takes -255 to 0 rpm");
    EXPECT_EQ(refusal(variable(ValueType::u64), "18446744073709551616"),
              "v=18446744073709551616: out of range; a u64 takes 0 to 18446744073709551615 rpm");
    EXPECT_EQ(refusal(variable(ValueType::f32), "1e39"), "v=1e39: out of range; a f32 cannot hold it");
}

TEST(PhysicalValueParse, WhatIsNoFiniteNumberIsRefused) {
    for (const char* value : {"", "fast", "12x", "nan", "inf", "1 "}) {
        EXPECT_EQ(refusal(variable(ValueType::f32), value),
                  "v=" + std::string(value) + ": \"" + value + "\" is no finite number");
    }
    EXPECT_EQ(refusal(variable(ValueType::bytes), "7"),
              "v=7: it is bytes and no number; give them in hexadecimal behind 0x");
}

}  // namespace
