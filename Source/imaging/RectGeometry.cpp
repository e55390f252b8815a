#include "imaging/RectGeometry.h"

#include <cmath>

NSPoint BottomLeftOfRect(NSRect rect) {
    return rect.origin;
}
NSPoint BottomRightOfRect(NSRect rect) {
    return {rect.origin.x + rect.size.width, rect.origin.y};
}
NSPoint TopLeftOfRect(NSRect rect) {
    return {rect.origin.x, rect.origin.y + rect.size.height};
}
NSPoint TopRightOfRect(NSRect rect) {
    return {rect.origin.x + rect.size.width, rect.origin.y + rect.size.height};
}

NSPoint FloorPoint(NSPoint point) {
    return {std::floor(point.x), std::floor(point.y)};
}

NSRect FloorRect(NSRect rect) {
    return NSMakeRect(std::floor(rect.origin.x), std::floor(rect.origin.y), std::floor(rect.size.width),
                      std::floor(rect.size.height));
}

// nearbyint rounds in the current rounding mode, ties-to-even by default, which is the
// rule for rectangles and sizes; RoundTo deliberately takes ties away from zero.
NSRect RoundRect(NSRect rect) {
    return NSMakeRect(std::nearbyint(rect.origin.x), std::nearbyint(rect.origin.y),
                      std::nearbyint(rect.size.width), std::nearbyint(rect.size.height));
}

NSSize RoundSize(NSSize size) {
    return {std::nearbyint(size.width), std::nearbyint(size.height)};
}

double RoundTo(double value, double places) {
    double scale = std::pow(10.0, places);
    return std::round(value * scale) / scale;
}

NSRect SwapWidthAndHeight(NSRect rect) {
    return {rect.origin, {rect.size.height, rect.size.width}};
}

NSRect CenterRect(NSRect rect, NSRect inRect) {
    NSRect placed{inRect.origin, rect.size};
    return NSOffsetRect(placed, (inRect.size.width - rect.size.width) * 0.5,
                        (inRect.size.height - rect.size.height) * 0.5);
}

NSRect CenterWeightRect(NSRect rect, NSRect inRect) {
    NSRect placed{inRect.origin, rect.size};
    return NSOffsetRect(placed, (inRect.size.width - rect.size.width) * 0.5,
                        (inRect.size.height - rect.size.height) * 0.75);
}

// Written as plain comparisons so that a NaN coordinate carries through, lower bound
// first and upper bound last, so the upper bound wins for a negative size.
NSPoint ConstrainPoint(NSPoint point, NSRect rect) {
    auto clamp = [](double value, double low, double high) {
        double raised = value < low ? low : value;
        return raised > high ? high : raised;
    };
    return {clamp(point.x, rect.origin.x, rect.origin.x + rect.size.width),
            clamp(point.y, rect.origin.y, rect.origin.y + rect.size.height)};
}

NSRect PinRectToRect(NSRect rect, NSRect inRect) {
    if (inRect.origin.x > rect.origin.x)
        rect.origin.x = inRect.origin.x;
    if (inRect.origin.y > rect.origin.y)
        rect.origin.y = inRect.origin.y;
    // The right and top edges are fixed last, so they win for a rect larger than inRect.
    if (NSMaxX(rect) > NSMaxX(inRect))
        rect = NSOffsetRect(rect, -(NSMaxX(rect) - NSMaxX(inRect)), 0);
    if (NSMaxY(rect) > NSMaxY(inRect))
        rect = NSOffsetRect(rect, 0, -(NSMaxY(rect) - NSMaxY(inRect)));
    return rect;
}

NSRect PinRectToTopLeft(NSRect rect, NSRect inRect) {
    return {{inRect.origin.x, inRect.origin.y - (rect.size.height - inRect.size.height)}, rect.size};
}

NSRect PinRectToTopLeftPoint(NSRect rect, NSPoint point) {
    return {{point.x, point.y - rect.size.height}, rect.size};
}
