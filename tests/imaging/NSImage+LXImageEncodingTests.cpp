#include <cmath>

#include <gtest/gtest.h>

#include "imaging/NSImage+LXImageEncoding.h"
#include "platform/graphics/NSAffineTransform.h"
#include "platform/graphics/PixelTestSupport.h"

using namespace lxkit::test;

namespace {

constexpr uint32_t kRed = argb(255, 255, 0, 0);
constexpr uint32_t kGreen = argb(255, 0, 255, 0);
constexpr uint32_t kBlue = argb(255, 0, 0, 255);
constexpr uint32_t kWhite = argb(255, 255, 255, 255);

/// Top-left red, top-right green, bottom-left blue, bottom-right white.
std::shared_ptr<NSImage> quadrants(int width, int height) {
    return makeImage(width, height, [=](int x, int row) {
        bool left = x < width / 2, top = row < height / 2;
        return top ? (left ? kRed : kGreen) : (left ? kBlue : kWhite);
    });
}

/// A turn about the centre of a canvas of `canvas` size, as frame jobs build it.
NSAffineTransform turnAboutCentre(NSSize canvas, double degrees) {
    NSAffineTransform transform;
    transform.translateXBy(canvas.width * 0.5, canvas.height * 0.5);
    transform.rotateByDegrees(degrees);
    transform.translateXBy(canvas.width * -0.5, canvas.height * -0.5);
    return transform;
}

/// Checks every pixel of the result against the source pixel that lands there: the
/// source point p shows at T(p + d), with d the centring offset. Whole-pixel results
/// must be exact copies, not blurred or shifted by half a pixel.
void expectExactMapping(const NSImage& source, const NSImage& result, const NSAffineTransform& transform) {
    NSSize size = source.size(), canvas = result.size();
    NSPoint d{canvas.width * 0.5 - size.width * 0.5, canvas.height * 0.5 - size.height * 0.5};
    NSAffineTransform inverse = transform;
    inverse.invert();
    const NSBitmapImageRep& bitmap = result.bitmap();
    int mismatches = 0;
    for (int row = 0; row < bitmap.pixelsHigh(); ++row) {
        for (int x = 0; x < bitmap.pixelsWide(); ++x) {
            NSPoint centre{x + 0.5, bitmap.pixelsHigh() - row - 0.5};
            NSPoint p = inverse.transformPoint(centre);
            int sx = int(std::floor(p.x - d.x)), sy = int(std::floor(p.y - d.y));
            bool inside = sx >= 0 && sy >= 0 && sx < int(size.width) && sy < int(size.height);
            uint32_t want = inside ? pixelAt(source, sx, int(size.height) - 1 - sy) : 0u;
            if (pixelAt(bitmap, x, row) != want && ++mismatches <= 5)
                ADD_FAILURE() << "pixel " << x << ", " << row << ": " << std::hex << pixelAt(bitmap, x, row)
                              << " instead of " << want;
        }
    }
    EXPECT_EQ(mismatches, 0);
}

TEST(LXImageTransform, ANullTransformGivesNothing) {
    EXPECT_EQ(LXImage::imageByApplyingAffineTransform(*quadrants(4, 4), nullptr), nullptr);
}

TEST(LXImageTransform, WholePixelTransformsMoveEveryPixelExactly) {
    auto source = makeImage(32, 24, [](int x, int row) { return noisePixel(x, row, false); });
    struct Case {
        const char* name;
        NSAffineTransform transform;
        NSSize canvas;
    };
    using M = NSAffineTransformStruct;
    const Case cases[] = {
        {"identity", NSAffineTransform(), {32, 24}},
        {"translation: shifted, cut off, transparent elsewhere",
         NSAffineTransform(M{1, 0, 0, 1, 10, -5}),
         {32, 24}},
        {"flip about the centre", NSAffineTransform(M{-1, 0, 0, 1, 32, 0}), {32, 24}},
        {"scale (-1, 1) alone: all off the canvas", NSAffineTransform(M{-1, 0, 0, 1, 0, 0}), {32, 24}},
        {"quarter turn", turnAboutCentre({24, 32}, 90), {24, 32}},
        {"quarter turn back", turnAboutCentre({24, 32}, -90), {24, 32}},
        {"half turn", turnAboutCentre({32, 24}, 180), {32, 24}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto result = LXImage::imageByApplyingAffineTransform(*source, &c.transform);
        ASSERT_TRUE(result);
        EXPECT_NEAR(result->size().width, c.canvas.width, 1e-9);
        EXPECT_NEAR(result->size().height, c.canvas.height, 1e-9);
        EXPECT_EQ(result->bitmap().pixelSize(), (PixelSize{int(c.canvas.width), int(c.canvas.height)}));
        expectExactMapping(*source, *result, c.transform);
    }
}

TEST(LXImageTransform, AnEighthTurnGrowsTheCanvasToTheDiagonalWithTransparentCorners) {
    auto square = makeImage(100, 100, [](int, int) { return kBlue; });
    NSSize diagonal{100 * std::sqrt(2.0), 100 * std::sqrt(2.0)};
    NSAffineTransform transform = turnAboutCentre(diagonal, 45);
    auto turned = LXImage::imageByApplyingAffineTransform(*square, &transform);
    ASSERT_TRUE(turned);
    EXPECT_NEAR(turned->size().width, 141.42, 0.01);
    EXPECT_NEAR(turned->size().height, 141.42, 0.01);
    PixelSize pixels = turned->bitmap().pixelSize();
    int right = pixels.width - 1, bottom = pixels.height - 1;
    for (auto [x, row] : {std::pair{0, 0}, {right, 0}, {0, bottom}, {right, bottom}, {20, 20}})
        EXPECT_EQ(pixelAt(*turned, x, row), 0u) << x << ", " << row;
    // The diamond's tips touch the middle of each side, and its centre is the picture.
    EXPECT_EQ(pixelAt(*turned, pixels.width / 2, pixels.height / 2), kBlue);
    EXPECT_GT(alphaOf(pixelAt(*turned, 2, pixels.height / 2)), 128u);
    EXPECT_GT(alphaOf(pixelAt(*turned, pixels.width / 2, 2)), 128u);
}

TEST(LXImagePNG, KeepsEveryPixelAndItsAlpha) {
    // The encoder's own tests hold its output to exact round trips, through ffmpeg too.
    auto image = makeImage(48, 27, [](int x, int row) { return noisePixel(x, row, false); });
    auto decoded = NSBitmapImageRep::initWithData(LXImage::PNGRepresentation(*image).value_or(NSData()));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(pixelsOf(*NSImage::imageWithBitmap(*decoded)), pixelsOf(*image));
}

TEST(LXImageJPEG, TheZeroSizeAndTheOwnSizeEncodeTheImageItself) {
    auto image = quadrants(64, 48);
    auto zero = LXImage::JPEGRepresentationWithSize(*image, NSZeroSize, 0.8f);
    auto own = LXImage::JPEGRepresentationWithSize(*image, {64, 48}, 0.8f);
    auto shorthand = LXImage::JPEGRepresentationWithCompression(*image, 0.8f);
    ASSERT_TRUE(zero);
    EXPECT_EQ(own, zero);
    EXPECT_EQ(shorthand, zero);
    EXPECT_EQ(image->bitmap().representationUsingType(
                  NSBitmapImageFileType::JPEG, {{NSImageCompressionFactor, NSNumber::numberWithFloat(0.8f)}}),
              zero)
        << "no resampling on this path";
    EXPECT_NE(LXImage::JPEGRepresentationWithCompression(*image, 0.3f), zero);
}

TEST(LXImageJPEG, OtherSizesStretchTheImageToExactlyThatSize) {
    auto image = quadrants(64, 48);
    const NSSize sizes[] = {{200, 50}, {16, 96}, {32, 24}};
    for (NSSize size : sizes) {
        auto bytes = LXImage::JPEGRepresentationWithSize(*image, size, 0.9f);
        ASSERT_TRUE(bytes) << size.width;
        auto decoded = NSBitmapImageRep::initWithData(*bytes);
        ASSERT_TRUE(decoded);
        int w = int(size.width), h = int(size.height);
        EXPECT_EQ(decoded->pixelSize(), (PixelSize{w, h}));
        // Each quadrant fills the matching quarter of the stretched picture, edge to edge.
        const uint32_t colours[] = {kRed, kGreen, kBlue, kWhite};
        for (int i = 0; i < 4; ++i)
            EXPECT_TRUE(ColoursNear(pixelAt(*decoded, (1 + 2 * (i % 2)) * w / 4, (1 + 2 * (i / 2)) * h / 4),
                                    colours[i], 12))
                << w << " x " << h << " quadrant " << i;
        EXPECT_TRUE(ColoursNear(pixelAt(*decoded, 0, h / 4), kRed, 16)) << w << " x " << h << " left edge";
    }
}

TEST(LXImageJPEG, ACanvasThatCannotBeMadeGivesNothing) {
    auto image = quadrants(8, 8);
    EXPECT_FALSE(LXImage::JPEGRepresentationWithSize(*image, {100000, 100000}, 0.5f));
    EXPECT_FALSE(LXImage::JPEGRepresentationWithSize(*image, {-4, 4}, 0.5f));
}

} // namespace
