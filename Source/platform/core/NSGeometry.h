#pragma once

#include <string>
#include <string_view>

/// Points, sizes and rectangles in points: origin at the bottom-left corner, y growing
/// upwards. Nothing here normalises negative sizes.
struct NSPoint {
    double x = 0;
    double y = 0;
    friend bool operator==(const NSPoint&, const NSPoint&) = default;
};

struct NSSize {
    double width = 0;
    double height = 0;
    friend bool operator==(const NSSize&, const NSSize&) = default;
};

struct NSRect {
    NSPoint origin;
    NSSize size;
    friend bool operator==(const NSRect&, const NSRect&) = default;
};

inline constexpr NSPoint NSZeroPoint{};
inline constexpr NSSize NSZeroSize{};
inline constexpr NSRect NSZeroRect{};

inline constexpr NSPoint NSMakePoint(double x, double y) { return {x, y}; }
inline constexpr NSSize NSMakeSize(double width, double height) { return {width, height}; }
inline constexpr NSRect NSMakeRect(double x, double y, double width, double height) {
    return {{x, y}, {width, height}};
}

/// The rectangle moved by (dx, dy); its size is kept.
inline constexpr NSRect NSOffsetRect(NSRect r, double dx, double dy) {
    return {{r.origin.x + dx, r.origin.y + dy}, r.size};
}

/// Exact comparison of both components.
inline constexpr bool NSEqualSizes(NSSize a, NSSize b) { return a.width == b.width && a.height == b.height; }
inline constexpr bool NSEqualPoints(NSPoint a, NSPoint b) { return a.x == b.x && a.y == b.y; }
inline constexpr bool NSEqualRects(NSRect a, NSRect b) {
    return NSEqualPoints(a.origin, b.origin) && NSEqualSizes(a.size, b.size);
}

inline constexpr double NSMinX(NSRect r) { return r.origin.x; }
inline constexpr double NSMinY(NSRect r) { return r.origin.y; }
inline constexpr double NSMaxX(NSRect r) { return r.origin.x + r.size.width; }
inline constexpr double NSMaxY(NSRect r) { return r.origin.y + r.size.height; }
inline constexpr double NSMidX(NSRect r) { return r.origin.x + r.size.width * 0.5; }
inline constexpr double NSMidY(NSRect r) { return r.origin.y + r.size.height * 0.5; }
inline constexpr double NSWidth(NSRect r) { return r.size.width; }
inline constexpr double NSHeight(NSRect r) { return r.size.height; }

/// Reads the first two numbers of the text as width and height; a missing number reads
/// as 0, so a text without numbers gives the zero size. "{320, 240}" is the usual form.
NSSize NSSizeFromString(std::string_view text);
NSPoint NSPointFromString(std::string_view text);
/// Reads the first four numbers as origin x, origin y, width, height.
NSRect NSRectFromString(std::string_view text);

/// "{w, h}" with the shortest text that reads back to the same doubles.
std::string NSStringFromSize(NSSize size);
std::string NSStringFromPoint(NSPoint point);
std::string NSStringFromRect(NSRect rect);
