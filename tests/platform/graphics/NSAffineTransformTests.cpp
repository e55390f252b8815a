#include <cmath>

#include <gtest/gtest.h>

#include "platform/graphics/NSAffineTransform.h"
#include "platform/graphics/NSGraphicsContext.h"
#include "platform/graphics/NSImage.h"
#include "platform/graphics/PixelTestSupport.h"

namespace {

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
    NSAffineTransform transform;
    transform.translateXBy(320, 7);
    transform.rotateByDegrees(45);
    transform.scaleXBy(-1, 2);
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
