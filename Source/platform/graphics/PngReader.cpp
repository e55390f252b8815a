#include "platform/graphics/PngReader.h"

#include <cstring>

#include "platform/graphics/PixelLimits.h"

namespace {

constexpr uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};

struct Cursor {
    const uint8_t* bytes;
    size_t length;
    size_t offset = 0;
};

cairo_status_t ReadFromCursor(void* closure, unsigned char* out, unsigned int length) {
    auto* cursor = static_cast<Cursor*>(closure);
    if (cursor->length - cursor->offset < length)
        return CAIRO_STATUS_READ_ERROR;
    std::memcpy(out, cursor->bytes + cursor->offset, length);
    cursor->offset += length;
    return CAIRO_STATUS_SUCCESS;
}

uint32_t BigEndianAt(const uint8_t* bytes) {
    return uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[2]) << 8 | bytes[3];
}

} // namespace

CairoSurface DecodePng(const NSData& data) {
    // Signature, then the IHDR chunk: length, type, width, height.
    if (data.length() < 24 || std::memcmp(data.bytes(), kPngSignature, 8) != 0 ||
        std::memcmp(data.bytes() + 12, "IHDR", 4) != 0)
        return nullptr;
    // Refuse an oversized picture before Cairo allocates for it.
    uint32_t width = BigEndianAt(data.bytes() + 16), height = BigEndianAt(data.bytes() + 20);
    if (!PixelSizeForPointSize(NSMakeSize(width, height)))
        return nullptr;

    Cursor cursor{data.bytes(), data.length()};
    CairoSurface decoded(cairo_image_surface_create_from_png_stream(ReadFromCursor, &cursor));
    if (cairo_surface_status(decoded.get()) != CAIRO_STATUS_SUCCESS)
        return nullptr;
    if (cairo_image_surface_get_format(decoded.get()) == CAIRO_FORMAT_ARGB32)
        return decoded;

    // Opaque pictures come back as RGB24 (and, from newer Cairo, deep formats); bitmaps
    // are always ARGB32.
    CairoSurface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32,
                                                    cairo_image_surface_get_width(decoded.get()),
                                                    cairo_image_surface_get_height(decoded.get())));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        return nullptr;
    CairoContext cairo(cairo_create(surface.get()));
    cairo_set_operator(cairo.get(), CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(cairo.get(), decoded.get(), 0, 0);
    cairo_paint(cairo.get());
    if (cairo_status(cairo.get()) != CAIRO_STATUS_SUCCESS)
        return nullptr;
    cairo.reset();
    cairo_surface_flush(surface.get());
    return surface;
}
