#include "platform/graphics/NSImage.h"

#include "platform/graphics/NSGraphicsContext.h"

cairo_operator_t CairoOperatorForCompositingOperation(NSCompositingOperation operation) {
    switch (operation) {
    case NSCompositingOperation::Clear:
        return CAIRO_OPERATOR_CLEAR;
    case NSCompositingOperation::Copy:
        return CAIRO_OPERATOR_SOURCE;
    case NSCompositingOperation::SourceOver:
        return CAIRO_OPERATOR_OVER;
    case NSCompositingOperation::SourceIn:
        return CAIRO_OPERATOR_IN;
    case NSCompositingOperation::SourceOut:
        return CAIRO_OPERATOR_OUT;
    case NSCompositingOperation::SourceAtop:
        return CAIRO_OPERATOR_ATOP;
    case NSCompositingOperation::DestinationOver:
        return CAIRO_OPERATOR_DEST_OVER;
    case NSCompositingOperation::DestinationIn:
        return CAIRO_OPERATOR_DEST_IN;
    case NSCompositingOperation::DestinationOut:
        return CAIRO_OPERATOR_DEST_OUT;
    case NSCompositingOperation::DestinationAtop:
        return CAIRO_OPERATOR_DEST_ATOP;
    case NSCompositingOperation::XOR:
        return CAIRO_OPERATOR_XOR;
    case NSCompositingOperation::PlusDarker:
    case NSCompositingOperation::Darken:
        return CAIRO_OPERATOR_DARKEN;
    case NSCompositingOperation::PlusLighter:
        return CAIRO_OPERATOR_ADD;
    case NSCompositingOperation::Multiply:
        return CAIRO_OPERATOR_MULTIPLY;
    case NSCompositingOperation::Screen:
        return CAIRO_OPERATOR_SCREEN;
    case NSCompositingOperation::Overlay:
        return CAIRO_OPERATOR_OVERLAY;
    case NSCompositingOperation::Lighten:
        return CAIRO_OPERATOR_LIGHTEN;
    case NSCompositingOperation::ColorDodge:
        return CAIRO_OPERATOR_COLOR_DODGE;
    case NSCompositingOperation::ColorBurn:
        return CAIRO_OPERATOR_COLOR_BURN;
    case NSCompositingOperation::SoftLight:
        return CAIRO_OPERATOR_SOFT_LIGHT;
    case NSCompositingOperation::HardLight:
        return CAIRO_OPERATOR_HARD_LIGHT;
    case NSCompositingOperation::Difference:
        return CAIRO_OPERATOR_DIFFERENCE;
    case NSCompositingOperation::Exclusion:
        return CAIRO_OPERATOR_EXCLUSION;
    case NSCompositingOperation::Hue:
        return CAIRO_OPERATOR_HSL_HUE;
    case NSCompositingOperation::Saturation:
        return CAIRO_OPERATOR_HSL_SATURATION;
    case NSCompositingOperation::Color:
        return CAIRO_OPERATOR_HSL_COLOR;
    case NSCompositingOperation::Luminosity:
        return CAIRO_OPERATOR_HSL_LUMINOSITY;
    }
    return CAIRO_OPERATOR_OVER;
}

std::shared_ptr<NSImage> NSImage::imageWithSize(NSSize size) {
    std::optional<PixelSize> pixels = PixelSizeForPointSize(size);
    if (!pixels)
        return nullptr;
    std::optional<NSBitmapImageRep> bitmap = NSBitmapImageRep::bitmapWithPixelSize(*pixels);
    if (!bitmap)
        return nullptr;
    return imageWithBitmap(std::move(*bitmap), size);
}

std::shared_ptr<NSImage> NSImage::imageWithBitmap(NSBitmapImageRep bitmap, NSSize size) {
    return std::shared_ptr<NSImage>(new NSImage(std::move(bitmap), size));
}

std::shared_ptr<NSImage> NSImage::imageWithBitmap(NSBitmapImageRep bitmap) {
    NSSize size = NSMakeSize(bitmap.pixelsWide(), bitmap.pixelsHigh());
    return imageWithBitmap(std::move(bitmap), size);
}

void NSImage::lockFocus() {
    NSGraphicsContext::saveGraphicsState();
    NSGraphicsContext::setCurrentContext(
        NSGraphicsContext::graphicsContextWithBitmapImageRep(m_bitmap, m_size));
}

void NSImage::unlockFocus() {
    NSGraphicsContext::restoreGraphicsState();
}

void NSImage::drawInRect(NSRect rect, NSRect fromRect, NSCompositingOperation operation,
                         double fraction) const {
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    if (!context || m_size.width <= 0 || m_size.height <= 0)
        return;
    if (NSEqualRects(fromRect, NSZeroRect))
        fromRect = {NSZeroPoint, m_size};
    if (fromRect.size.width == 0 || fromRect.size.height == 0 || rect.size.width == 0 ||
        rect.size.height == 0)
        return;

    // The pattern matrix takes the destination's user space to the bitmap's pixels: a
    // point of `rect` goes to the matching point of `fromRect` (image points, y up), and
    // from there to pixels (top row first).
    double toPixelX = m_bitmap.pixelsWide() / m_size.width;
    double toPixelY = m_bitmap.pixelsHigh() / m_size.height;
    double scaleX = fromRect.size.width / rect.size.width;
    double scaleY = fromRect.size.height / rect.size.height;
    cairo_matrix_t matrix;
    cairo_matrix_init(&matrix, toPixelX * scaleX, 0, 0, -toPixelY * scaleY,
                      toPixelX * (fromRect.origin.x - rect.origin.x * scaleX),
                      toPixelY * (m_size.height - fromRect.origin.y + rect.origin.y * scaleY));

    m_bitmap.bitmapData(); // pending drawing into this image must land before it is read
    CairoPattern pattern(cairo_pattern_create_for_surface(m_bitmap.surface()));
    cairo_pattern_set_matrix(pattern.get(), &matrix);
    cairo_pattern_set_filter(pattern.get(), context->imageFilter());
    // Pad rather than fade the edges: scaled drawing then ends crisply at the rectangle
    // instead of blending its border pixels with transparency.
    cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);

    cairo_t* cairo = context->cairo();
    cairo_save(cairo);
    cairo_new_path(cairo);
    cairo_rectangle(cairo, rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
    cairo_clip(cairo);
    cairo_set_operator(cairo, CairoOperatorForCompositingOperation(operation));
    cairo_set_source(cairo, pattern.get());
    if (fraction >= 1.0)
        cairo_paint(cairo);
    else
        cairo_paint_with_alpha(cairo, fraction > 0 ? fraction : 0.0);
    cairo_restore(cairo);
}
