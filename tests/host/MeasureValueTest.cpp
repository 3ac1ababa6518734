// Bytes of an ECU as physical values.

#include "host/MeasureValue.h"

#include <gtest/gtest.h>

namespace {

using host::cellText;
using host::jsonValue;
using host::MeasureValue;
using host::measureValue;
using host::ValueType;

host::VariableRecord variable(ValueType type, std::uint32_t size, double factor = 1.0, double offset = 0.0) {
    host::VariableRecord record;
    record.type = type;
    record.size = size;
    record.factor = factor;
    record.offset = offset;
    return record;
}

MeasureValue value(const host::VariableRecord& record, const std::vector<std::uint8_t>& bytes,
                   sim::ByteOrder order = sim::ByteOrder::intel) {
    return measureValue(record, order, bytes);
}

TEST(MeasureValues, IntegersOf64BitsStayExact) {
    const std::vector<std::uint8_t> bytes(8, 0xFF);
    EXPECT_EQ(cellText(value(variable(ValueType::u64, 8), bytes)), "18446744073709551615");
    EXPECT_EQ(jsonValue(value(variable(ValueType::u64, 8), bytes)).dump(), "18446744073709551615");
    EXPECT_EQ(cellText(value(variable(ValueType::i64, 8), {1, 0, 0, 0, 0, 0, 0, 0x80})),
              "-9223372036854775807");
}

TEST(MeasureValues, ConversionAndByteOrderCount) {
    EXPECT_EQ(cellText(value(variable(ValueType::i16, 2, 0.1), {0x85, 0xFF})), "-12.3");
    EXPECT_EQ(cellText(value(variable(ValueType::u8, 1, 1.0, -40.0), {100})), "60");
    EXPECT_EQ(cellText(value(variable(ValueType::u16, 2), {0x01, 0x02}, sim::ByteOrder::motorola)), "258");
}

TEST(MeasureValues, DigitsAreThoseThatReadShows) {
    EXPECT_EQ(cellText(value(variable(ValueType::u16, 2, 0.1), {3, 0})), "0.3");
    EXPECT_EQ(jsonValue(value(variable(ValueType::u16, 2, 0.1), {3, 0})).dump(), "0.3");
    EXPECT_EQ(value(variable(ValueType::u16, 2, 0.1), {3, 0}).first(), 0.3);
    EXPECT_EQ(cellText(value(variable(ValueType::u16, 2, 0.001), {0xE8, 0x35})), "13.800");
}

TEST(MeasureValues, FloatGetsNoDigitsThatItNeverHad) {
    EXPECT_EQ(cellText(value(variable(ValueType::f32, 4), {0xF6, 0x28, 0x7C, 0x3F})), "0.985");
    EXPECT_EQ(jsonValue(value(variable(ValueType::f32, 4), {0xF6, 0x28, 0x7C, 0x3F})).dump(), "0.985");
}

TEST(MeasureValues, WhatIsNoNumberIsEmptyAndNull) {
    const MeasureValue nan = value(variable(ValueType::f32, 4), {0, 0, 0xC0, 0x7F});
    const MeasureValue infinite = value(variable(ValueType::f64, 8), {0, 0, 0, 0, 0, 0, 0xF0, 0x7F});
    EXPECT_EQ(cellText(nan), "");
    EXPECT_EQ(jsonValue(nan).dump(), "null");
    EXPECT_EQ(cellText(infinite), "");
    EXPECT_EQ(jsonValue(infinite).dump(), "null");
    EXPECT_FALSE(nan.first().has_value());
}

TEST(MeasureValues, BytesAreHexadecimal) {
    const MeasureValue bytes = value(variable(ValueType::bytes, 3), {0x00, 0xAB, 0x10});
    EXPECT_EQ(cellText(bytes), "00ab10");
    EXPECT_EQ(jsonValue(bytes).dump(), "\"00ab10\"");
}

TEST(MeasureValues, ElementsStandInOneCellAndInAnArray) {
    const MeasureValue several = value(variable(ValueType::u16, 6), {1, 0, 2, 0, 3, 0});
    EXPECT_EQ(cellText(several), "1 2 3");
    EXPECT_EQ(jsonValue(several).dump(), "[1,2,3]");
    EXPECT_EQ(several.first(), 1.0);
}

TEST(MeasureValues, ElementThatIsNoNumberKeepsItsPlace) {
    EXPECT_EQ(cellText(value(variable(ValueType::f32, 8), {0, 0, 0xC0, 0x7F, 0, 0, 0x80, 0x3F})), "nan 1");
}

TEST(MeasureValues, ValueThatLacksBytesIsMissing) {
    const MeasureValue cut = value(variable(ValueType::u32, 4), {1, 2, 3});
    EXPECT_TRUE(cut.missing());
    EXPECT_EQ(cellText(cut), "");
    EXPECT_EQ(jsonValue(cut).dump(), "null");
}

TEST(MeasureValues, ShownTextFits) {
    EXPECT_EQ(shownText(value(variable(ValueType::u32, 4), {1, 0, 0, 0}), 12), "1");
    EXPECT_EQ(shownText(value(variable(ValueType::u16, 4), {1, 0, 2, 0}), 12), "1 ..");
    EXPECT_LE(shownText(value(variable(ValueType::u64, 8), std::vector<std::uint8_t>(8, 0xFF)), 12).size(),
              12U);
}

}  // namespace
