// lxkit's PNG writer against libpng as a second decoder: fuzzed pixels, sizes, row
// paddings and compression levels go out as PNG and must come back as the same words
// once libpng's straight colour is premultiplied again the way Cairo's reader does it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include <png.h>

#include "FuzzCheck.h"
#include "platform/graphics/PngWriter.h"

namespace {

// Cairo's rounding when it premultiplies a straight colour read from a PNG.
uint32_t Premultiply(uint32_t alpha, uint32_t color) {
    uint32_t temp = alpha * color + 0x80;
    return (temp + (temp >> 8)) >> 8;
}

// What the writer promises to give back for one word: premultiplied colour never above
// its alpha (larger values are taken as equal to it), and nothing under full transparency.
uint32_t Expected(uint32_t word) {
    uint32_t alpha = word >> 24;
    uint32_t red = std::min((word >> 16) & 0xff, alpha);
    uint32_t green = std::min((word >> 8) & 0xff, alpha);
    uint32_t blue = std::min(word & 0xff, alpha);
    return alpha << 24 | red << 16 | green << 8 | blue;
}

struct Picture {
    PixelSize size;
    size_t bytesPerRow = 0;
    int level = 0;
    std::vector<uint8_t> bytes;
};

// Four header bytes choose the size (up to 96 x 64), the row padding, the level and
// whether every pixel is opaque (the writer's RGB path); the rest, repeated, are pixels.
Picture PictureFromInput(const uint8_t* data, size_t size) {
    Picture picture;
    picture.size = {1 + data[0] % 96, 1 + data[1] % 64};
    picture.bytesPerRow = size_t(picture.size.width) * 4 + data[2] % 8;
    // Levels outside libdeflate's 0...12 must fall back to the default, not fail.
    picture.level = int(data[3] & 0x7f) - 8;
    bool opaque = data[3] & 0x80;
    picture.bytes.resize(picture.bytesPerRow * size_t(picture.size.height));
    const uint8_t* pixels = data + 4;
    size_t count = size - 4;
    for (size_t i = 0; i < picture.bytes.size(); ++i)
        picture.bytes[i] = count ? pixels[i % count] : uint8_t(i);
    if (opaque) {
        for (int y = 0; y < picture.size.height; ++y)
            for (int x = 0; x < picture.size.width; ++x) {
                uint32_t word;
                uint8_t* at = &picture.bytes[picture.bytesPerRow * size_t(y) + size_t(x) * 4];
                std::memcpy(&word, at, 4);
                word |= 0xff000000u;
                std::memcpy(at, &word, 4);
            }
    }
    return picture;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4)
        return 0;
    Picture picture = PictureFromInput(data, size);
    auto png = PngWriter::encode(picture.bytes.data(), picture.size, picture.bytesPerRow, picture.level);
    FUZZ_CHECK(png.has_value());

    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    FUZZ_CHECK(png_image_begin_read_from_memory(&image, png->bytes(), png->length()));
    FUZZ_CHECK(int(image.width) == picture.size.width && int(image.height) == picture.size.height);
    bool allOpaque = true;
    for (int y = 0; y < picture.size.height; ++y)
        for (int x = 0; x < picture.size.width; ++x)
            allOpaque =
                allOpaque && picture.bytes[picture.bytesPerRow * size_t(y) + size_t(x) * 4 + 3] == 0xff;
    // An opaque picture is written without alpha.
    FUZZ_CHECK(bool(image.format & PNG_FORMAT_FLAG_ALPHA) == !allOpaque);

    image.format = PNG_FORMAT_RGBA;
    std::vector<uint8_t> decoded(PNG_IMAGE_SIZE(image));
    bool finished = png_image_finish_read(&image, nullptr, decoded.data(), 0, nullptr);
    if (!finished)
        png_image_free(&image);
    FUZZ_CHECK(finished);

    for (int y = 0; y < picture.size.height; ++y)
        for (int x = 0; x < picture.size.width; ++x) {
            uint32_t word;
            std::memcpy(&word, &picture.bytes[picture.bytesPerRow * size_t(y) + size_t(x) * 4], 4);
            const uint8_t* rgba = &decoded[(size_t(y) * picture.size.width + size_t(x)) * 4];
            uint32_t alpha = rgba[3];
            uint32_t read = alpha << 24 | Premultiply(alpha, rgba[0]) << 16 |
                            Premultiply(alpha, rgba[1]) << 8 | Premultiply(alpha, rgba[2]);
            if (read != Expected(word)) {
                std::fprintf(stderr, "pixel %d,%d of %dx%d: wrote %08x, read back %08x\n", x, y,
                             picture.size.width, picture.size.height, word, read);
                FUZZ_CHECK(read == Expected(word));
            }
        }
    return 0;
}
