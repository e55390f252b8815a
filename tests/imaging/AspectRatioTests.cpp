#include <gtest/gtest.h>

#include "imaging/AspectRatio.h"

namespace {

constexpr NSRect R(double x, double y, double w, double h) {
    return NSMakeRect(x, y, w, h);
}

struct FakeView {
    NSRect m_frame;
    mutable int m_asked = 0;
    NSRect frame() const {
        ++m_asked;
        return m_frame;
    }
};

TEST(AspectRatio, TagTableAsItStands) {
    const std::pair<int, NSSize> table[] = {
        {11, {1, 1}},    {23, {2, 3}},     {34, {3, 4}},   {43, {4, 3}},   {57, {7, 5}},
        {64, {4, 6}},    {75, {5, 7}},     {108, {8, 10}}, {169, {16, 9}}, {810, {10, 8}},
        {916, {40, 71}}, {1610, {16, 10}}, {46, {6, 4}},   {0, {6, 4}},    {-2, {6, 4}},
    };
    const NSSize own = NSMakeSize(640, 480);
    for (const auto& [tag, ratio] : table)
        EXPECT_EQ(AspectRatioFromTag(tag, nullptr, own), ratio) << "tag " << tag;
    EXPECT_EQ(AspectRatioFromTag(1, nullptr, own), own);
}

TEST(AspectRatio, FrameObjectAnswersOnlyForTagMinusOne) {
    FakeView view{R(5, 6, 300, 200)};
    EXPECT_EQ(AspectRatioFromTag(-1, &view, NSMakeSize(1, 2)), NSMakeSize(300, 200));
    EXPECT_EQ(view.m_asked, 1);
    EXPECT_EQ(AspectRatioFromTag(169, &view, NSMakeSize(1, 2)), NSMakeSize(16, 9));
    EXPECT_EQ(AspectRatioFromTag(1, &view, NSMakeSize(1, 2)), NSMakeSize(1, 2));
    EXPECT_EQ(view.m_asked, 1);
    EXPECT_EQ(AspectRatioFromTag(-1, nullptr, NSMakeSize(1, 2)), NSZeroSize);
    EXPECT_EQ(AspectRatioFromTag(-1, static_cast<const FakeView*>(nullptr), NSMakeSize(1, 2)), NSZeroSize);
}

TEST(AspectRatio, ConstrainAndPinMeasuresTheLimitFromTheFixedSides) {
    struct Case {
        const char* name;
        NSRect rect;
        NSRect bounds;
        NSSize ratio;
        int corner;
        bool keepWidth;
        NSRect expected;
    };
    const NSRect bounds = R(0, 0, 500, 500);
    const NSSize fourThree = NSMakeSize(4, 3);
    const Case cases[] = {
        // h' = 75, avail = |0 - 50| = 50, so h' = 50 and w' = 66.67.
        {"corner 3 downwards", R(0, 0, 100, 50), bounds, fourThree, 3, true, R(0, 0, 67, 50)},
        {"corner 4 upwards", R(0, 0, 100, 50), bounds, fourThree, 4, true, R(0, 0, 100, 75)},
        // Corner 1 measures upwards from the origin but keeps the top-right corner.
        {"corner 1 grows down", R(100, 400, 100, 50), bounds, fourThree, 1, true, R(100, 375, 100, 75)},
        {"corner 1 limited", R(100, 450, 100, 50), bounds, fourThree, 1, true, R(133, 450, 67, 50)},
        {"corner 2 keeps top-left", R(10, 100, 100, 50), bounds, fourThree, 2, true, R(10, 75, 100, 75)},
        // Keeping the height: w' = 4/3 * 60 = 80; corners 1 and 2 measure rightwards,
        // and 37.5 rounds to the even 38.
        {"height kept, fits", R(0, 0, 10, 60), bounds, fourThree, 2, false, R(0, 0, 80, 60)},
        {"height kept, corner 2 limited", R(450, 0, 10, 60), bounds, fourThree, 2, false, R(450, 22, 50, 38)},
        // Other corners measure leftwards: avail = |0 - (450 + 10)| = 460, no limit.
        {"height kept, corner 3", R(450, 0, 10, 60), bounds, fourThree, 3, false, R(450, 0, 80, 60)},
        {"height kept, corner 4 keeps right", R(100, 0, 100, 60), R(150, 0, 500, 500), fourThree, 4, false,
         R(150, 0, 50, 38)},
        // Rounding is ties-to-even: 2.5 gives 2.
        {"ties to even", R(0, 0, 2.5, 10), bounds, NSMakeSize(1, 1), 3, true, R(0, 0, 2, 2)},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ConstrainAndPinRectWithAspectRatio(c.rect, c.bounds, c.ratio, c.corner, c.keepWidth),
                  c.expected)
            << c.name;
}

TEST(AspectRatio, LimitCarriesSinglePrecisionOnly) {
    // 2^25 + 1 is a double but not a float: the available height reads as 2^25, which
    // the derived height (2^25 + 1) exceeds, so the limit applies and ends one short.
    const double big = 33554433.0;
    NSRect rect = R(0, 0, big, 1);
    NSRect bounds = R(0, 0, 10, big);
    NSRect result = ConstrainAndPinRectWithAspectRatio(rect, bounds, NSMakeSize(1, 1), 4, true);
    EXPECT_EQ(result.size.height, 33554432.0);
    EXPECT_EQ(result.size.width, 33554432.0);
    EXPECT_EQ(result.origin.x, 1.0) << "corner 4 keeps the right edge";
}

} // namespace
