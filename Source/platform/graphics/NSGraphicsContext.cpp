#include "platform/graphics/NSGraphicsContext.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "platform/graphics/CGPattern.h"
#include "platform/graphics/GaussianBlur.h"
#include "platform/graphics/NSBitmapImageRep.h"

namespace {

struct ThreadContexts {
    std::shared_ptr<NSGraphicsContext> current;
    std::vector<std::shared_ptr<NSGraphicsContext>> saved;
};

ThreadContexts& Contexts() {
    thread_local ThreadContexts contexts;
    return contexts;
}

} // namespace

NSGraphicsContext::NSGraphicsContext(CairoContext cairo) : m_cairo(std::move(cairo)) {
    cairo_get_matrix(m_cairo.get(), &m_baseTransform);
}

NSGraphicsContext::~NSGraphicsContext() = default;

std::shared_ptr<NSGraphicsContext>
NSGraphicsContext::graphicsContextWithBitmapImageRep(const NSBitmapImageRep& bitmap, NSSize pointSize) {
    CairoContext cairo(cairo_create(bitmap.surface()));
    if (cairo_status(cairo.get()) != CAIRO_STATUS_SUCCESS)
        return nullptr;
    if (pointSize.width > 0 && pointSize.height > 0) {
        // Flip to y up, and map the point size onto the pixel size exactly, so that a
        // canvas of 240.00000000000003 points still fills its 240 pixels edge to edge.
        cairo_translate(cairo.get(), 0, bitmap.pixelsHigh());
        cairo_scale(cairo.get(), bitmap.pixelsWide() / pointSize.width,
                    -bitmap.pixelsHigh() / pointSize.height);
    }
    return std::shared_ptr<NSGraphicsContext>(new NSGraphicsContext(std::move(cairo)));
}

std::shared_ptr<NSGraphicsContext>
NSGraphicsContext::graphicsContextWithBitmapImageRep(const NSBitmapImageRep& bitmap) {
    return graphicsContextWithBitmapImageRep(bitmap, NSMakeSize(bitmap.pixelsWide(), bitmap.pixelsHigh()));
}

std::shared_ptr<NSGraphicsContext> NSGraphicsContext::graphicsContextWithCairo(cairo_t* cairo) {
    if (!cairo || cairo_status(cairo) != CAIRO_STATUS_SUCCESS)
        return nullptr;
    return std::shared_ptr<NSGraphicsContext>(new NSGraphicsContext(CairoContext(cairo_reference(cairo))));
}

std::shared_ptr<NSGraphicsContext> NSGraphicsContext::graphicsContextWithGraphicsPort(NSGraphicsContext* port,
                                                                                   bool flipped) {
    if (!port)
        return nullptr;
    // Flipped ports are not drawn into by anything in lxkit.
    if (flipped)
        return nullptr;
    return port->shared_from_this();
}

NSGraphicsContext* NSGraphicsContext::currentContext() {
    return Contexts().current.get();
}

void NSGraphicsContext::setCurrentContext(std::shared_ptr<NSGraphicsContext> context) {
    Contexts().current = std::move(context);
}

void NSGraphicsContext::saveGraphicsState() {
    ThreadContexts& contexts = Contexts();
    if (contexts.current)
        contexts.current->saveState();
    contexts.saved.push_back(contexts.current);
}

void NSGraphicsContext::restoreGraphicsState() {
    ThreadContexts& contexts = Contexts();
    if (contexts.saved.empty())
        return;
    if (contexts.current)
        contexts.current->flushGraphics();
    contexts.current = std::move(contexts.saved.back());
    contexts.saved.pop_back();
    if (contexts.current)
        contexts.current->restoreState();
}

void NSGraphicsContext::saveState() {
    cairo_save(m_cairo.get());
    m_savedStates.push_back(m_state);
}

void NSGraphicsContext::restoreState() {
    if (m_savedStates.empty())
        return;
    cairo_restore(m_cairo.get());
    m_state = m_savedStates.back();
    m_savedStates.pop_back();
}

cairo_filter_t NSGraphicsContext::imageFilter() const {
    switch (m_state.interpolation) {
    case NSImageInterpolation::None:
        return CAIRO_FILTER_NEAREST;
    case NSImageInterpolation::Low:
        return CAIRO_FILTER_BILINEAR;
    case NSImageInterpolation::High:
        return CAIRO_FILTER_BEST;
    case NSImageInterpolation::Medium:
    case NSImageInterpolation::Default:
        break;
    }
    return CAIRO_FILTER_GOOD;
}

void NSGraphicsContext::flushGraphics() {
    cairo_surface_flush(cairo_get_target(m_cairo.get()));
}

void NSGraphicsContext::setColorSource(cairo_t* cairo, const NSColor& color) const {
    if (color.pattern())
        SetPatternSource(cairo, color, m_baseTransform);
    else
        color.setSourceOn(cairo);
}

