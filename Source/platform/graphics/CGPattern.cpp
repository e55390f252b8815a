#include "platform/graphics/CGPattern.h"

#include <algorithm>
#include <cmath>

#include "platform/graphics/NSBitmapImageRep.h"
#include "platform/graphics/NSColor.h"
#include "platform/graphics/NSGraphicsContext.h"

CGPattern::~CGPattern() {
    if (m_callbacks.releaseInfo)
        m_callbacks.releaseInfo(m_info);
}

void CGPattern::drawCell(CGContextRef context) const {
    if (m_callbacks.drawPattern && context)
        m_callbacks.drawPattern(m_info, context);
}

CGPatternRef CGPatternCreate(void* info, NSRect bounds, NSAffineTransformStruct matrix, double xStep, double yStep,
                             CGPatternTiling, bool isColored, const CGPatternCallbacks* callbacks) {
    if (!callbacks || !callbacks->drawPattern || !isColored)
        return nullptr;
    if (!(std::isfinite(xStep) && xStep > 0 && std::isfinite(yStep) && yStep > 0))
        return nullptr;
    CGPatternRef pattern(new CGPattern());
    pattern->m_info = info;
    pattern->m_bounds = bounds;
    pattern->m_matrix = matrix;
    pattern->m_xStep = xStep;
    pattern->m_yStep = yStep;
    pattern->m_callbacks = *callbacks;
    return pattern;
}

void SetPatternSource(cairo_t* cairo, const NSColor& color, const cairo_matrix_t& baseTransform) {
    const CGPattern* pattern = color.pattern().get();
    if (!pattern) {
        color.setSourceOn(cairo);
        return;
    }
    // Pattern space → base space → device: the cell is rendered at the density that
    // mapping gives, so it stays crisp however the caller scales it.
    const NSAffineTransformStruct& m = pattern->matrix();
    cairo_matrix_t patternToBase;
    cairo_matrix_init(&patternToBase, m.m11, m.m12, m.m21, m.m22, m.tX, m.tY);
    cairo_matrix_t patternToDevice;
    cairo_matrix_multiply(&patternToDevice, &patternToBase, &baseTransform);
    double density = std::sqrt(std::abs(patternToDevice.xx * patternToDevice.yy - patternToDevice.xy * patternToDevice.yx));
    if (!std::isfinite(density) || density <= 0) {
        cairo_set_source_rgba(cairo, 0, 0, 0, 0);
        return;
    }
    density = std::clamp(density, 1.0, 8.0);
    int width = std::max(1, int(std::ceil(pattern->xStep() * density)));
    int height = std::max(1, int(std::ceil(pattern->yStep() * density)));
    auto cell = NSBitmapImageRep::bitmapWithPixelSize({width, height});
    if (!cell) {
        cairo_set_source_rgba(cairo, 0, 0, 0, 0);
        return;
    }
    {
        auto context = NSGraphicsContext::graphicsContextWithBitmapImageRep(*cell, {pattern->xStep(), pattern->yStep()});
        if (context) {
            // The callback draws with the layer's own calls; it finds the cell as the
            // current context too.
            NSGraphicsContext::saveGraphicsState();
            NSGraphicsContext::setCurrentContext(context);
            pattern->drawCell(context.get());
            NSGraphicsContext::restoreGraphicsState();
            context->flushGraphics();
        }
    }
    CairoPattern source(cairo_pattern_create_for_surface(cell->surface()));
    cairo_pattern_set_extend(source.get(), CAIRO_EXTEND_REPEAT);
    cairo_pattern_set_filter(source.get(), CAIRO_FILTER_NEAREST);

    // User space → device → base → pattern space → cell pixels (top row first).
    cairo_matrix_t userToDevice;
    cairo_get_matrix(cairo, &userToDevice);
    cairo_matrix_t deviceToBase = baseTransform;
    cairo_matrix_t baseToPattern = patternToBase;
    if (cairo_matrix_invert(&deviceToBase) != CAIRO_STATUS_SUCCESS ||
        cairo_matrix_invert(&baseToPattern) != CAIRO_STATUS_SUCCESS) {
        cairo_set_source_rgba(cairo, 0, 0, 0, 0);
        return;
    }
    cairo_matrix_t patternToCell;
    cairo_matrix_init(&patternToCell, width / pattern->xStep(), 0, 0, -height / pattern->yStep(), 0, height);
    cairo_matrix_t matrix;
    cairo_matrix_multiply(&matrix, &userToDevice, &deviceToBase);
    cairo_matrix_multiply(&matrix, &matrix, &baseToPattern);
    cairo_matrix_multiply(&matrix, &matrix, &patternToCell);
    cairo_pattern_set_matrix(source.get(), &matrix);
    if (color.alphaComponent() >= 1.0) {
        cairo_set_source(cairo, source.get());
        return;
    }
    // Fade the cells by the colour's alpha: bake it into a second surface.
    auto faded = NSBitmapImageRep::bitmapWithPixelSize({width, height});
    if (!faded) {
        cairo_set_source(cairo, source.get());
        return;
    }
    CairoContext fade(cairo_create(faded->surface()));
    cairo_set_source_surface(fade.get(), cell->surface(), 0, 0);
    cairo_paint_with_alpha(fade.get(), color.alphaComponent());
    CairoPattern fadedSource(cairo_pattern_create_for_surface(faded->surface()));
    cairo_pattern_set_extend(fadedSource.get(), CAIRO_EXTEND_REPEAT);
    cairo_pattern_set_filter(fadedSource.get(), CAIRO_FILTER_NEAREST);
    cairo_pattern_set_matrix(fadedSource.get(), &matrix);
    cairo_set_source(cairo, fadedSource.get());
}
