#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/core/NSData.h"
#include "platform/graphics/CGColorSpace.h"
#include "platform/graphics/CairoHandles.h"

enum class CGImageAlphaInfo : uint32_t {
    None = 0,
    PremultipliedLast = 1,
    PremultipliedFirst = 2,
    Last = 3,
    First = 4,
    NoneSkipLast = 5,
    NoneSkipFirst = 6,
    Only = 7,
};

inline constexpr uint32_t kCGBitmapAlphaInfoMask = 0x1F;
inline constexpr uint32_t kCGBitmapByteOrderMask = 0x7000;
inline constexpr uint32_t kCGBitmapByteOrderDefault = 0;
inline constexpr uint32_t kCGBitmapByteOrder32Little = 2 << 12;
inline constexpr uint32_t kCGBitmapByteOrder32Big = 4 << 12;
/// Cairo's own layout: premultiplied ARGB in a native-endian 32-bit word.
inline constexpr uint32_t kCGBitmapInfoCairoARGB32 =
    uint32_t(CGImageAlphaInfo::PremultipliedFirst) |
    (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? kCGBitmapByteOrder32Little : kCGBitmapByteOrder32Big);

/// An immutable bitmap image in a described pixel format. The formats it can be drawn
/// from: 8 bits a component with 32 bits a pixel (RGB with or without alpha in either
/// position and either byte order, or CMYK without alpha), 24-bit RGB, and 8-bit grey or
/// alpha-only. An image made with a mask paints only where the mask is light.
class CGImage {
public:
    size_t width() const { return m_width; }
    size_t height() const { return m_height; }
    size_t bitsPerComponent() const { return m_bitsPerComponent; }
    size_t bitsPerPixel() const { return m_bitsPerPixel; }
    size_t bytesPerRow() const { return m_bytesPerRow; }
    const CGColorSpace* colorSpace() const { return m_colorSpace.get(); }
    uint32_t bitmapInfo() const { return m_bitmapInfo; }
    CGImageAlphaInfo alphaInfo() const { return CGImageAlphaInfo(m_bitmapInfo & kCGBitmapAlphaInfoMask); }
    const NSData& data() const { return m_data; }
    const std::shared_ptr<const CGImage>& mask() const { return m_mask; }

    /// The image as premultiplied ARGB32 with its mask applied, made on first use; null
    /// for a pixel format that cannot be drawn.
    cairo_surface_t* surface() const;
    /// The image's level per pixel as a mask: an image with alpha gives its alpha (a
    /// silhouette masks by its shape), one without its grey level (the mean of red,
    /// green and blue). Null when it cannot be drawn.
    CairoSurface createAlphaFromGray() const;

private:
    friend std::shared_ptr<const CGImage> CGImageCreate(size_t, size_t, size_t, size_t, size_t, const CGColorSpace*,
                                                        uint32_t, NSData);
    friend std::shared_ptr<const CGImage> CGImageCreateWithMask(const CGImage*, const CGImage*);
    CGImage() = default;
    CairoSurface convert() const;

    size_t m_width = 0;
    size_t m_height = 0;
    size_t m_bitsPerComponent = 0;
    size_t m_bitsPerPixel = 0;
    size_t m_bytesPerRow = 0;
    CGColorSpaceRef m_colorSpace;
    uint32_t m_bitmapInfo = 0;
    NSData m_data;
    std::shared_ptr<const CGImage> m_mask;
    mutable std::shared_ptr<cairo_surface_t> m_surface;
};
using CGImageRef = std::shared_ptr<const CGImage>;

/// Null when the sizes do not fit the bytes or the format is not one listed above.
CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                         size_t bytesPerRow, const CGColorSpace* space, uint32_t bitmapInfo, NSData data);
/// The image painted through a grey mask of the same size (light paints, dark does not);
/// null when the mask is not an 8-bit grey image or the sizes differ.
CGImageRef CGImageCreateWithMask(const CGImage* image, const CGImage* mask);
/// A copy of an ARGB32 surface's pixels as an image in the calibrated RGB space.
CGImageRef CGImageCreateWithSurface(cairo_surface_t* surface);

inline size_t CGImageGetWidth(const CGImage* image) { return image ? image->width() : 0; }
inline size_t CGImageGetHeight(const CGImage* image) { return image ? image->height() : 0; }
inline size_t CGImageGetBitsPerComponent(const CGImage* image) { return image ? image->bitsPerComponent() : 0; }
inline size_t CGImageGetBitsPerPixel(const CGImage* image) { return image ? image->bitsPerPixel() : 0; }
inline size_t CGImageGetBytesPerRow(const CGImage* image) { return image ? image->bytesPerRow() : 0; }
inline const CGColorSpace* CGImageGetColorSpace(const CGImage* image) { return image ? image->colorSpace() : nullptr; }
inline CGImageAlphaInfo CGImageGetAlphaInfo(const CGImage* image) {
    return image ? image->alphaInfo() : CGImageAlphaInfo::None;
}
inline uint32_t CGImageGetBitmapInfo(const CGImage* image) { return image ? image->bitmapInfo() : 0; }
