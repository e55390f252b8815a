#include "platform/graphics/NSAffineTransform.h"

#include <cmath>
#include <numbers>

#include <cairo.h>

#include "platform/graphics/NSGraphicsContext.h"

namespace {

/// `first` acts on a point, then `second`.
NSAffineTransformStruct Compose(const NSAffineTransformStruct& first, const NSAffineTransformStruct& second) {
    return {
        .m11 = first.m11 * second.m11 + first.m12 * second.m21,
        .m12 = first.m11 * second.m12 + first.m12 * second.m22,
        .m21 = first.m21 * second.m11 + first.m22 * second.m21,
        .m22 = first.m21 * second.m12 + first.m22 * second.m22,
        .tX = first.tX * second.m11 + first.tY * second.m21 + second.tX,
        .tY = first.tX * second.m12 + first.tY * second.m22 + second.tY,
    };
}

cairo_matrix_t CairoMatrix(const NSAffineTransformStruct& m) {
    cairo_matrix_t matrix;
    cairo_matrix_init(&matrix, m.m11, m.m12, m.m21, m.m22, m.tX, m.tY);
    return matrix;
}

} // namespace

std::shared_ptr<NSAffineTransform> NSAffineTransform::transform() {
    return std::make_shared<NSAffineTransform>();
}

std::shared_ptr<NSAffineTransform> NSAffineTransform::transformWithTransform(const NSAffineTransform& other) {
    return std::make_shared<NSAffineTransform>(other);
}

void NSAffineTransform::translateXBy(double x, double y) {
    m_matrix = Compose({.tX = x, .tY = y}, m_matrix);
}

void NSAffineTransform::rotateByDegrees(double degrees) {
    rotateByRadians(degrees * std::numbers::pi / 180.0);
}

void NSAffineTransform::rotateByRadians(double radians) {
    double cosine = std::cos(radians);
    double sine = std::sin(radians);
    m_matrix = Compose({.m11 = cosine, .m12 = sine, .m21 = -sine, .m22 = cosine}, m_matrix);
}

void NSAffineTransform::scaleXBy(double x, double y) {
    m_matrix = Compose({.m11 = x, .m22 = y}, m_matrix);
}

void NSAffineTransform::appendTransform(const NSAffineTransform& other) {
    m_matrix = Compose(m_matrix, other.m_matrix);
}

void NSAffineTransform::prependTransform(const NSAffineTransform& other) {
    m_matrix = Compose(other.m_matrix, m_matrix);
}

void NSAffineTransform::invert() {
    cairo_matrix_t matrix = CairoMatrix(m_matrix);
    if (cairo_matrix_invert(&matrix) != CAIRO_STATUS_SUCCESS)
        return;
    m_matrix = {matrix.xx, matrix.yx, matrix.xy, matrix.yy, matrix.x0, matrix.y0};
}

NSPoint NSAffineTransform::transformPoint(NSPoint point) const {
    return {m_matrix.m11 * point.x + m_matrix.m21 * point.y + m_matrix.tX,
            m_matrix.m12 * point.x + m_matrix.m22 * point.y + m_matrix.tY};
}

NSSize NSAffineTransform::transformSize(NSSize size) const {
    return {m_matrix.m11 * size.width + m_matrix.m21 * size.height,
            m_matrix.m12 * size.width + m_matrix.m22 * size.height};
}

void NSAffineTransform::concat() const {
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    if (!context)
        return;
    cairo_matrix_t matrix = CairoMatrix(m_matrix);
    cairo_transform(context->cairo(), &matrix);
}

void NSAffineTransform::set() const {
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    if (!context)
        return;
    // The transform is relative to the context's own base space (points, y up), not to
    // the device's pixels.
    cairo_matrix_t matrix = CairoMatrix(m_matrix);
    cairo_matrix_t base = context->baseTransform();
    cairo_matrix_t combined;
    cairo_matrix_multiply(&combined, &matrix, &base);
    cairo_set_matrix(context->cairo(), &combined);
}
