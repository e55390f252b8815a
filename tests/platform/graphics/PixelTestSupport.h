#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/core/NSData.h"
#include "platform/graphics/CGImage.h"
#include "platform/graphics/NSImage.h"
#include "support/Fixtures.h"

/// Helpers for tests that look at pixels: premultiplied ARGB words, rows top first.
namespace lxkit::test {

constexpr uint32_t argb(uint32_t a, uint32_t r, uint32_t g, uint32_t b) {
    return a << 24 | r << 16 | g << 8 | b;
}
inline constexpr auto alphaOf = [](uint32_t word) { return word >> 24; };
inline constexpr auto redOf = [](uint32_t word) { return (word >> 16) & 0xff; };
inline constexpr auto greenOf = [](uint32_t word) { return (word >> 8) & 0xff; };

inline uint32_t wordAt(const uint8_t* data, size_t bytesPerRow, int x, int row) {
    uint32_t word;
    std::memcpy(&word, data + size_t(row) * bytesPerRow + size_t(x) * 4, 4);
    return word;
}
inline uint32_t pixelAt(const NSBitmapImageRep& bitmap, int x, int row) {
    return wordAt(bitmap.bitmapData(), size_t(bitmap.bytesPerRow()), x, row);
}
inline uint32_t pixelAt(const NSImage& image, int x, int row) {
    return pixelAt(image.bitmap(), x, row);
}
inline uint32_t pixelAt(const CGImage& image, int x, int row) {
    return wordAt(image.data().bytes(), image.bytesPerRow(), x, row);
}

/// Whether every channel of two pixel words differs by at most `tolerance`.
inline testing::AssertionResult ColoursNear(uint32_t got, uint32_t want, int tolerance) {
    for (int shift : {24, 16, 8, 0})
        if (std::abs(int((got >> shift) & 0xff) - int((want >> shift) & 0xff)) > tolerance)
            return testing::AssertionFailure() << std::hex << got << " is not within " << std::dec
                                               << tolerance << " of " << std::hex << want;
    return testing::AssertionSuccess();
}

/// A new transparent canvas of `size` points after `draw` ran with the focus on it.
inline std::shared_ptr<NSImage> drawnImage(NSSize size, const std::function<void()>& draw) {
    auto image = NSImage::imageWithSize(size);
    if (image) {
        image->lockFocus();
        draw();
        image->unlockFocus();
    }
    return image;
}

/// An image of one pixel per point whose pixel (x, row) is `word(x, row)`.
inline std::shared_ptr<NSImage> makeImage(int width, int height,
                                          const std::function<uint32_t(int, int)>& word) {
    auto bitmap = NSBitmapImageRep::bitmapWithPixelSize({width, height});
    if (!bitmap)
        return nullptr;
    uint8_t* data = bitmap->bitmapData();
    for (int row = 0; row < height; ++row) {
        for (int x = 0; x < width; ++x) {
            uint32_t value = word(x, row);
            std::memcpy(data + size_t(row) * size_t(bitmap->bytesPerRow()) + size_t(x) * 4, &value, 4);
        }
    }
    bitmap->markDirty();
    return NSImage::imageWithBitmap(std::move(*bitmap));
}

/// Reproducible varied pixels, opaque or with every alpha, always validly premultiplied.
inline uint32_t noisePixel(int x, int row, bool opaque) {
    uint32_t h = uint32_t(x) * 73856093u ^ uint32_t(row) * 19349663u;
    h ^= h >> 13;
    h *= 0x5bd1e995u;
    h ^= h >> 15;
    uint32_t a = opaque ? 255 : (h >> 24);
    auto channel = [&](uint32_t v) { return a == 0 ? 0 : v % (a + 1); };
    return argb(a, channel(h & 0xff), channel((h >> 8) & 0xff), channel((h >> 16) & 0xff));
}

/// The words of every pixel, rows top first, without row padding.
inline std::vector<uint32_t> pixelsOf(const NSImage& image) {
    std::vector<uint32_t> words;
    const NSBitmapImageRep& bitmap = image.bitmap();
    for (int row = 0; row < bitmap.pixelsHigh(); ++row)
        for (int x = 0; x < bitmap.pixelsWide(); ++x)
            words.push_back(pixelAt(bitmap, x, row));
    return words;
}

/// Decodes image bytes with the ffmpeg command line into RGBA rows (not premultiplied).
inline std::vector<uint8_t> decodeWithFfmpeg(const NSData& bytes, const std::string& extension) {
    TemporaryFolder folder;
    auto path = folder / ("image." + extension);
    writeFile(path, std::vector<uint8_t>(bytes.bytes(), bytes.bytes() + bytes.length()));
    std::string output = commandOutput("ffmpeg -nostdin -loglevel error -i '" + path.string() +
                                       "' -f rawvideo -pix_fmt rgba -");
    return std::vector<uint8_t>(output.begin(), output.end());
}

/// Premultiplies as PNG readers do (rounded), to compare decoded RGBA with bitmap words.
inline uint32_t premultiplied(const uint8_t* rgba) {
    auto times = [&](uint32_t c) { return (c * rgba[3] + 127) / 255; };
    return argb(rgba[3], times(rgba[0]), times(rgba[1]), times(rgba[2]));
}

} // namespace lxkit::test
