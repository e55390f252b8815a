#include <gtest/gtest.h>

#include "imaging/BitmapConversion.h"
#include "imaging/CheckerboardPattern.h"
#include "imaging/ColorSpaces.h"
#include "platform/graphics/CGContext.h"
#include "platform/graphics/NSBezierPath.h"
#include "platform/graphics/PixelTestSupport.h"

using namespace lxkit::test;

namespace {

TEST(PaddedRowBytes, RoundsWholeBytePixelsUpToSixtyFour) {
    struct Case {
        uint64_t width, bitsPerPixel, expected;
    } cases[] = {{100, 32, 448}, {16, 32, 64}, {17, 32, 128}, {10, 1, 64},
                 {0, 32, 0},     {64, 8, 64},  {65, 8, 128}};
    for (const Case& c : cases)
        EXPECT_EQ(PaddedRowBytes(c.width, c.bitsPerPixel), c.expected) << c.width << " x " << c.bitsPerPixel;
}

TEST(ColorSpaces, GettersCacheOneSpaceEach) {
    EXPECT_EQ(GetCalibratedRGBColorSpace(), GetCalibratedRGBColorSpace());
    EXPECT_EQ(GetDeviceGrayColorSpace(), GetDeviceGrayColorSpace());
    EXPECT_EQ(CGColorSpaceGetNumberOfComponents(GetCalibratedRGBColorSpace()), 3u);
    EXPECT_EQ(CGColorSpaceGetNumberOfComponents(GetCalibratedGrayColorSpace()), 1u);
    EXPECT_EQ(CGColorSpaceGetNumberOfComponents(GetCalibratedCMYKColorSpace()), 4u);
    EXPECT_EQ(CGColorSpaceGetNumberOfComponents(GetDeviceRGBColorSpace()), 3u);
    EXPECT_EQ(CGColorSpaceGetNumberOfComponents(GetDeviceGrayColorSpace()), 1u);
}

CGImageRef Image(const CGColorSpace* space, size_t bitsPerPixel, CGImageAlphaInfo alpha) {
    return CGImageCreate(2, 2, 8, bitsPerPixel, 64, space, uint32_t(alpha),
                         NSData::dataWithVector(std::vector<uint8_t>(128)));
}

TEST(ColorSpaces, ChoiceForAnImageFollowsItsSpaceAndTheAllowedKinds) {
    CGColorSpaceRef rgb = CGColorSpaceCreateDeviceRGB();
    CGColorSpaceRef cmyk = CGColorSpaceCreateWithName(kCGColorSpaceGenericCMYK);
    CGColorSpaceRef gray = CGColorSpaceCreateDeviceGray();
    CGImageRef rgbImage = Image(rgb.get(), 32, CGImageAlphaInfo::PremultipliedLast);
    CGImageRef cmykImage = Image(cmyk.get(), 32, CGImageAlphaInfo::None);
    CGImageRef grayImage = Image(gray.get(), 8, CGImageAlphaInfo::None);
    ASSERT_TRUE(rgbImage && cmykImage && grayImage);
    for (uint32_t kinds : {0u, 2u, 4u, 6u})
        EXPECT_EQ(GetColorSpaceForImage(rgbImage.get(), false, kinds), rgb.get());
    EXPECT_EQ(GetColorSpaceForImage(cmykImage.get(), false, 0), GetCalibratedRGBColorSpace());
    EXPECT_EQ(GetColorSpaceForImage(cmykImage.get(), false, 2), cmyk.get());
    EXPECT_EQ(GetColorSpaceForImage(cmykImage.get(), true, 2), GetCalibratedCMYKColorSpace());
    EXPECT_EQ(GetColorSpaceForImage(grayImage.get(), false, 4), gray.get());
    // Without its own space an 8-bit image is not taken as grey.
    EXPECT_EQ(GetColorSpaceForImage(grayImage.get(), true, 4), GetCalibratedRGBColorSpace());
    EXPECT_EQ(GetColorSpaceForImage(rgbImage.get(), true, 2), GetCalibratedRGBColorSpace());
}

TEST(CreateCGImageWithNSImage, CutsToWholePixelsAndPutsWhiteUnderTransparency) {
    auto image = drawnImage(NSMakeSize(10.7, 20.2), [] {
        NSColor::colorWithDeviceRed(1, 0, 0, 1).set();
        NSBezierPath::fillRect(NSMakeRect(0, 0, 4, 4)); // bottom-left red, the rest transparent
    });
    ASSERT_TRUE(image);
    CGImageRef bitmap = CreateCGImageWithNSImage(*image);
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(bitmap->width(), 10u);
    EXPECT_EQ(bitmap->height(), 20u);
    EXPECT_EQ(bitmap->bytesPerRow(), 64u);
    EXPECT_EQ(bitmap->bitmapInfo(), 0x2001u);
    // Bytes alpha, blue, green, red. The 11 x 20 pixels of the 10.7-point image are drawn
    // from its first 10 x 20 points, so only pixels away from the red square's edge are exact.
    const uint32_t red = 0xff0000ff, white = 0xffffffff;
    EXPECT_EQ(pixelAt(*bitmap, 1, 18), red);
    EXPECT_EQ(pixelAt(*bitmap, 2, 17), red);
    EXPECT_EQ(pixelAt(*bitmap, 7, 18), white);
    EXPECT_EQ(pixelAt(*bitmap, 9, 0), white);
    for (int row = 0; row < 20; ++row)
        for (int x = 0; x < 10; ++x)
            EXPECT_EQ(pixelAt(*bitmap, x, row) & 0xff, 255u) << "opaque everywhere";

    // Less than a whole pixel wide: nothing.
    EXPECT_FALSE(CreateCGImageWithNSImage(*NSImage::imageWithSize(NSMakeSize(0.6, 10))));
}

TEST(Checkerboard, TilesEveryThirtyTwoWithWhiteBottomLeftAndTopRight) {
    CGColorRef pattern = CreateBackgroundPatternColorWithTransform(NSAffineTransformStruct{});
    ASSERT_TRUE(pattern);
    CGBitmapContextRef bitmap =
        CGBitmapContextCreate(nullptr, 64, 64, 8, 0, GetCalibratedRGBColorSpace(), kCGBitmapInfoCairoARGB32);
    ASSERT_TRUE(bitmap);
    CGContextSetFillColorWithColor(bitmap->context(), pattern.get());
    CGContextFillRect(bitmap->context(), NSMakeRect(0, 0, 64, 64));
    // (x, y) with y up; rows in memory run top first.
    auto at = [&](int x, int y) { return wordAt(bitmap->data(), bitmap->bytesPerRow(), x, 63 - y); };
    const uint32_t white = 0xffffffff, blue = 0xffe8effd; // 0.91, 0.937, 0.992
    struct Case {
        int x, y;
        uint32_t expected;
    } cases[] = {{0, 0, white},   {15, 15, white}, {16, 15, blue}, {15, 16, blue},  {16, 16, white},
                 {31, 31, white}, {32, 31, blue},  {31, 32, blue}, {32, 32, white}, {48, 48, white},
                 {63, 0, blue},   {0, 63, blue},   {33, 1, white}, {1, 33, white}};
    for (const Case& c : cases)
        EXPECT_EQ(at(c.x, c.y), c.expected) << c.x << ", " << c.y;
}

} // namespace