void NSGraphicsContext::clipToDeviceMask(CairoSurface mask) {
    if (!mask || cairo_surface_status(mask.get()) != CAIRO_STATUS_SUCCESS)
        return;
    if (m_state.mask) {
        // Intersect: keep the old mask only where the new one lets drawing through.
        CairoContext combine(cairo_create(mask.get()));
        cairo_set_operator(combine.get(), CAIRO_OPERATOR_IN);
        cairo_set_source_surface(combine.get(), m_state.mask.get(), 0, 0);
        cairo_paint(combine.get());
    }
    cairo_surface_flush(mask.get());
    m_state.mask = std::shared_ptr<cairo_surface_t>(mask.release(), CairoSurfaceDeleter());
}

void NSGraphicsContext::performDrawing(const std::function<void(cairo_t*)>& draw) {
    cairo_t* cairo = m_cairo.get();
    auto drawWithState = [&](cairo_t* target) {
        if (m_state.shadow && m_state.shadow->shadowColor().alphaComponent() > 0) {
            drawWithShadow(*m_state.shadow, draw);
            return;
        }
        cairo_save(target);
        draw(target);
        cairo_restore(target);
    };
    if (!m_state.mask) {
        drawWithState(cairo);
        return;
    }
    // The mask clip: draw into a group, then let the group through the mask.
    cairo_push_group(cairo);
    drawWithState(cairo);
    cairo_pop_group_to_source(cairo);
    cairo_save(cairo);
    cairo_identity_matrix(cairo);
    cairo_mask_surface(cairo, m_state.mask.get(), 0, 0);
    cairo_restore(cairo);
}

void NSGraphicsContext::drawWithShadow(const NSShadow& shadow, const std::function<void(cairo_t*)>& draw) {
    cairo_t* cairo = m_cairo.get();
    cairo_surface_t* target = cairo_get_target(cairo);
    if (cairo_surface_get_type(target) != CAIRO_SURFACE_TYPE_IMAGE) {
        cairo_save(cairo);
        draw(cairo);
        cairo_restore(cairo);
        return;
    }
    int targetWidth = cairo_image_surface_get_width(target);
    int targetHeight = cairo_image_surface_get_height(target);

    // Offset and blur are user-space lengths; in device pixels here.
    double dx = shadow.shadowOffset().width, dy = shadow.shadowOffset().height;
    cairo_user_to_device_distance(cairo, &dx, &dy);
    cairo_matrix_t ctm;
    cairo_get_matrix(cairo, &ctm);
    double scale = std::sqrt(std::abs(ctm.xx * ctm.yy - ctm.xy * ctm.yx));
    double blur = shadow.shadowBlurRadius() * scale;

    // The shape is drawn unclipped into a scratch surface that covers the destination and
    // what lies one offset away from it, so a shape drawn outside the destination still
    // casts its shadow into it (the way inner shadows are made).
    int margin = int(std::ceil(1.5 * blur)) + 2;
    int left = int(std::floor(std::min(0.0, -dx))) - margin;
    int top = int(std::floor(std::min(0.0, -dy))) - margin;
    int right = targetWidth + int(std::ceil(std::max(0.0, -dx))) + margin;
    int bottom = targetHeight + int(std::ceil(std::max(0.0, -dy))) + margin;
    CairoSurface scratch(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, right - left, bottom - top));
    if (cairo_surface_status(scratch.get()) != CAIRO_STATUS_SUCCESS)
        return;
    cairo_surface_set_device_offset(scratch.get(), -left, -top);
    {
        CairoContext shape(cairo_create(scratch.get()));
        cairo_set_matrix(shape.get(), &ctm);
        cairo_set_antialias(shape.get(), cairo_get_antialias(cairo));
        cairo_set_source(shape.get(), cairo_get_source(cairo));
        draw(shape.get());
    }
    cairo_surface_flush(scratch.get());

    CairoSurface alpha(cairo_image_surface_create(CAIRO_FORMAT_A8, right - left, bottom - top));
    if (cairo_surface_status(alpha.get()) != CAIRO_STATUS_SUCCESS)
        return;
    {
        const uint8_t* source = cairo_image_surface_get_data(scratch.get());
        int sourceStride = cairo_image_surface_get_stride(scratch.get());
        uint8_t* alphaData = cairo_image_surface_get_data(alpha.get());
        int alphaStride = cairo_image_surface_get_stride(alpha.get());
        for (int y = 0; y < bottom - top; ++y) {
            const uint32_t* words = reinterpret_cast<const uint32_t*>(source + size_t(y) * size_t(sourceStride));
            uint8_t* row = alphaData + size_t(y) * size_t(alphaStride);
            for (int x = 0; x < right - left; ++x)
                row[x] = uint8_t(words[x] >> 24);
        }
        cairo_surface_mark_dirty(alpha.get());
    }
    BlurAlphaSurface(alpha.get(), blur);

    cairo_save(cairo);
    cairo_identity_matrix(cairo);
    shadow.shadowColor().setSourceOn(cairo);
    cairo_mask_surface(cairo, alpha.get(), left + dx, top + dy);
    cairo_set_source_surface(cairo, scratch.get(), 0, 0);
    cairo_paint(cairo);
    cairo_restore(cairo);
}
