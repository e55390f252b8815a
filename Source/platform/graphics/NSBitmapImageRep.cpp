#include "platform/graphics/NSBitmapImageRep.h"

#include "platform/graphics/CGImage.h"
#include "platform/graphics/JpegCodec.h"
#include "platform/graphics/PngReader.h"
#include "platform/graphics/PngWriter.h"

namespace {

bool IsWithinCap(PixelSize size) {
    return size.width >= 1 && size.height >= 1 && size.width <= kMaxBitmapSide &&
           size.height <= kMaxBitmapSide && int64_t(size.width) * size.height <= kMaxBitmapPixels;
}

} // namespace

std::optional<NSBitmapImageRep> NSBitmapImageRep::bitmapWithPixelSize(PixelSize size) {
    if (!IsWithinCap(size))
        return std::nullopt;
    return bitmapWithSurface(
        CairoSurface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, size.width, size.height)));
}

std::optional<NSBitmapImageRep> NSBitmapImageRep::initWithData(const NSData& data) {
    if (CairoSurface png = DecodePng(data))
        return bitmapWithSurface(std::move(png));
    if (CairoSurface jpeg = JpegCodec::decode(data))
        return bitmapWithSurface(std::move(jpeg));
    return std::nullopt;
}

std::optional<NSBitmapImageRep> NSBitmapImageRep::bitmapWithSurface(CairoSurface surface) {
    if (!surface || cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS ||
        cairo_surface_get_type(surface.get()) != CAIRO_SURFACE_TYPE_IMAGE ||
        cairo_image_surface_get_format(surface.get()) != CAIRO_FORMAT_ARGB32)
        return std::nullopt;
    if (!IsWithinCap(
            {cairo_image_surface_get_width(surface.get()), cairo_image_surface_get_height(surface.get())}))
        return std::nullopt;
    return NSBitmapImageRep(std::move(surface));
}

int NSBitmapImageRep::pixelsWide() const {
    return cairo_image_surface_get_width(m_surface.get());
}

int NSBitmapImageRep::pixelsHigh() const {
    return cairo_image_surface_get_height(m_surface.get());
}

int NSBitmapImageRep::bytesPerRow() const {
    return cairo_image_surface_get_stride(m_surface.get());
}

uint8_t* NSBitmapImageRep::bitmapData() const {
    // Drawing may still be pending inside Cairo; whoever reads or writes the words
    // directly must see it first.
    cairo_surface_flush(m_surface.get());
    return cairo_image_surface_get_data(m_surface.get());
}

void NSBitmapImageRep::markDirty() const {
    cairo_surface_mark_dirty(m_surface.get());
}

std::optional<NSData> NSBitmapImageRep::representationUsingType(NSBitmapImageFileType type,
                                                                const PropertyDictionary& properties) const {
    const uint8_t* pixels = bitmapData();
    size_t rowLength = size_t(bytesPerRow());
    switch (type) {
    case NSBitmapImageFileType::PNG:
        return PngWriter::encode(pixels, pixelSize(), rowLength);
    case NSBitmapImageFileType::JPEG: {
        double factor = 0.75;
        if (const PropertyValue* value = PropertyValueForKey(properties, NSImageCompressionFactor))
            factor = value->doubleValue().value_or(factor);
        return JpegCodec::encode(pixels, pixelSize(), rowLength, factor);
    }
    default:
        return std::nullopt;
    }
}

std::optional<NSBitmapImageRep> NSBitmapImageRep::initWithBitmapDataPlanes(int pixelsWide, int pixelsHigh,
                                                                           int bitsPerSample, int samplesPerPixel,
                                                                           bool hasAlpha, bool isPlanar,
                                                                           std::string_view colorSpaceName,
                                                                           int bytesPerRow, int bitsPerPixel) {
    if (bitsPerSample != 8 || samplesPerPixel != 4 || !hasAlpha || isPlanar ||
        (colorSpaceName != NSCalibratedRGBColorSpace && colorSpaceName != NSDeviceRGBColorSpace))
        return std::nullopt;
    if ((bitsPerPixel != 0 && bitsPerPixel != 32) || (bytesPerRow != 0 && bytesPerRow < pixelsWide * 4))
        return std::nullopt;
    return bitmapWithPixelSize({pixelsWide, pixelsHigh});
}

std::shared_ptr<const ::CGImage> NSBitmapImageRep::CGImage() const {
    return CGImageCreateWithSurface(m_surface.get());
}
