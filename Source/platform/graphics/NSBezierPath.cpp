#include "platform/graphics/NSBezierPath.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/graphics/NSAffineTransform.h"
#include "platform/graphics/NSGraphicsContext.h"

namespace {

/// Distance of a cubic curve's control points from its ends along the tangents that best
/// approximates a quarter ellipse.
constexpr double kQuarterArc = 0.5522847498307936;

struct Extent {
    double min = std::numeric_limits<double>::infinity();
    double max = -std::numeric_limits<double>::infinity();
    void add(double value) {
        min = std::min(min, value);
        max = std::max(max, value);
    }
};

double CubicAt(double p0, double c1, double c2, double p3, double t) {
    double u = 1 - t;
    return u * u * u * p0 + 3 * u * u * t * c1 + 3 * u * t * t * c2 + t * t * t * p3;
}

/// Adds one coordinate of a cubic curve: its ends and its turning points inside (0, 1).
void AddCubicExtent(Extent& extent, double p0, double c1, double c2, double p3) {
    extent.add(p0);
    extent.add(p3);
    // The derivative divided by 3 is a t² + b t + c.
    double a = -p0 + 3 * c1 - 3 * c2 + p3;
    double b = 2 * (p0 - 2 * c1 + c2);
    double c = c1 - p0;
    auto addAt = [&](double t) {
        if (t > 0 && t < 1)
            extent.add(CubicAt(p0, c1, c2, p3, t));
    };
    if (std::abs(a) < 1e-12) {
        if (std::abs(b) > 1e-12)
            addAt(-c / b);
        return;
    }
    double discriminant = b * b - 4 * a * c;
    if (discriminant < 0)
        return;
    double root = std::sqrt(discriminant);
    addAt((-b + root) / (2 * a));
    addAt((-b - root) / (2 * a));
}

cairo_t* CurrentCairo() {
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    return context ? context->cairo() : nullptr;
}

} // namespace

std::shared_ptr<NSBezierPath> NSBezierPath::bezierPath() {
    return std::make_shared<NSBezierPath>();
}

std::shared_ptr<NSBezierPath> NSBezierPath::bezierPathWithRect(NSRect rect) {
    auto path = bezierPath();
    path->appendBezierPathWithRect(rect);
    return path;
}

std::shared_ptr<NSBezierPath> NSBezierPath::bezierPathWithOvalInRect(NSRect rect) {
    auto path = bezierPath();
    path->appendBezierPathWithOvalInRect(rect);
    return path;
}

std::shared_ptr<NSBezierPath> NSBezierPath::bezierPathWithRoundedRect(NSRect rect, double xRadius,
                                                                      double yRadius) {
    auto path = bezierPath();
    path->appendBezierPathWithRoundedRect(rect, xRadius, yRadius);
    return path;
}

