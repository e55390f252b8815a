#include <cmath>

#include <gtest/gtest.h>

#include "platform/graphics/NSAffineTransform.h"
#include "platform/graphics/NSBezierPath.h"
#include "platform/graphics/NSColor.h"
#include "platform/graphics/NSImage.h"
#include "platform/graphics/PixelTestSupport.h"

using namespace lxkit::test;

namespace {

void expectRectNear(NSRect got, NSRect want, const char* what) {
    EXPECT_NEAR(got.origin.x, want.origin.x, 1e-9) << what;
    EXPECT_NEAR(got.origin.y, want.origin.y, 1e-9) << what;
    EXPECT_NEAR(got.size.width, want.size.width, 1e-9) << what;
    EXPECT_NEAR(got.size.height, want.size.height, 1e-9) << what;
}

TEST(NSBezierPath, BoundsOfTransformedRectanglesAreTheBoxOfTheirCorners) {
    const double side = 100 * std::sqrt(2.0);
    struct Case {
        const char* name;
        NSRect rect;
        NSPoint centre;
        double degrees;
        NSPoint move;
        NSRect bounds;
    } cases[] = {
        // Turned about the centre of the swapped size, the outline lands at (40, 40).
        {"quarter turn", {{0, 0}, {320, 240}}, {120, 160}, 90, {}, {{40, 40}, {240, 320}}},
        {"45 degrees",
         {{0, 0}, {100, 100}},
         {50, 50},
         45,
         {},
         {{50 - side / 2, 50 - side / 2}, {side, side}}},
        {"translation", {{0, 0}, {10, 20}}, {}, 0, {-30, 12}, {{-30, 12}, {10, 20}}},
    };
    for (const Case& c : cases) {
        NSAffineTransform transform;
        transform.translateXBy(c.centre.x + c.move.x, c.centre.y + c.move.y);
        transform.rotateByDegrees(c.degrees);
        transform.translateXBy(-c.centre.x, -c.centre.y);
        auto path = NSBezierPath::bezierPathWithRect(c.rect);
        path->transformUsingAffineTransform(transform);
        expectRectNear(path->bounds(), c.bounds, c.name);
    }
}

TEST(NSBezierPath, BoundsOfCurvesFollowTheCurveNotItsControlPoints) {
    expectRectNear(NSBezierPath::bezierPathWithOvalInRect({{10, 20}, {30, 40}})->bounds(),
                   {{10, 20}, {30, 40}}, "oval");
    expectRectNear(NSBezierPath::bezierPathWithRoundedRect({{0, 0}, {50, 20}}, 10, 10)->bounds(),
                   {{0, 0}, {50, 20}}, "rounded");
    NSBezierPath arch;
    arch.moveToPoint({0, 0});
    arch.curveToPoint({10, 0}, {0, 10}, {10, 10});
    // The curve peaks at 0.75 of its control points' height.
    expectRectNear(arch.bounds(), {{0, 0}, {10, 7.5}}, "arch");
    EXPECT_EQ(NSBezierPath().bounds(), NSZeroRect);
}

TEST(NSBezierPath, RoundedRectangleRadiiAreHeldToHalfTheSides) {
    // Radii larger than half the height make half-circle ends, as for a pill.
    auto canvas = drawnImage({40, 10}, [] {
        NSColor::whiteColor().set();
        NSBezierPath::bezierPathWithRoundedRect({{0, 0}, {40, 10}}, 50, 50)->fill();
    });
    EXPECT_EQ(alphaOf(pixelAt(*canvas, 0, 0)), 0u) << "corner outside the pill";
    EXPECT_EQ(alphaOf(pixelAt(*canvas, 20, 0)), 255u) << "top edge in the middle";
    EXPECT_EQ(alphaOf(pixelAt(*canvas, 1, 5)), 255u) << "left end on the centre line";
}

TEST(NSBezierPath, FillRectReplacesWhatIsThereAndFillBlends) {
    auto canvas = makeImage(2, 1, [](int, int) { return argb(255, 0, 0, 255); });
    canvas->lockFocus();
    NSColor::colorWithDeviceRed(1, 0, 0, 0.5).set();
    NSBezierPath::fillRect({{0, 0}, {1, 1}});
    NSBezierPath::bezierPathWithRect({{1, 0}, {1, 1}})->fill();
    canvas->unlockFocus();
    EXPECT_TRUE(ColoursNear(pixelAt(*canvas, 0, 0), argb(128, 128, 0, 0), 1)) << "replaced";
    EXPECT_TRUE(ColoursNear(pixelAt(*canvas, 1, 0), argb(255, 128, 0, 127), 1)) << "blended";

    // The clear colour clears with fillRect.
    canvas->lockFocus();
    NSColor::clearColor().set();
    NSBezierPath::fillRect({{0, 0}, {2, 1}});
    canvas->unlockFocus();
    EXPECT_EQ(pixelAt(*canvas, 1, 0), 0u);
}

TEST(NSBezierPath, StrokeUsesTheStrokeColourAndLineWidth) {
    auto canvas = drawnImage({10, 10}, [] {
        NSColor::redColor().setFill();
        NSColor::blueColor().setStroke();
        auto line = NSBezierPath::bezierPath();
        line->moveToPoint({0, 5});
        line->lineToPoint({10, 5});
        line->setLineWidth(4);
        line->stroke();
    });
    EXPECT_EQ(pixelAt(*canvas, 5, 3), argb(255, 0, 0, 255));
    EXPECT_EQ(pixelAt(*canvas, 5, 6), argb(255, 0, 0, 255));
    EXPECT_EQ(pixelAt(*canvas, 5, 1), 0u);
}

} // namespace
