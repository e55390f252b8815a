#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/core/NSData.h"
#include "platform/core/PropertyList.h"
#include "platform/graphics/CairoHandles.h"
#include "platform/graphics/PixelLimits.h"

enum class NSBitmapImageFileType : int { TIFF = 0, BMP = 1, GIF = 2, JPEG = 3, PNG = 4, JPEG2000 = 5 };

/// Key of the JPEG quality in the properties of `representationUsingType`: a number,
/// 0.0 the smallest file, 1.0 the best quality.
inline constexpr const char* NSImageCompressionFactor = "NSImageCompressionFactor";

/// A bitmap of premultiplied ARGB32 pixels in Cairo's layout (one native-endian 32-bit
/// word a pixel, rows `bytesPerRow` apart, top row first).
class NSBitmapImageRep {
public:
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

    /// The file bytes of the bitmap as PNG (no properties are read) or as JPEG (reads
    /// NSImageCompressionFactor, default 0.75); nothing for other types or on failure.
    std::optional<NSData> representationUsingType(NSBitmapImageFileType type,
                                                  const PropertyDictionary& properties) const;

private:
    explicit NSBitmapImageRep(CairoSurface surface) : m_surface(std::move(surface)) {}
    std::shared_ptr<cairo_surface_t> m_surface;
};
