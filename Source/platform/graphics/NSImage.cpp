#include "platform/graphics/NSImage.h"

#include <algorithm>
#include <cmath>

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
    std::vector<NSBitmapImageRep> bitmaps;
    bitmaps.push_back(std::move(bitmap));
    return std::shared_ptr<NSImage>(new NSImage(std::move(bitmaps), size));
}

std::shared_ptr<NSImage> NSImage::imageWithRepresentations(std::vector<NSBitmapImageRep> bitmaps, NSSize size) {
    if (bitmaps.empty())
        return nullptr;
    return std::shared_ptr<NSImage>(new NSImage(std::move(bitmaps), size));
}

std::shared_ptr<NSImage> NSImage::imageWithSize(NSSize size, bool flipped, DrawingHandler handler) {
    if (!handler || !(size.width >= 0) || !(size.height >= 0))
        return nullptr;
    std::shared_ptr<NSImage> image(new NSImage({}, size));
    image->m_handler = std::move(handler);
    image->m_flipped = flipped;
    return image;
}

std::shared_ptr<NSImage> NSImage::copy() const {
    std::shared_ptr<NSImage> image(new NSImage(m_handler ? std::vector<NSBitmapImageRep>{} : m_reps, m_size));
    image->m_handler = m_handler;
    image->m_flipped = m_flipped;
    image->m_template = m_template;
    return image;
}

void NSImage::addRepresentation(NSBitmapImageRep bitmap) {
    if (!m_handler)
        m_reps.push_back(std::move(bitmap));
}

const NSBitmapImageRep& NSImage::bitmap() const {
    if (m_reps.empty()) {
        if (std::optional<NSBitmapImageRep> rendered = renderHandler(1.0))
            m_reps.push_back(std::move(*rendered));
        else
            m_reps.push_back(*NSBitmapImageRep::bitmapWithPixelSize({1, 1}));
    }
    return m_reps.front();
}

std::optional<NSBitmapImageRep> NSImage::renderHandler(double scale) const {
    if (!m_handler)
        return std::nullopt;
    PixelSize pixels{std::max(1, int(std::lround(m_size.width * scale))),
                     std::max(1, int(std::lround(m_size.height * scale)))};
    std::optional<NSBitmapImageRep> bitmap = NSBitmapImageRep::bitmapWithPixelSize(pixels);
    if (!bitmap)
        return std::nullopt;
    NSSize pointSize = m_size.width > 0 && m_size.height > 0 ? m_size : NSMakeSize(pixels.width, pixels.height);
    auto context = NSGraphicsContext::graphicsContextWithBitmapImageRep(*bitmap, pointSize);
    if (!context)
        return std::nullopt;
    NSGraphicsContext::saveGraphicsState();
    NSGraphicsContext::setCurrentContext(context);
    if (m_flipped) {
        cairo_translate(context->cairo(), 0, m_size.height);
        cairo_scale(context->cairo(), 1, -1);
    }
    m_handler(NSRect{NSZeroPoint, m_size});
    NSGraphicsContext::restoreGraphicsState();
    context->flushGraphics();
    return bitmap;
}

CGImageRef NSImage::CGImageForProposedRect(NSRect*, const NSGraphicsContext* context) const {
    if (m_handler) {
        double scale = 1.0;
        if (context) {
            cairo_matrix_t base = context->baseTransform();
            scale = std::max(1.0, std::sqrt(std::abs(base.xx * base.yy - base.xy * base.yx)));
        }
        std::optional<NSBitmapImageRep> rendered = renderHandler(scale);
        return rendered ? CGImageCreateWithSurface(rendered->surface()) : nullptr;
    }
    const NSBitmapImageRep* largest = &m_reps.front();
    for (const NSBitmapImageRep& rep : m_reps) {
        if (int64_t(rep.pixelsWide()) * rep.pixelsHigh() > int64_t(largest->pixelsWide()) * largest->pixelsHigh())
            largest = &rep;
    }
    return CGImageCreateWithSurface(largest->surface());
}

