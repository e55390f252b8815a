#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "imaging/RectGeometry.h"

namespace {

constexpr NSRect R(double x, double y, double w, double h) {
    return NSMakeRect(x, y, w, h);
}

TEST(RectGeometry, Corners) {
    const NSRect rect = R(10, 20, 30, 40);
    EXPECT_EQ(BottomLeftOfRect(rect), NSMakePoint(10, 20));
    EXPECT_EQ(BottomRightOfRect(rect), NSMakePoint(40, 20));
    EXPECT_EQ(TopLeftOfRect(rect), NSMakePoint(10, 60));
    EXPECT_EQ(TopRightOfRect(rect), NSMakePoint(40, 60));
    // Negative sizes are used as they stand.
    EXPECT_EQ(TopRightOfRect(R(10, 20, -30, -5)), NSMakePoint(-20, 15));
}

TEST(RectGeometry, FlooringAndRoundingTreatEachComponentOnItsOwn) {
    struct Case {
        NSRect input, floored, rounded;
    };
    const Case cases[] = {
        {R(0.5, 0.5, 10.9, 10.9), R(0, 0, 10, 10), R(0, 0, 11, 11)},
        {R(0.5, 1.5, 2.5, 3.5), R(0, 1, 2, 3), R(0, 2, 2, 4)},
        // Width and height are floored themselves, not the right edge: 0.9 + 0.9 ends at
        // 1.8 but the floored rect ends at 0.
        {R(0.9, -0.5, 0.9, -1.5), R(0, -1, 0, -2), R(1, -0, 1, -2)},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(FloorRect(c.input), c.floored);
        EXPECT_EQ(RoundRect(c.input), c.rounded);
    }
    EXPECT_EQ(FloorPoint(NSMakePoint(-0.5, 1.5)), NSMakePoint(-1, 1));
    EXPECT_EQ(RoundSize(NSMakeSize(-2.5, 2.5)), NSMakeSize(-2, 2));
    EXPECT_TRUE(std::signbit(RoundSize(NSMakeSize(-0.5, 0)).width)) << "-0.5 rounds to -0";

    const double inf = std::numeric_limits<double>::infinity();
    NSRect odd = FloorRect(R(std::nan(""), inf, -inf, 1));
    EXPECT_TRUE(std::isnan(odd.origin.x));
    EXPECT_EQ(odd.origin.y, inf);
    EXPECT_EQ(odd.size.width, -inf);
}

TEST(RectGeometry, RoundToTakesTiesAwayFromZeroAsTheDoublesFall) {
    struct Case {
        double value, places, expected;
    };
    const Case cases[] = {
        {2.345, 2, 2.35}, // 234.50000000000003
        {1.005, 2, 1.0},  // 100.49999999999999
        {1234.5, -2, 1200},
        {-2.5, 0, -3},
        {2.5, 0, 3},
        {0.125, 2, 0.13},
        {1234.5678, 0.5, std::round(1234.5678 * std::sqrt(10.0)) / std::sqrt(10.0)},
    };
    for (const Case& c : cases)
        EXPECT_DOUBLE_EQ(RoundTo(c.value, c.places), c.expected) << c.value << " to " << c.places;
}

TEST(RectGeometry, Centring) {
    struct Case {
        NSRect rect, inRect, centred, weighted;
    };
    const Case cases[] = {
        {R(7, 7, 10, 10), R(100, 100, 50, 30), R(120, 110, 10, 10), R(120, 115, 10, 10)},
        {R(0, 0, 60, 10), R(0, 0, 50, 30), R(-5, 10, 60, 10), R(-5, 15, 60, 10)},
        // Taller than the box: both overhang, the weighted one three quarters below.
        {R(0, 0, 10, 70), R(0, 0, 10, 30), R(0, -20, 10, 70), R(0, -30, 10, 70)},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CenterRect(c.rect, c.inRect), c.centred);
        EXPECT_EQ(CenterWeightRect(c.rect, c.inRect), c.weighted);
    }
    EXPECT_EQ(SwapWidthAndHeight(R(1, 2, 3, 4)), R(1, 2, 4, 3));
}

TEST(RectGeometry, ConstrainPointClampsLowerBoundFirst) {
    const NSRect box = R(0, 0, 100, 100);
    EXPECT_EQ(ConstrainPoint(NSMakePoint(-5, 200), box), NSMakePoint(0, 100));
    EXPECT_EQ(ConstrainPoint(NSMakePoint(100, 0), box), NSMakePoint(100, 0)) << "edges stay";
    // With a negative size the upper bound (the origin plus the size) wins.
    EXPECT_EQ(ConstrainPoint(NSMakePoint(5, 5), R(10, 10, -20, -30)), NSMakePoint(-10, -20));
    NSPoint carried = ConstrainPoint(NSMakePoint(std::nan(""), 5), box);
    EXPECT_TRUE(std::isnan(carried.x));
    EXPECT_EQ(carried.y, 5);
}

TEST(RectGeometry, Pinning) {
    struct Case {
        NSRect rect, inRect, pinned;
    };
    const NSRect box = R(0, 0, 100, 100);
    const Case cases[] = {
        {R(-10, 5, 20, 20), box, R(0, 5, 20, 20)},
        {R(90, 90, 20, 20), box, R(80, 80, 20, 20)},
        {R(10, 10, 200, 20), box, R(-100, 10, 200, 20)}, // flush right, overhanging left
        {R(-50, -50, 20, 300), box, R(0, -200, 20, 300)},
        {R(80, 0, 20, 100), box, R(80, 0, 20, 100)}, // touching edges is not moving
    };
    for (const Case& c : cases)
        EXPECT_EQ(PinRectToRect(c.rect, c.inRect), c.pinned);

    EXPECT_EQ(PinRectToTopLeft(R(33, 33, 20, 30), box), R(0, 70, 20, 30));
    EXPECT_EQ(PinRectToTopLeft(R(0, 0, 20, 130), R(5, 10, 100, 100)), R(5, -20, 20, 130));
    EXPECT_EQ(PinRectToTopLeftPoint(R(33, 33, 20, 30), NSMakePoint(5, 50)), R(5, 20, 20, 30));
}

} // namespace
