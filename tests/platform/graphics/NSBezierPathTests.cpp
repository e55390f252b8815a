#include <cmath>

#include <gtest/gtest.h>

#include "platform/graphics/NSAffineTransform.h"
#include "platform/graphics/NSBezierPath.h"
#include "platform/graphics/NSColor.h"
#include "platform/graphics/NSImage.h"
#include "platform/graphics/PixelTestSupport.h"

using namespace lxkit::test;

namespace {

void expectRectNear(NSRect got, NSRect want, double tolerance, const char* what) {
    EXPECT_NEAR(got.origin.x, want.origin.x, tolerance) << what;
    EXPECT_NEAR(got.origin.y, want.origin.y, tolerance) << what;
    EXPECT_NEAR(got.size.width, want.size.width, tolerance) << what;
    EXPECT_NEAR(got.size.height, want.size.height, tolerance) << what;
}

TEST(NSBezierPath, BoundsOfTransformedRectanglesAreTheBoxOfTheirCorners) {
    NSAffineTransform quarter;
    quarter.translateXBy(120, 160);
    quarter.rotateByDegrees(90);
    quarter.translateXBy(-120, -160);
    auto rotated = NSBezierPath::bezierPathWithRect({{0, 0}, {320, 240}});
    rotated->transformUsingAffineTransform(quarter);
    // Turned about the centre of the swapped size, the outline lands at (40, 40).
    expectRectNear(rotated->bounds(), {{40, 40}, {240, 320}}, 1e-9, "quarter turn");

    NSAffineTransform eighth;
    eighth.translateXBy(50, 50);
    eighth.rotateByDegrees(45);
    eighth.translateXBy(-50, -50);
    auto diamond = NSBezierPath::bezierPathWithRect({{0, 0}, {100, 100}});
    diamond->transformUsingAffineTransform(eighth);
    double side = 100 * std::sqrt(2.0);
    expectRectNear(diamond->bounds(), {{50 - side / 2, 50 - side / 2}, {side, side}}, 1e-9, "45 degrees");

    NSAffineTransform moved;
    moved.translateXBy(-30, 12);
    auto shifted = NSBezierPath::bezierPathWithRect({{0, 0}, {10, 20}});
    shifted->transformUsingAffineTransform(moved);
    expectRectNear(shifted->bounds(), {{-30, 12}, {10, 20}}, 0, "translation");
}

TEST(NSBezierPath, BoundsOfCurvesFollowTheCurveNotItsControlPoints) {
    expectRectNear(NSBezierPath::bezierPathWithOvalInRect({{10, 20}, {30, 40}})->bounds(),
                   {{10, 20}, {30, 40}}, 1e-9, "oval");
    expectRectNear(NSBezierPath::bezierPathWithRoundedRect({{0, 0}, {50, 20}}, 10, 10)->bounds(),
                   {{0, 0}, {50, 20}}, 1e-9, "rounded");
    NSBezierPath arch;
    arch.moveToPoint({0, 0});
    arch.curveToPoint({10, 0}, {0, 10}, {10, 10});
    // The curve peaks at 0.75 of its control points' height.
    expectRectNear(arch.bounds(), {{0, 0}, {10, 7.5}}, 1e-9, "arch");
    EXPECT_EQ(NSBezierPath().bounds(), NSZeroRect);
}

TEST(NSBezierPath, RoundedRectangleRadiiAreHeldToHalfTheSides) {
    // Radii larger than half the height make half-circle ends, as for a pill.
    auto pill = NSBezierPath::bezierPathWithRoundedRect({{0, 0}, {40, 10}}, 50, 50);
    auto canvas = NSImage::imageWithSize({40, 10});
    canvas->lockFocus();
    NSColor::whiteColor().set();
    pill->fill();
    canvas->unlockFocus();
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
    uint32_t replaced = pixelAt(*canvas, 0, 0);
    uint32_t blended = pixelAt(*canvas, 1, 0);
    EXPECT_NEAR(int(alphaOf(replaced)), 128, 1);
    EXPECT_EQ(blueOf(replaced), 0u);
    EXPECT_EQ(alphaOf(blended), 255u);
    EXPECT_NEAR(int(blueOf(blended)), 127, 1);

    // The clear colour clears with fillRect.
    canvas->lockFocus();
    NSColor::clearColor().set();
    NSBezierPath::fillRect({{0, 0}, {2, 1}});
    canvas->unlockFocus();
    EXPECT_EQ(pixelAt(*canvas, 1, 0), 0u);
}

TEST(NSBezierPath, StrokeUsesTheStrokeColourAndLineWidth) {
    auto canvas = NSImage::imageWithSize({10, 10});
    canvas->lockFocus();
    NSColor::redColor().setFill();
    NSColor::blueColor().setStroke();
    auto line = NSBezierPath::bezierPath();
    line->moveToPoint({0, 5});
    line->lineToPoint({10, 5});
    line->setLineWidth(4);
    line->stroke();
    canvas->unlockFocus();
    EXPECT_EQ(pixelAt(*canvas, 5, 3), argb(255, 0, 0, 255));
    EXPECT_EQ(pixelAt(*canvas, 5, 6), argb(255, 0, 0, 255));
    EXPECT_EQ(pixelAt(*canvas, 5, 1), 0u);
}

} // namespace
