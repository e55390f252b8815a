#include "platform/graphics/NSColor.h"

#include <algorithm>
#include <cmath>

#include "platform/graphics/CGColorSpace.h"
#include "platform/graphics/CGPattern.h"
#include "platform/graphics/NSGraphicsContext.h"

namespace {

double Clamped(double component) {
    return std::isnan(component) ? 0.0 : std::clamp(component, 0.0, 1.0);
}

} // namespace

NSColor NSColor::colorWithDeviceRed(double red, double green, double blue, double alpha) {
    return NSColor(Clamped(red), Clamped(green), Clamped(blue), Clamped(alpha));
}

NSColor NSColor::colorWithCalibratedWhite(double white, double alpha) {
    return colorWithDeviceWhite(GenericGrayToSRGB(white), alpha);
}

NSColor NSColor::colorWithPattern(std::shared_ptr<const CGPattern> pattern, double alpha) {
    NSColor color(0, 0, 0, Clamped(alpha));
    color.m_pattern = std::move(pattern);
    return color;
}

void NSColor::set() const {
    setFill();
    setStroke();
}

void NSColor::setFill() const {
    if (NSGraphicsContext* context = NSGraphicsContext::currentContext())
        context->setFillColor(*this);
}

void NSColor::setStroke() const {
    if (NSGraphicsContext* context = NSGraphicsContext::currentContext())
        context->setStrokeColor(*this);
}

void NSColor::setSourceOn(cairo_t* cairo) const {
    if (m_pattern) {
        cairo_matrix_t identity;
        cairo_matrix_init_identity(&identity);
        SetPatternSource(cairo, *this, identity);
        return;
    }
    cairo_set_source_rgba(cairo, m_red, m_green, m_blue, m_alpha);
}
