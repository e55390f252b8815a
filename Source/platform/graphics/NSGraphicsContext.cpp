#include "platform/graphics/NSGraphicsContext.h"

#include <utility>

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
