#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <string_view>

#include "platform/core/NSData.h"
#include "platform/core/NSGeometry.h"
#include "platform/core/PropertyList.h"
#include "platform/graphics/CairoHandles.h"
#include "platform/graphics/PixelLimits.h"

enum class NSBitmapImageFileType : int { TIFF = 0, BMP = 1, GIF = 2, JPEG = 3, PNG = 4, JPEG2000 = 5 };

/// Key of the JPEG quality in the properties of `representationUsingType`: a number,
/// 0.0 the smallest file, 1.0 the best quality.
inline constexpr const char* NSImageCompressionFactor = "NSImageCompressionFactor";

/// A bitmap of premultiplied ARGB32 pixels in Cairo's layout (one native-endian 32-bit
/// word a pixel, rows `bytesPerRow` apart, top row first).
inline constexpr const char* NSCalibratedRGBColorSpace = "NSCalibratedRGBColorSpace";
inline constexpr const char* NSDeviceRGBColorSpace = "NSDeviceRGBColorSpace";

class CGImage;

class NSBitmapImageRep {
public:
    /// A transparent bitmap described the desktop's way. Only the layout lxkit draws in
    /// is made: 8 bits a sample, 4 samples with alpha, interleaved, RGB; the row length
    /// and bits per pixel are the layer's (0 asks for that). Nothing for other formats.
    static std::optional<NSBitmapImageRep> initWithBitmapDataPlanes(int pixelsWide, int pixelsHigh, int bitsPerSample,
                                                                    int samplesPerPixel, bool hasAlpha, bool isPlanar,
                                                                    std::string_view colorSpaceName, int bytesPerRow,
                                                                    int bitsPerPixel);
    /// A fully transparent bitmap, or nothing when the size is over the cap of
    /// PixelLimits.h or the memory cannot be had.
    static std::optional<NSBitmapImageRep> bitmapWithPixelSize(PixelSize size);
    /// Decodes PNG or JPEG bytes; nothing when they are neither or are damaged.
    static std::optional<NSBitmapImageRep> initWithData(const NSData& data);
    /// Shares an image surface of format ARGB32.
    static std::optional<NSBitmapImageRep> bitmapWithSurface(CairoSurface surface);

    int pixelsWide() const;
    int pixelsHigh() const;
    PixelSize pixelSize() const { return {pixelsWide(), pixelsHigh()}; }
    int bytesPerRow() const;
    /// The pixel words; call `markDirty()` after writing them directly.
    uint8_t* bitmapData() const;
    void markDirty() const;
    cairo_surface_t* surface() const { return m_surface.get(); }

    /// The size in points at which the bitmap is meant to be shown; its pixel size until
    /// set. Shared by copies of this value.
    NSSize size() const { return m_size->value_or(NSMakeSize(pixelsWide(), pixelsHigh())); }
    void setSize(NSSize size) { *m_size = size; }
    /// A snapshot of the pixels as a bitmap image (`CGImage`).
    std::shared_ptr<const ::CGImage> CGImage() const;

    /// The file bytes of the bitmap as PNG (no properties are read) or as JPEG (reads
    /// NSImageCompressionFactor, default 0.75); nothing for other types or on failure.
    std::optional<NSData> representationUsingType(NSBitmapImageFileType type,
                                                  const PropertyDictionary& properties) const;

private:
    explicit NSBitmapImageRep(CairoSurface surface) : m_surface(std::move(surface)) {}
    std::shared_ptr<cairo_surface_t> m_surface;
    std::shared_ptr<std::optional<NSSize>> m_size = std::make_shared<std::optional<NSSize>>();
};
