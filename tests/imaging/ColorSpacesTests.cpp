#include <gtest/gtest.h>

#include <cstring>

#include "imaging/BitmapConversion.h"
#include "imaging/CheckerboardPattern.h"
#include "imaging/ColorSpaces.h"
#include "platform/graphics/CGContext.h"
#include "platform/graphics/NSBezierPath.h"

namespace {

TEST(PaddedRowBytes, RoundsWholeBytePixelsUpToSixtyFour) {
    struct Case {
        uint64_t width, bitsPerPixel, expected;
    } cases[] = {{100, 32, 448}, {16, 32, 64}, {17, 32, 128}, {10, 1, 64}, {0, 32, 0}, {64, 8, 64}, {65, 8, 128}};
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
    return CGImageCreate(2, 2, 8, bitsPerPixel, 64, space, uint32_t(alpha), NSData::dataWithVector(std::vector<uint8_t>(128)));
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
    auto image = NSImage::imageWithSize(NSMakeSize(10.7, 20.2));
    ASSERT_TRUE(image);
    image->lockFocus();
    NSColor::colorWithDeviceRed(1, 0, 0, 1).set();
    NSBezierPath::fillRect(NSMakeRect(0, 0, 4, 4)); // bottom-left red, the rest transparent
    image->unlockFocus();

    CGImageRef bitmap = CreateCGImageWithNSImage(*image);
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(bitmap->width(), 10u);
    EXPECT_EQ(bitmap->height(), 20u);
    EXPECT_EQ(bitmap->bytesPerRow(), 64u);
    EXPECT_EQ(bitmap->bitmapInfo(), 0x2001u);
    auto pixel = [&](size_t x, size_t row) {
        const uint8_t* p = bitmap->data().bytes() + row * 64 + x * 4;
        return std::vector<int>{p[0], p[1], p[2], p[3]}; // alpha, blue, green, red
    };
    // The 11 x 20 pixels of the 10.7-point image are drawn from its first 10 x 20 points,
    // so only pixels away from the red square's edge are exact.
    EXPECT_EQ(pixel(1, 18), (std::vector<int>{255, 0, 0, 255}));
    EXPECT_EQ(pixel(2, 17), (std::vector<int>{255, 0, 0, 255}));
    EXPECT_EQ(pixel(7, 18), (std::vector<int>{255, 255, 255, 255}));
    EXPECT_EQ(pixel(9, 0), (std::vector<int>{255, 255, 255, 255}));
    for (size_t row = 0; row < 20; ++row)
        for (size_t x = 0; x < 10; ++x)
            EXPECT_EQ(pixel(x, row)[0], 255) << "opaque everywhere";
}

TEST(CreateCGImageWithNSImage, NoWholePixelGivesNothing) {
    auto image = NSImage::imageWithSize(NSMakeSize(0.6, 10));
    ASSERT_TRUE(image);
    EXPECT_FALSE(CreateCGImageWithNSImage(*image));
}

TEST(Checkerboard, TilesEveryThirtyTwoWithWhiteBottomLeftAndTopRight) {
    CGColorRef pattern = CreateBackgroundPatternColorWithTransform(NSAffineTransformStruct{});
    ASSERT_TRUE(pattern);
    CGBitmapContextRef bitmap = CGBitmapContextCreate(nullptr, 64, 64, 8, 0, GetCalibratedRGBColorSpace(),
                                                      kCGBitmapInfoCairoARGB32);
    ASSERT_TRUE(bitmap);
    CGContextSetFillColorWithColor(bitmap->context(), pattern.get());
    CGContextFillRect(bitmap->context(), NSMakeRect(0, 0, 64, 64));
    const uint8_t* data = bitmap->data();
    // (x, y) with y up; rows in memory run top first.
    auto at = [&](int x, int y) {
        uint32_t word;
        std::memcpy(&word, data + size_t(63 - y) * bitmap->bytesPerRow() + size_t(x) * 4, 4);
        return word;
    };
    const uint32_t white = 0xffffffff;
    const uint32_t blue = 0xff000000u | uint32_t(std::lround(0.91 * 255)) << 16 |
                          uint32_t(std::lround(0.937 * 255)) << 8 | uint32_t(std::lround(0.992 * 255));
    struct Case {
        int x, y;
        uint32_t expected;
    } cases[] = {{0, 0, white},   {15, 15, white}, {16, 15, blue},  {15, 16, blue},  {16, 16, white},
                 {31, 31, white}, {32, 31, blue},  {31, 32, blue},  {32, 32, white}, {47, 47, white},
                 {48, 48, white}, {63, 0, blue},   {0, 63, blue},   {33, 1, white},  {1, 33, white}};
    for (const Case& c : cases)
        EXPECT_EQ(at(c.x, c.y), c.expected) << c.x << ", " << c.y;
}

} // namespace
