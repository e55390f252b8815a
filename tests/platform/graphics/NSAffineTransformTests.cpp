#include <cmath>

#include <gtest/gtest.h>

#include "platform/graphics/NSAffineTransform.h"
#include "platform/graphics/NSGraphicsContext.h"
#include "platform/graphics/NSImage.h"
#include "platform/graphics/PixelTestSupport.h"

namespace {

/// Builds a frame transform the way the interval job does: the rotation about the centre
/// of the (possibly swapped) frame size, then the flips.
NSAffineTransform frameTransform(NSSize frame, int rotation, bool flipHorizontal, bool flipVertical) {
    NSAffineTransform transform;
    double width = frame.width, height = frame.height;
    if (rotation != 0) {
        double angle = rotation;
        if (rotation == 90 || rotation == -90) {
            angle = -rotation;
            std::swap(width, height);
        }
        transform.translateXBy(width * 0.5, height * 0.5);
        transform.rotateByDegrees(angle);
        transform.translateXBy(width * -0.5, height * -0.5);
    }
    if (flipHorizontal) {
        transform.translateXBy(width, 0);
        transform.scaleXBy(-1, 1);
    }
    if (flipVertical) {
        transform.translateXBy(0, height);
        transform.scaleXBy(1, -1);
    }
    return transform;
}

TEST(NSAffineTransform, FrameTransformsOfA320By240FrameMapPointsAsTheIntervalJobNeeds) {
    // An affine map is fixed by where it sends three corners: (0, 0), (320, 0), (0, 240).
    struct Case {
        const char* name;
        int rotation;
        bool flipHorizontal, flipVertical;
        NSPoint corners[3];
    } cases[] = {
        {"rotation 90", 90, false, false, {{-40, 280}, {-40, -40}, {200, 280}}},
        {"rotation -90", -90, false, false, {{280, 40}, {280, 360}, {40, 40}}},
        {"flip horizontal", 0, true, false, {{320, 0}, {0, 0}, {320, 240}}},
        {"flip vertical", 0, false, true, {{0, 240}, {320, 240}, {0, 0}}},
        // Mirrored vertically first, then horizontally: a half turn about the frame's centre.
        {"both flips", 0, true, true, {{320, 240}, {0, 240}, {320, 0}}},
        // The flip acts first, over the swapped height 320; then the quarter turn.
        {"rotation 90 after flip vertical", 90, false, true, {{280, 280}, {280, -40}, {40, 280}}},
    };
    const NSPoint corners[3] = {{0, 0}, {320, 0}, {0, 240}};
    for (const Case& c : cases) {
        NSAffineTransform transform =
            frameTransform({320, 240}, c.rotation, c.flipHorizontal, c.flipVertical);
        for (int i = 0; i < 3; ++i) {
            NSPoint got = transform.transformPoint(corners[i]);
            EXPECT_NEAR(got.x, c.corners[i].x, 1e-9) << c.name << " corner " << i;
            EXPECT_NEAR(got.y, c.corners[i].y, 1e-9) << c.name << " corner " << i;
        }
    }
}

TEST(NSAffineTransform, TheOperationAddedLastActsFirst) {
    NSAffineTransform transform;
    transform.translateXBy(10, 0);
    transform.scaleXBy(2, -1);
    // Scaled first, then moved.
    EXPECT_EQ(transform.transformPoint({1, 1}), (NSPoint{12, -1}));

    NSAffineTransform scale;
    scale.scaleBy(2);
    NSAffineTransform move;
    move.translateXBy(5, 7);
    NSAffineTransform appended = scale;
    appended.appendTransform(move); // scale, then move
    EXPECT_EQ(appended.transformPoint({1, 1}), (NSPoint{7, 9}));
    NSAffineTransform prepended = scale;
    prepended.prependTransform(move); // move, then scale
    EXPECT_EQ(prepended.transformPoint({1, 1}), (NSPoint{12, 16}));
    // Sizes ignore the translation but keep the sign.
    EXPECT_EQ(transform.transformSize({3, 4}), (NSSize{6, -4}));
}

TEST(NSAffineTransform, RotationIsCounterClockwiseAndKeepsItsRoundingError) {
    NSAffineTransform transform;
    transform.rotateByDegrees(90);
    NSPoint p = transform.transformPoint({1, 0});
    EXPECT_NEAR(p.x, 0, 1e-15);
    EXPECT_NEAR(p.y, 1, 1e-15);
    // cos 90° as a double is 6.1e-17, not 0: a 240 x 320 outline turned a quarter
    // measures 240.00000000000003 wide, which canvases must absorb.
    EXPECT_NE(transform.transformStruct().m11, 0.0);

    NSAffineTransform radians;
    radians.rotateByRadians(std::acos(-1.0) / 2);
    EXPECT_EQ(radians.transformStruct(), transform.transformStruct());
}

TEST(NSAffineTransform, InvertUndoesAndSingularMatricesStayUnchanged) {
    NSAffineTransform transform = frameTransform({320, 240}, 45, true, false);
    NSAffineTransform inverse = transform;
    inverse.invert();
    NSPoint back = inverse.transformPoint(transform.transformPoint({33, 71}));
    EXPECT_NEAR(back.x, 33, 1e-9);
    EXPECT_NEAR(back.y, 71, 1e-9);

    NSAffineTransform singular;
    singular.scaleXBy(0, 1);
    NSAffineTransformStruct before = singular.transformStruct();
    singular.invert();
    EXPECT_EQ(singular.transformStruct(), before);
}

TEST(NSAffineTransform, ConcatActsOnWhatIsDrawnNextInTheCurrentContext) {
    double x = 0, y = 0;
    ASSERT_TRUE(lxkit::test::drawnImage({4, 4}, [&] {
        NSAffineTransform transform;
        transform.translateXBy(1, 1);
        transform.concat();
        cairo_user_to_device(NSGraphicsContext::currentContext()->cairo(), &x, &y);
    }));
    // (0, 0) moved to (1, 1) in a y-up space 4 high: device column 1, row 4 - 1.
    EXPECT_DOUBLE_EQ(x, 1);
    EXPECT_DOUBLE_EQ(y, 3);
}

} // namespace
