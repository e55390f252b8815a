#pragma once

#include "platform/core/NSGeometry.h"

/// Placing one rectangle inside another: corners, flooring and rounding, centring,
/// clamping and pinning. All are pure arithmetic; none normalises a negative size.

NSPoint BottomLeftOfRect(NSRect rect);
NSPoint BottomRightOfRect(NSRect rect);
NSPoint TopLeftOfRect(NSRect rect);
NSPoint TopRightOfRect(NSRect rect);

NSPoint FloorPoint(NSPoint point);
/// Floors width and height themselves, not the right and top edges.
NSRect FloorRect(NSRect rect);
/// Rounds each component to an integer, ties to even.
NSRect RoundRect(NSRect rect);
NSSize RoundSize(NSSize size);
/// The value rounded to `places` decimal places (negative or fractional places allowed),
/// ties away from zero.
double RoundTo(double value, double places);

NSRect SwapWidthAndHeight(NSRect rect);

/// A rectangle of rect's size centred in inRect; rect's own origin is ignored.
NSRect CenterRect(NSRect rect, NSRect inRect);
/// As CenterRect, but with three quarters of the free height below the rectangle, so
/// that it sits above the true centre, where the eye expects the middle.
NSRect CenterWeightRect(NSRect rect, NSRect inRect);

/// The point clamped into the closed rectangle; the upper bound wins when the rectangle
/// is negative in size.
NSPoint ConstrainPoint(NSPoint point, NSRect rect);

/// Moves rect (never resizes it) to lie inside inRect as far as it can; a rect larger
/// than inRect ends flush with inRect's right and top edges.
NSRect PinRectToRect(NSRect rect, NSRect inRect);
/// Rect's size with its top-left corner on inRect's top-left corner.
NSRect PinRectToTopLeft(NSRect rect, NSRect inRect);
/// Rect's size with its top-left corner on the point.
NSRect PinRectToTopLeftPoint(NSRect rect, NSPoint point);
