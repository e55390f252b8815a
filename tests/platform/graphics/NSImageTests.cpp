#include <thread>

#include <gtest/gtest.h>

#include "platform/graphics/NSBezierPath.h"
#include "platform/graphics/NSColor.h"
#include "platform/graphics/NSGraphicsContext.h"
#include "platform/graphics/NSImage.h"
#include "platform/graphics/PixelTestSupport.h"

using namespace lxkit::test;

namespace {

TEST(NSImage, CanvasesGetTheNearestWholePixelSizeAndKeepTheirPointSize) {
    struct Case {
        NSSize points;
        PixelSize pixels;
    } cases[] = {
        {{240.00000000000003, 320}, {240, 320}},
        {{141.4213562373095, 141.42135623730948}, {141, 141}},
        {{10.5, 0.6}, {11, 1}},
    };
    for (const Case& c : cases) {
        auto image = NSImage::imageWithSize(c.points);
        ASSERT_TRUE(image) << c.points.width;
        EXPECT_EQ(image->bitmap().pixelSize(), c.pixels);
        EXPECT_EQ(image->size(), c.points);
        EXPECT_EQ(pixelAt(*image, 0, 0), 0u) << "a new canvas is transparent";
    }
}

TEST(NSImage, CanvasesWithoutPixelsOrOverTheCapAreNotMade) {
    const NSSize sizes[] = {{0, 10}, {10, 0.4}, {-5, 5}, {NAN, 5}, {16385, 1}, {8000, 8000}};
    for (NSSize size : sizes)
        EXPECT_FALSE(NSImage::imageWithSize(size)) << size.width << " x " << size.height;
    EXPECT_TRUE(NSImage::imageWithSize({16384, 2}));
}

TEST(NSImage, LockFocusDrawsInPointsWithTheOriginAtTheBottomLeft) {
    // 20 x 10 points over 40 x 20 pixels: a point is 2 x 2 pixels.
    auto bitmap = NSBitmapImageRep::bitmapWithPixelSize({40, 20});
    ASSERT_TRUE(bitmap);
    auto image = NSImage::imageWithBitmap(*bitmap, {20, 10});
    image->lockFocus();
    NSColor::redColor().set();
    NSBezierPath::fillRect({{0, 0}, {5, 2}});
    image->unlockFocus();
    const uint32_t red = argb(255, 255, 0, 0);
    EXPECT_EQ(pixelAt(*image, 0, 19), red);
    EXPECT_EQ(pixelAt(*image, 9, 16), red);
    EXPECT_EQ(pixelAt(*image, 10, 19), 0u);
    EXPECT_EQ(pixelAt(*image, 0, 15), 0u);
    EXPECT_EQ(pixelAt(*image, 0, 0), 0u);
    // What was drawn through the focus shows when the image is drawn in turn.
    auto copy = drawnImage({20, 10}, [&] {
        image->drawInRect({{0, 0}, {20, 10}}, NSZeroRect, NSCompositingOperation::SourceOver, 1.0);
    });
    EXPECT_EQ(pixelAt(*copy, 1, 9), red);
}

TEST(NSImage, DrawingAnImageIntoACanvasOfItsOwnSizeCopiesItsPixelsExactly) {
    for (bool opaque : {true, false}) {
        auto source = makeImage(37, 23, [&](int x, int row) { return noisePixel(x, row, opaque); });
        for (auto interpolation : {NSImageInterpolation::Default, NSImageInterpolation::High}) {
            auto canvas = drawnImage(source->size(), [&] {
                NSGraphicsContext::currentContext()->setImageInterpolation(interpolation);
                source->drawInRect({NSZeroPoint, source->size()}, NSZeroRect,
                                   NSCompositingOperation::SourceOver, 1.0);
            });
            EXPECT_EQ(pixelsOf(*canvas), pixelsOf(*source)) << "opaque " << opaque;
        }
    }
}

TEST(NSImage, DrawInRectMapsTheSourceRectangleOntoTheDestination) {
    // Left half blue, right half green (4 x 2 pixels).
    auto source =
        makeImage(4, 2, [](int x, int) { return x < 2 ? argb(255, 0, 0, 255) : argb(255, 0, 255, 0); });
    // The right half of the source, doubled, into the top-right corner.
    auto canvas = drawnImage({8, 8}, [&] {
        NSGraphicsContext::currentContext()->setImageInterpolation(NSImageInterpolation::None);
        source->drawInRect({{4, 4}, {4, 4}}, {{2, 0}, {2, 2}}, NSCompositingOperation::SourceOver, 1.0);
    });
    for (int row = 0; row < 8; ++row)
        for (int x = 0; x < 8; ++x)
            EXPECT_EQ(pixelAt(*canvas, x, row), (x >= 4 && row < 4) ? argb(255, 0, 255, 0) : 0u)
                << x << ", " << row;
}

TEST(NSImage, InterpolationNoneKeepsHardEdgesAndTheDefaultBlends) {
    auto source =
        makeImage(2, 1, [](int x, int) { return x == 0 ? argb(255, 0, 0, 0) : argb(255, 255, 255, 255); });
    auto draw = [&](NSImageInterpolation interpolation) {
        return drawnImage({16, 1}, [&] {
            NSGraphicsContext::currentContext()->setImageInterpolation(interpolation);
            source->drawInRect({{0, 0}, {16, 1}}, NSZeroRect, NSCompositingOperation::SourceOver, 1.0);
        });
    };
    auto nearest = draw(NSImageInterpolation::None);
    auto smooth = draw(NSImageInterpolation::Default);
    EXPECT_EQ(pixelAt(*nearest, 7, 0), argb(255, 0, 0, 0));
    EXPECT_EQ(pixelAt(*nearest, 8, 0), argb(255, 255, 255, 255));
    uint32_t middle = redOf(pixelAt(*smooth, 7, 0));
    EXPECT_GT(middle, 20u);
    EXPECT_LT(middle, 235u);
    // Padded edges: the ends are the source's own colours, not faded to transparency.
    EXPECT_EQ(pixelAt(*smooth, 0, 0), argb(255, 0, 0, 0));
    EXPECT_EQ(pixelAt(*smooth, 15, 0), argb(255, 255, 255, 255));
}

TEST(NSImage, CompositingOperationsAndFractionFollowTheirFormulas) {
    auto halfRed = makeImage(1, 1, [](int, int) { return argb(128, 128, 0, 0); });
    struct Case {
        NSCompositingOperation operation;
        double fraction;
        uint32_t want; // over a canvas of opaque blue
    } cases[] = {
        {NSCompositingOperation::SourceOver, 1.0, argb(255, 128, 0, 127)},
        {NSCompositingOperation::Copy, 1.0, argb(128, 128, 0, 0)},
        {NSCompositingOperation::DestinationIn, 1.0, argb(128, 0, 0, 128)},
        {NSCompositingOperation::DestinationOut, 1.0, argb(127, 0, 0, 127)},
        {NSCompositingOperation::Clear, 1.0, 0u},
        {NSCompositingOperation::SourceOver, 0.0, argb(255, 0, 0, 255)},
        {NSCompositingOperation::Difference, 1.0, argb(255, 128, 0, 255)},
    };
    for (const Case& c : cases) {
        auto canvas = makeImage(1, 1, [](int, int) { return argb(255, 0, 0, 255); });
        canvas->lockFocus();
        halfRed->drawInRect({{0, 0}, {1, 1}}, NSZeroRect, c.operation, c.fraction);
        canvas->unlockFocus();
        EXPECT_TRUE(ColoursNear(pixelAt(*canvas, 0, 0), c.want, 1))
            << "operation " << int(c.operation) << " fraction " << c.fraction;
    }
}

TEST(NSGraphicsContext, NestedFocusRestoresTheOuterDestinationAndItsState) {
    EXPECT_EQ(NSGraphicsContext::currentContext(), nullptr);
    auto outer = NSImage::imageWithSize({2, 2});
    auto inner = NSImage::imageWithSize({2, 2});
    outer->lockFocus();
    NSGraphicsContext* outerContext = NSGraphicsContext::currentContext();
    ASSERT_NE(outerContext, nullptr);
    // Each thread has its own current context.
    NSGraphicsContext* seenOnOtherThread = outerContext;
    std::thread([&] { seenOnOtherThread = NSGraphicsContext::currentContext(); }).join();
    EXPECT_EQ(seenOnOtherThread, nullptr);
    NSColor::blueColor().set();
    outerContext->setImageInterpolation(NSImageInterpolation::High);

    inner->lockFocus();
    EXPECT_NE(NSGraphicsContext::currentContext(), outerContext);
    EXPECT_EQ(NSGraphicsContext::currentContext()->fillColor(), NSColor::blackColor());
    NSColor::redColor().set();
    NSBezierPath::fillRect({{0, 0}, {2, 2}});
    inner->unlockFocus();

    ASSERT_EQ(NSGraphicsContext::currentContext(), outerContext);
    EXPECT_EQ(outerContext->fillColor(), NSColor::blueColor());
    EXPECT_EQ(outerContext->imageInterpolation(), NSImageInterpolation::High);
    NSBezierPath::fillRect({{0, 0}, {1, 1}});
    outer->unlockFocus();
    EXPECT_EQ(NSGraphicsContext::currentContext(), nullptr);

    EXPECT_EQ(pixelAt(*inner, 0, 0), argb(255, 255, 0, 0));
    EXPECT_EQ(pixelAt(*outer, 0, 1), argb(255, 0, 0, 255));
    EXPECT_EQ(pixelAt(*outer, 1, 0), 0u);
}

TEST(NSGraphicsContext, SavedStateComesBackAfterRestore) {
    auto canvas = NSImage::imageWithSize({4, 4});
    canvas->lockFocus();
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    NSColor::whiteColor().set();
    NSGraphicsContext::saveGraphicsState();
    NSColor::redColor().set();
    context->setImageInterpolation(NSImageInterpolation::None);
    NSBezierPath::bezierPathWithRect({{0, 0}, {2, 2}})->addClip();
    NSGraphicsContext::restoreGraphicsState();
    EXPECT_EQ(NSGraphicsContext::currentContext(), context);
    EXPECT_EQ(context->fillColor(), NSColor::whiteColor());
    EXPECT_EQ(context->imageInterpolation(), NSImageInterpolation::Default);
    NSBezierPath::fillRect({{0, 0}, {4, 4}}); // the clip went with the restore
    canvas->unlockFocus();
    EXPECT_EQ(pixelAt(*canvas, 3, 0), argb(255, 255, 255, 255));
}

TEST(NSGraphicsContext, DrawingWithoutACurrentContextDoesNothing) {
    auto image = makeImage(1, 1, [](int, int) { return argb(255, 1, 2, 3); });
    NSColor::redColor().set();
    NSBezierPath::fillRect({{0, 0}, {1, 1}});
    image->drawInRect({{0, 0}, {1, 1}}, NSZeroRect, NSCompositingOperation::SourceOver, 1.0);
    NSGraphicsContext::restoreGraphicsState();
    EXPECT_EQ(NSGraphicsContext::currentContext(), nullptr);
    EXPECT_EQ(pixelAt(*image, 0, 0), argb(255, 1, 2, 3));
}

} // namespace
