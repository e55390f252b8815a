#pragma once

#include <memory>
#include <vector>

#include <cairo.h>

#include "platform/core/NSGeometry.h"

class NSAffineTransform;

enum class NSWindingRule : int { NonZero = 0, EvenOdd = 1 };

/// A path of straight and cubic curved segments in the current context's coordinates.
class NSBezierPath {
public:
    enum class ElementType { MoveTo, LineTo, CurveTo, ClosePath };
    struct Element {
        ElementType type;
        /// MoveTo and LineTo use the first point; CurveTo holds control point 1, control
        /// point 2 and the end point; ClosePath none.
        NSPoint points[3];
    };

    static std::shared_ptr<NSBezierPath> bezierPath();
    static std::shared_ptr<NSBezierPath> bezierPathWithRect(NSRect rect);
    static std::shared_ptr<NSBezierPath> bezierPathWithOvalInRect(NSRect rect);
    /// Corner radii above half the width or height are cut down to it, so a radius of
    /// half the height gives half-circle ends.
    static std::shared_ptr<NSBezierPath> bezierPathWithRoundedRect(NSRect rect, double xRadius,
                                                                   double yRadius);

    /// Fills the rectangle with the current fill colour, replacing what is there
    /// (including its alpha) rather than blending over it.
    static void fillRect(NSRect rect);
    static void strokeRect(NSRect rect);

    void moveToPoint(NSPoint point);
    void lineToPoint(NSPoint point);
    void curveToPoint(NSPoint endPoint, NSPoint controlPoint1, NSPoint controlPoint2);
    void closePath();
    void appendBezierPathWithRect(NSRect rect);
    void appendBezierPathWithOvalInRect(NSRect rect);
    void appendBezierPathWithRoundedRect(NSRect rect, double xRadius, double yRadius);
    void appendBezierPath(const NSBezierPath& path);

    /// Maps every point of the path, control points included.
    void transformUsingAffineTransform(const NSAffineTransform& transform);

    bool isEmpty() const { return m_elements.empty(); }
    const std::vector<Element>& elements() const { return m_elements; }
    /// The smallest axis-aligned rectangle holding the path's outline (for straight edges
    /// the bounding box of their end points; curves by their extremes, not by their
    /// control points). The zero rectangle for an empty path.
    NSRect bounds() const;

    double lineWidth() const { return m_lineWidth; }
    void setLineWidth(double width) { m_lineWidth = width; }
    NSWindingRule windingRule() const { return m_windingRule; }
    void setWindingRule(NSWindingRule rule) { m_windingRule = rule; }

    /// Paint the path with the current context's fill or stroke colour, blending over
    /// what is there.
    void fill() const;
    void stroke() const;
    /// Intersects the current context's clip with the inside of the path.
    void addClip() const;

    /// Puts the path into a Cairo context as its current path (replacing any path there).
    void appendToCairo(cairo_t* cairo) const;

private:
    std::vector<Element> m_elements;
    double m_lineWidth = 1.0;
    NSWindingRule m_windingRule = NSWindingRule::NonZero;
};