const NSBitmapImageRep& NSImage::representationForDestination(NSRect rect, const NSGraphicsContext& context) const {
    if (m_reps.size() == 1)
        return m_reps.front();
    // The smallest bitmap with at least as many pixels across as the destination
    // covers; else the largest.
    double dx = rect.size.width, dy = rect.size.height;
    cairo_user_to_device_distance(context.cairo(), &dx, &dy);
    double needed = std::hypot(dx, dy) / std::hypot(rect.size.width, rect.size.height) * std::abs(rect.size.width);
    const NSBitmapImageRep* best = nullptr;
    const NSBitmapImageRep* largest = &m_reps.front();
    for (const NSBitmapImageRep& rep : m_reps) {
        if (rep.pixelsWide() > largest->pixelsWide())
            largest = &rep;
        if (rep.pixelsWide() + 0.5 >= needed && (!best || rep.pixelsWide() < best->pixelsWide()))
            best = &rep;
    }
    return best ? *best : *largest;
}

void NSImage::drawHandlerInRect(NSRect rect, NSRect fromRect, NSCompositingOperation operation,
                                double fraction) const {
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    cairo_t* cairo = context->cairo();
    // The handler draws in image points; map `fromRect` of them onto `rect`.
    double scaleX = rect.size.width / fromRect.size.width;
    double scaleY = rect.size.height / fromRect.size.height;
    // The handler draws through the layer onto the context's own Cairo context, into a
    // group, without the shadow or mask clip of the state: those apply to the result.
    context->saveState();
    context->clearDrawingEffects();
    cairo_push_group(cairo);
    cairo_translate(cairo, rect.origin.x - fromRect.origin.x * scaleX, rect.origin.y - fromRect.origin.y * scaleY);
    cairo_scale(cairo, scaleX, scaleY);
    if (m_flipped) {
        cairo_translate(cairo, 0, m_size.height);
        cairo_scale(cairo, 1, -1);
    }
    m_handler(NSRect{NSZeroPoint, m_size});
    CairoPattern group(cairo_pop_group(cairo));
    context->restoreState();
    context->performDrawing([&](cairo_t* target) {
        cairo_new_path(target);
        cairo_rectangle(target, rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
        cairo_clip(target);
        cairo_set_operator(target, CairoOperatorForCompositingOperation(operation));
        cairo_set_source(target, group.get());
        if (fraction >= 1.0)
            cairo_paint(target);
        else
            cairo_paint_with_alpha(target, fraction > 0 ? fraction : 0.0);
    });
}

std::shared_ptr<NSImage> NSImage::imageWithBitmap(NSBitmapImageRep bitmap) {
    NSSize size = NSMakeSize(bitmap.pixelsWide(), bitmap.pixelsHigh());
    return imageWithBitmap(std::move(bitmap), size);
}

void NSImage::lockFocus() {
    NSGraphicsContext::saveGraphicsState();
    NSGraphicsContext::setCurrentContext(
        NSGraphicsContext::graphicsContextWithBitmapImageRep(bitmap(), m_size));
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
    if (m_handler) {
        drawHandlerInRect(rect, fromRect, operation, fraction);
        return;
    }
    const NSBitmapImageRep& bitmap = representationForDestination(rect, *context);

    // The pattern matrix takes the destination's user space to the bitmap's pixels: a
    // point of `rect` goes to the matching point of `fromRect` (image points, y up), and
    // from there to pixels (top row first).
    double toPixelX = bitmap.pixelsWide() / m_size.width;
    double toPixelY = bitmap.pixelsHigh() / m_size.height;
    double scaleX = fromRect.size.width / rect.size.width;
    double scaleY = fromRect.size.height / rect.size.height;
    cairo_matrix_t matrix;
    cairo_matrix_init(&matrix, toPixelX * scaleX, 0, 0, -toPixelY * scaleY,
                      toPixelX * (fromRect.origin.x - rect.origin.x * scaleX),
                      toPixelY * (m_size.height - fromRect.origin.y + rect.origin.y * scaleY));

    bitmap.bitmapData(); // pending drawing into this image must land before it is read
    CairoPattern pattern(cairo_pattern_create_for_surface(bitmap.surface()));
    cairo_pattern_set_matrix(pattern.get(), &matrix);
    cairo_pattern_set_filter(pattern.get(), context->imageFilter());
    // Pad rather than fade the edges: scaled drawing then ends crisply at the rectangle
    // instead of blending its border pixels with transparency.
    cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);

    context->performDrawing([&](cairo_t* cairo) {
        cairo_new_path(cairo);
        cairo_rectangle(cairo, rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
        cairo_clip(cairo);
        cairo_set_operator(cairo, CairoOperatorForCompositingOperation(operation));
        cairo_set_source(cairo, pattern.get());
        if (fraction >= 1.0)
            cairo_paint(cairo);
        else
            cairo_paint_with_alpha(cairo, fraction > 0 ? fraction : 0.0);
    });
}
