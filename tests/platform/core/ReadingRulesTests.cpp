#include <cmath>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "platform/core/NSGeometry.h"
#include "platform/core/PropertyList.h"

namespace {

constexpr int32_t kIntMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kIntMin = std::numeric_limits<int32_t>::min();

struct IntCase {
    PropertyValue value;
    std::optional<int32_t> expected;
};

TEST(ReadingRules, IntValueOfEveryKind) {
    const IntCase cases[] = {
        {PropertyValue::number(42), 42},
        {PropertyValue::real(2.9), 2},
        {PropertyValue::real(-2.9), -2},
        {PropertyValue::real(1e12), kIntMax},
        {PropertyValue::real(-1e12), kIntMin},
        {PropertyValue::real(NAN), 0},
        {PropertyValue::real(INFINITY), kIntMax},
        {NSNumber::numberWithLongLong(int64_t(1) << 40), kIntMax},
        {NSNumber::numberWithLongLong(-(int64_t(1) << 40)), kIntMin},
        {NSNumber::numberWithUnsignedLongLong(UINT64_MAX), kIntMax},
        {PropertyValue::boolean(true), 1},
        {PropertyValue("  -17 frames"), -17},
        {PropertyValue("+8"), 8},
        {PropertyValue("12.9"), 12},
        {PropertyValue("abc"), 0},
        {PropertyValue(""), 0},
        {PropertyValue("99999999999"), kIntMax},
        {PropertyValue("-99999999999"), kIntMin},
        {PropertyValue(NSData::dataWithBytes("12", 2)), std::nullopt},
        {PropertyValue(PropertyArray{PropertyValue::number(1)}), std::nullopt},
        {PropertyValue(PropertyDictionary{}), std::nullopt},
        {PropertyValue(), std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.value.intValue(), c.expected) << "case " << (&c - cases);
}

TEST(ReadingRules, BoolValueOfEveryKind) {
    const std::pair<PropertyValue, std::optional<bool>> cases[] = {
        {PropertyValue::number(0), false},
        {PropertyValue::number(-3), true},
        {PropertyValue::real(0.25), true},
        {PropertyValue::real(0.0), false},
        {PropertyValue::boolean(false), false},
        {PropertyValue("Y"), true},
        {PropertyValue("yes"), true},
        {PropertyValue("T"), true},
        {PropertyValue("true"), true},
        {PropertyValue("  7"), true},
        {PropertyValue("-0001"), true},
        {PropertyValue("000"), false},
        {PropertyValue("N"), false},
        {PropertyValue("false"), false},
        {PropertyValue("x1"), false},
        {PropertyValue(""), false},
        {PropertyValue(NSData{}), std::nullopt},
        {PropertyValue(PropertyArray{}), std::nullopt},
    };
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(value.boolValue(), expected) << "case " << (&value - &cases[0].first) / 2;
}

TEST(ReadingRules, SizeFromStringReadsTheFirstTwoNumbers) {
    const std::pair<const char*, NSSize> cases[] = {
        {"{320, 240}", {320, 240}},
        {"{320.5,240.25}", {320.5, 240.25}},
        {"{-5, 1e3}", {-5, 1000}},
        {"{320}", {320, 0}},
        {"", {0, 0}},
        {"no numbers here", {0, 0}},
        {"{nan, inf}", {0, 0}},
        {"w=64 h=48 d=3", {64, 48}},
        {"{.5, 7.}", {0.5, 7}},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(NSSizeFromString(text), expected) << text;
    EXPECT_TRUE(std::isinf(NSSizeFromString("{1e999, 2}").width));
}

TEST(PropertyValue, ContainersAreSharedLikeFoundationObjects) {
    PropertyValue array(PropertyArray{PropertyValue::number(1)});
    PropertyValue copy = array;
    copy.mutableArray()->push_back(PropertyValue("two"));
    EXPECT_EQ(array.array()->size(), 2u);
    EXPECT_TRUE(copy.sharesContainerWith(array));
    EXPECT_FALSE(PropertyValue(PropertyArray{}).sharesContainerWith(PropertyValue(PropertyArray{})));
    EXPECT_EQ(PropertyValue(PropertyArray{}), PropertyValue(PropertyArray{}));
}

} // namespace
