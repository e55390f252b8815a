#include "imaging/BitmapConversion.h"

#include <cmath>

#include "imaging/ColorSpaces.h"
#include "platform/graphics/CGContext.h"

uint64_t PaddedRowBytes(uint64_t width, uint64_t bitsPerPixel) {
    uint64_t bytesPerPixel = (bitsPerPixel + 7) / 8;
    uint64_t row = bytesPerPixel * width;
    return (row + 63) & ~uint64_t(63);
}

CGImageRef CreateCGImageWithNSImage(const NSImage& image) {
    NSSize size = image.size();
    // Truncate towards zero: the fractional remainder is cut off, not scaled in.
    double width = size.width > 0 && std::isfinite(size.width) ? std::trunc(size.width) : 0;
    double height = size.height > 0 && std::isfinite(size.height) ? std::trunc(size.height) : 0;
    NSRect rect = NSMakeRect(0, 0, width, height);
    const CGColorSpace* space = GetCalibratedRGBColorSpace();
    if (!space)
        return nullptr;
    constexpr uint32_t kPremultipliedLastLittle = uint32_t(CGImageAlphaInfo::PremultipliedLast) | kCGBitmapByteOrder32Little;
    CGBitmapContextRef bitmap = CGBitmapContextCreate(nullptr, size_t(width), size_t(height), 8,
                                                      (size_t(width) * 4 + 63) & ~size_t(63), space,
                                                      kPremultipliedLastLittle);
    if (!bitmap)
        return nullptr;
    CGContextRef context = bitmap->context();
    CGContextSaveGState(context);
    CGContextSetGrayFillColor(context, 1.0, 1.0);
    CGContextFillRect(context, rect);
    CGContextRestoreGState(context);

    NSGraphicsContext::saveGraphicsState();
    NSGraphicsContext::setCurrentContext(NSGraphicsContext::graphicsContextWithGraphicsPort(context, false));
    image.drawInRect(rect, rect, NSCompositingOperation::SourceOver, 1.0);
    NSGraphicsContext::restoreGraphicsState();
    return CGBitmapContextCreateImage(bitmap.get());
}
