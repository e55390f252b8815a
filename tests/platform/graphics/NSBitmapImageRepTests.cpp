#include <chrono>
#include <cstdio>

#include <gtest/gtest.h>

#include "platform/graphics/NSBitmapImageRep.h"
#include "platform/graphics/NSImage.h"
#include "platform/graphics/PixelTestSupport.h"
#include "platform/graphics/PngWriter.h"

using namespace lxkit::test;

namespace {

NSData png(const NSImage& image) {
    auto bytes = image.bitmap().representationUsingType(NSBitmapImageFileType::PNG, {});
    EXPECT_TRUE(bytes);
    return bytes.value_or(NSData());
}

NSData jpeg(const NSImage& image, double factor) {
    auto bytes = image.bitmap().representationUsingType(
        NSBitmapImageFileType::JPEG, {{NSImageCompressionFactor, PropertyValue::real(factor)}});
    EXPECT_TRUE(bytes);
    return bytes.value_or(NSData());
}

/// Every premultiplied (alpha, channel) pair: column = channel value, row = alpha.
uint32_t everyPremultipliedValue(int x, int row) {
    uint32_t a = uint32_t(row), c = std::min(uint32_t(x), a);
    return argb(a, c, a - c, c / 2);
}

TEST(PngWriter, RoundTripsPixelsExactlyThroughItsOwnReaderAndThroughFfmpeg) {
    struct Case {
        const char* name;
        int width, height;
        uint32_t (*word)(int, int);
        uint8_t colourType;
    } cases[] = {
        {"opaque noise", 61, 33, [](int x, int row) { return noisePixel(x, row, true); }, 2},
        {"translucent noise", 61, 33, [](int x, int row) { return noisePixel(x, row, false); }, 6},
        {"every premultiplied value", 256, 256, everyPremultipliedValue, 6},
        {"one pixel", 1, 1, [](int, int) { return argb(255, 9, 8, 7); }, 2},
    };
    for (const Case& c : cases) {
        auto image = makeImage(c.width, c.height, c.word);
        NSData bytes = png(*image);
        ASSERT_GT(bytes.length(), 33u) << c.name;
        EXPECT_EQ(bytes.bytes()[25], c.colourType) << c.name << ": RGB only when every pixel is opaque";

        // Cairo reads through libpng, which also checks every chunk's CRC.
        auto decoded = NSBitmapImageRep::initWithData(bytes);
        ASSERT_TRUE(decoded) << c.name;
        EXPECT_EQ(pixelsOf(*NSImage::imageWithBitmap(*decoded)), pixelsOf(*image)) << c.name;

        std::vector<uint8_t> rgba = decodeWithFfmpeg(bytes, "png");
        ASSERT_EQ(rgba.size(), size_t(c.width) * c.height * 4) << c.name;
        std::vector<uint32_t> premultipliedWords;
        for (size_t i = 0; i < rgba.size(); i += 4)
            premultipliedWords.push_back(premultiplied(&rgba[i]));
        EXPECT_EQ(premultipliedWords, pixelsOf(*image)) << c.name;
    }
}

TEST(PngWriter, RefusesMissingPixels) {
    uint8_t pixel[4] = {};
    EXPECT_FALSE(PngWriter::encode(nullptr, {1, 1}, 4));
    EXPECT_FALSE(PngWriter::encode(pixel, {0, 1}, 4));
    EXPECT_FALSE(PngWriter::encode(pixel, {1, 1}, 2));
}

/// A 1280 x 720 frame with the texture of video: the ffmpeg test picture with grain.
std::shared_ptr<NSImage> videoLikeFrame() {
    std::string raw = commandOutput("ffmpeg -nostdin -loglevel error -f lavfi -i testsrc2=size=1280x720 "
                                    "-vf noise=alls=12:allf=t -frames:v 1 -f rawvideo -pix_fmt bgra -");
    if (raw.size() != size_t(1280) * 720 * 4)
        return nullptr;
    return makeImage(1280, 720, [&](int x, int row) {
        const auto* p = reinterpret_cast<const uint8_t*>(raw.data()) + (size_t(row) * 1280 + size_t(x)) * 4;
        return argb(255, p[2], p[1], p[0]);
    });
}

cairo_status_t countBytes(void* closure, const unsigned char*, unsigned int length) {
    *static_cast<size_t*>(closure) += length;
    return CAIRO_STATUS_SUCCESS;
}

TEST(PngWriter, CompressesAVideoFrameAboutAsWellAsLibpng) {
    // Speed is measured in bench/, not here; this holds the fast settings to a size
    // near libpng's, so that speed is not bought with files that barely compress.
    auto frame = videoLikeFrame();
    ASSERT_TRUE(frame);
    size_t ours = png(*frame).length();
    size_t cairos = 0;
    cairo_surface_write_to_png_stream(frame->bitmap().surface(), countBytes, &cairos);
    EXPECT_LT(ours, size_t(1280) * 720 * 3 * 3 / 4) << "the data must actually compress";
    EXPECT_LT(double(ours), double(cairos) * 1.25);
}

TEST(JpegCodec, RoundTripsSizeAndColoursCloseToTheSource) {
    // Quadrants: red, green / blue, white, rows top first.
    const uint32_t colours[] = {argb(255, 255, 0, 0), argb(255, 0, 255, 0), argb(255, 0, 0, 255), 0xffffffff};
    auto quadrants = makeImage(64, 48, [&](int x, int row) { return colours[(row >= 24) * 2 + (x >= 32)]; });
    for (double factor : {0.5, 0.95}) {
        auto decoded = NSBitmapImageRep::initWithData(jpeg(*quadrants, factor));
        ASSERT_TRUE(decoded);
        EXPECT_EQ(decoded->pixelSize(), (PixelSize{64, 48}));
        for (int i = 0; i < 4; ++i)
            EXPECT_TRUE(ColoursNear(pixelAt(*decoded, 10 + 40 * (i % 2), 10 + 30 * (i / 2)), colours[i], 8))
                << factor << " quadrant " << i;
    }
}

TEST(JpegCodec, CompressionFactorTradesSizeForQuality) {
    auto noise = makeImage(64, 64, [](int x, int row) { return noisePixel(x, row, true); });
    size_t small = jpeg(*noise, 0.1).length();
    size_t large = jpeg(*noise, 0.9).length();
    EXPECT_LT(small * 2, large);
    // Out-of-range factors are held to the encoder's range rather than refused.
    EXPECT_EQ(jpeg(*noise, -3.0), jpeg(*noise, 0.0));
    EXPECT_EQ(jpeg(*noise, 7.0), jpeg(*noise, 1.0));
    // Without a factor the encoder's default of 0.75 applies.
    EXPECT_EQ(noise->bitmap().representationUsingType(NSBitmapImageFileType::JPEG, {}), jpeg(*noise, 0.75));
}

TEST(JpegCodec, TransparentPixelsComeOutAsIfOverWhite) {
    auto halfBlack = makeImage(16, 16, [](int x, int) { return x < 8 ? 0u : argb(128, 0, 0, 0); });
    auto decoded = NSBitmapImageRep::initWithData(jpeg(*halfBlack, 1.0));
    ASSERT_TRUE(decoded);
    EXPECT_NEAR(int(redOf(pixelAt(*decoded, 2, 8))), 255, 3);
    EXPECT_NEAR(int(redOf(pixelAt(*decoded, 13, 8))), 127, 4);
    std::vector<uint8_t> viaFfmpeg = decodeWithFfmpeg(jpeg(*halfBlack, 1.0), "jpg");
    ASSERT_EQ(viaFfmpeg.size(), 16u * 16 * 4);
    EXPECT_NEAR(int(viaFfmpeg[(8 * 16 + 2) * 4]), 255, 3);
}

TEST(NSBitmapImageRep, InitWithDataRefusesWhatIsNotAnImageOrTooLarge) {
    EXPECT_FALSE(NSBitmapImageRep::initWithData(NSData()));
    const char text[] = "not an image at all, just words";
    EXPECT_FALSE(NSBitmapImageRep::initWithData(NSData::dataWithBytes(text, sizeof text)));

    auto image = makeImage(8, 8, [](int x, int row) { return noisePixel(x, row, true); });
    NSData good = png(*image);
    EXPECT_FALSE(NSBitmapImageRep::initWithData(NSData::dataWithBytes(good.bytes(), good.length() / 2)))
        << "a truncated PNG";
    std::vector<uint8_t> damaged(good.bytes(), good.bytes() + good.length());
    damaged[40] ^= 0xff; // inside the compressed data: its CRC no longer matches
    EXPECT_FALSE(NSBitmapImageRep::initWithData(NSData::dataWithVector(damaged)));
    std::vector<uint8_t> huge(good.bytes(), good.bytes() + good.length());
    huge[17] = 0x7f; // a width of about 8 million pixels in the header
    EXPECT_FALSE(NSBitmapImageRep::initWithData(NSData::dataWithVector(huge)));

    NSData goodJpeg = jpeg(*image, 0.8);
    EXPECT_FALSE(NSBitmapImageRep::initWithData(NSData::dataWithBytes(goodJpeg.bytes(), 20)));
}

TEST(NSBitmapImageRep, BitmapsAreTransparentCappedAndReadOtherFormats) {
    auto bitmap = NSBitmapImageRep::bitmapWithPixelSize({3, 2});
    ASSERT_TRUE(bitmap);
    EXPECT_GE(bitmap->bytesPerRow(), 12);
    EXPECT_EQ(pixelAt(*bitmap, 2, 1), 0u);
    EXPECT_FALSE(NSBitmapImageRep::bitmapWithPixelSize({0, 2}));
    EXPECT_FALSE(NSBitmapImageRep::bitmapWithPixelSize({16385, 1}));
    EXPECT_FALSE(NSBitmapImageRep::bitmapWithPixelSize({10000, 5000}));
    EXPECT_FALSE(bitmap->representationUsingType(NSBitmapImageFileType::GIF, {}));
    EXPECT_FALSE(
        NSBitmapImageRep::bitmapWithSurface(CairoSurface(cairo_image_surface_create(CAIRO_FORMAT_A8, 2, 2))));

    // A 16-bit greyscale PNG from another encoder reads as opaque grey.
    TemporaryFolder folder;
    auto path = folder / "grey.png";
    ASSERT_EQ(runCommand("ffmpeg -nostdin -loglevel error -f lavfi -i color=c=0x808080:s=6x4 -frames:v 1 "
                         "-pix_fmt gray16be '" +
                         path.string() + "'"),
              0);
    auto grey = NSBitmapImageRep::initWithData(NSData::dataWithVector(readFile(path)));
    ASSERT_TRUE(grey);
    EXPECT_EQ(grey->pixelSize(), (PixelSize{6, 4}));
    EXPECT_EQ(pixelAt(*grey, 5, 3), argb(255, 128, 128, 128));
}

} // namespace
