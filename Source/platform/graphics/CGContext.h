#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "platform/core/NSGeometry.h"
#include "platform/graphics/CGColor.h"
#include "platform/graphics/CGImage.h"
#include "platform/graphics/NSAffineTransform.h"
#include "platform/graphics/NSBitmapImageRep.h"
#include "platform/graphics/NSGraphicsContext.h"

/// A drawing context in the CoreGraphics sense is one of the layer's graphics contexts:
/// the calls below act on its graphics state and draw through it, in its user space.
using CGContextRef = NSGraphicsContext*;

/// CoreGraphics' blend modes, with its numbering.
enum class CGBlendMode : int {
    Normal = 0,
    Multiply,
    Screen,
    Overlay,
    Darken,
    Lighten,
    ColorDodge,
    ColorBurn,
    SoftLight,
    HardLight,
    Difference,
    Exclusion,
    Hue,
    Saturation,
    Color,
    Luminosity,
    Clear,
    Copy,
    SourceIn,
    SourceOut,
    SourceAtop,
    DestinationOver,
    DestinationIn,
    DestinationOut,
    DestinationAtop,
    XOR,
    PlusDarker,
    PlusLighter,
};

/// A context that draws into a bitmap in a caller-chosen layout: 8 bits a component, 32
/// bits a pixel RGB with alpha (premultiplied or skipped, first or last, either byte
/// order), 8-bit grey without alpha, or 8-bit alpha only; rows `bytesPerRow` apart. Its
/// user space has one unit a pixel, the origin at the bottom-left corner, y up. Drawing
/// happens in premultiplied ARGB and reaches the caller's layout when the pixels are
/// read (`data`, `CGBitmapContextCreateImage`).
class CGBitmapContext {
public:
    CGContextRef context() const { return m_context.get(); }
    const std::shared_ptr<NSGraphicsContext>& sharedContext() const { return m_context; }
    size_t width() const { return m_width; }
    size_t height() const { return m_height; }
    size_t bytesPerRow() const { return m_bytesPerRow; }
    size_t bitsPerPixel() const { return m_bitsPerPixel; }
    uint32_t bitmapInfo() const { return m_bitmapInfo; }
    const CGColorSpace* colorSpace() const { return m_space.get(); }
    /// The pixels in the context's layout, up to date with all drawing so far.
    uint8_t* data();
    /// An image of the pixels as they are now.
    CGImageRef createImage();

private:
    friend std::shared_ptr<CGBitmapContext> CGBitmapContextCreate(void*, size_t, size_t, size_t, size_t,
                                                                  const CGColorSpace*, uint32_t);
    CGBitmapContext(NSBitmapImageRep canvas) : m_canvas(std::move(canvas)) {}
    void storeInto(uint8_t* destination) const;
    void loadFrom(const uint8_t* source);

    NSBitmapImageRep m_canvas;
    std::shared_ptr<NSGraphicsContext> m_context;
    size_t m_width = 0;
    size_t m_height = 0;
    size_t m_bitsPerPixel = 0;
    size_t m_bytesPerRow = 0;
    uint32_t m_bitmapInfo = 0;
    CGColorSpaceRef m_space;
    uint8_t* m_callerData = nullptr;
    std::vector<uint8_t> m_ownData;
};
using CGBitmapContextRef = std::shared_ptr<CGBitmapContext>;

/// `data` null lets the context allocate (zeroed); `bytesPerRow` 0 lets it choose.
/// Null for a format listed above it does not draw, a zero size, rows shorter than a
/// pixel row, or no memory.
CGBitmapContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                         size_t bytesPerRow, const CGColorSpace* space, uint32_t bitmapInfo);
inline CGImageRef CGBitmapContextCreateImage(CGBitmapContext* context) {
    return context ? context->createImage() : nullptr;
}

void CGContextSaveGState(CGContextRef context);
void CGContextRestoreGState(CGContextRef context);
void CGContextSetGrayFillColor(CGContextRef context, double gray, double alpha);
void CGContextSetRGBFillColor(CGContextRef context, double red, double green, double blue, double alpha);
void CGContextSetFillColorWithColor(CGContextRef context, const CGColor* color);
void CGContextFillRect(CGContextRef context, NSRect rect);
/// Draws the image scaled into the rectangle, its top row at the top.
void CGContextDrawImage(CGContextRef context, NSRect rect, const CGImage* image);
/// Intersects the clip with the image laid over the rectangle as a grey mask: light
/// areas let drawing through, dark ones do not, and nothing outside the rectangle shows.
void CGContextClipToMask(CGContextRef context, NSRect rect, const CGImage* mask);
void CGContextSetBlendMode(CGContextRef context, CGBlendMode mode);
/// A null colour turns the shadow off.
void CGContextSetShadowWithColor(CGContextRef context, NSSize offset, double blur, const CGColor* color);
void CGContextTranslateCTM(CGContextRef context, double tx, double ty);
void CGContextScaleCTM(CGContextRef context, double sx, double sy);
void CGContextConcatCTM(CGContextRef context, NSAffineTransformStruct transform);

/// The Cairo operator of a blend mode.
cairo_operator_t CairoOperatorForBlendMode(CGBlendMode mode);