void NSBezierPath::fillRect(NSRect rect) {
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    if (!context)
        return;
    context->performDrawing([&](cairo_t* cairo) {
        cairo_set_operator(cairo, CAIRO_OPERATOR_SOURCE);
        context->setFillSource(cairo);
        cairo_new_path(cairo);
        cairo_rectangle(cairo, rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
        cairo_fill(cairo);
    });
}

void NSBezierPath::strokeRect(NSRect rect) {
    bezierPathWithRect(rect)->stroke();
}

void NSBezierPath::moveToPoint(NSPoint point) {
    m_elements.push_back({ElementType::MoveTo, {point, {}, {}}});
}

void NSBezierPath::lineToPoint(NSPoint point) {
    m_elements.push_back({ElementType::LineTo, {point, {}, {}}});
}

void NSBezierPath::curveToPoint(NSPoint endPoint, NSPoint controlPoint1, NSPoint controlPoint2) {
    m_elements.push_back({ElementType::CurveTo, {controlPoint1, controlPoint2, endPoint}});
}

void NSBezierPath::closePath() {
    m_elements.push_back({ElementType::ClosePath, {}});
}

void NSBezierPath::appendBezierPathWithRect(NSRect rect) {
    moveToPoint(rect.origin);
    lineToPoint({NSMaxX(rect), NSMinY(rect)});
    lineToPoint({NSMaxX(rect), NSMaxY(rect)});
    lineToPoint({NSMinX(rect), NSMaxY(rect)});
    closePath();
}

void NSBezierPath::appendBezierPathWithOvalInRect(NSRect rect) {
    appendBezierPathWithRoundedRect(rect, rect.size.width / 2, rect.size.height / 2);
}

void NSBezierPath::appendBezierPathWithRoundedRect(NSRect rect, double xRadius, double yRadius) {
    double rx = std::clamp(xRadius, 0.0, std::abs(rect.size.width) / 2);
    double ry = std::clamp(yRadius, 0.0, std::abs(rect.size.height) / 2);
    if (rx == 0 || ry == 0) {
        appendBezierPathWithRect(rect);
        return;
    }
    double minX = NSMinX(rect), maxX = NSMaxX(rect), minY = NSMinY(rect), maxY = NSMaxY(rect);
    double kx = rx * kQuarterArc, ky = ry * kQuarterArc;
    // Counter-clockwise from the bottom edge, one quarter ellipse at each corner.
    moveToPoint({minX + rx, minY});
    lineToPoint({maxX - rx, minY});
    curveToPoint({maxX, minY + ry}, {maxX - rx + kx, minY}, {maxX, minY + ry - ky});
    lineToPoint({maxX, maxY - ry});
    curveToPoint({maxX - rx, maxY}, {maxX, maxY - ry + ky}, {maxX - rx + kx, maxY});
    lineToPoint({minX + rx, maxY});
    curveToPoint({minX, maxY - ry}, {minX + rx - kx, maxY}, {minX, maxY - ry + ky});
    lineToPoint({minX, minY + ry});
    curveToPoint({minX + rx, minY}, {minX, minY + ry - ky}, {minX + rx - kx, minY});
    closePath();
}

void NSBezierPath::appendBezierPath(const NSBezierPath& path) {
    m_elements.insert(m_elements.end(), path.m_elements.begin(), path.m_elements.end());
}

void NSBezierPath::transformUsingAffineTransform(const NSAffineTransform& transform) {
    for (Element& element : m_elements) {
        for (NSPoint& point : element.points)
            point = transform.transformPoint(point);
    }
}

NSRect NSBezierPath::bounds() const {
    Extent x, y;
    NSPoint current{}, subpathStart{};
    for (const Element& element : m_elements) {
        switch (element.type) {
        case ElementType::MoveTo:
            subpathStart = element.points[0];
            [[fallthrough]];
        case ElementType::LineTo:
            current = element.points[0];
            x.add(current.x);
            y.add(current.y);
            break;
        case ElementType::CurveTo: {
            const NSPoint* p = element.points;
            AddCubicExtent(x, current.x, p[0].x, p[1].x, p[2].x);
            AddCubicExtent(y, current.y, p[0].y, p[1].y, p[2].y);
            current = p[2];
            break;
        }
        case ElementType::ClosePath:
            current = subpathStart;
            break;
        }
    }
    if (x.min > x.max)
        return NSZeroRect;
    return NSMakeRect(x.min, y.min, x.max - x.min, y.max - y.min);
}

void NSBezierPath::appendToCairo(cairo_t* cairo) const {
    cairo_new_path(cairo);
    for (const Element& element : m_elements) {
        const NSPoint* p = element.points;
        switch (element.type) {
        case ElementType::MoveTo:
            cairo_move_to(cairo, p[0].x, p[0].y);
            break;
        case ElementType::LineTo:
            cairo_line_to(cairo, p[0].x, p[0].y);
            break;
        case ElementType::CurveTo:
            cairo_curve_to(cairo, p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y);
            break;
        case ElementType::ClosePath:
            cairo_close_path(cairo);
            break;
        }
    }
    cairo_set_fill_rule(cairo, m_windingRule == NSWindingRule::EvenOdd ? CAIRO_FILL_RULE_EVEN_ODD
                                                                       : CAIRO_FILL_RULE_WINDING);
}

void NSBezierPath::fill() const {
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    if (!context)
        return;
    context->performDrawing([&](cairo_t* cairo) {
        context->setFillSource(cairo);
        appendToCairo(cairo);
        cairo_fill(cairo);
    });
}

void NSBezierPath::stroke() const {
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    if (!context)
        return;
    context->performDrawing([&](cairo_t* cairo) {
        context->setStrokeSource(cairo);
        cairo_set_line_width(cairo, m_lineWidth);
        appendToCairo(cairo);
        cairo_stroke(cairo);
    });
}

void NSBezierPath::addClip() const {
    cairo_t* cairo = CurrentCairo();
    if (!cairo)
        return;
    appendToCairo(cairo);
    cairo_clip(cairo);
}
