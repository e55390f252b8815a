#pragma once

#include "platform/core/NSGeometry.h"

/// Fitting a size or rectangle into a box while keeping its aspect ratio. A zero
/// width or height on either side returns the input unchanged.

/// Shrinks size to fit maxSize; a size that already fits is never enlarged.
NSSize ScaleSize(NSSize size, NSSize maxSize);
/// Shrinks or grows size until one dimension equals maxSize's and the other fits.
NSSize ScaleSizeUp(NSSize size, NSSize maxSize);

/// Shrinks rect's size to fit inRect (keeping rect's origin); with center, the result
/// is centred in inRect whether or not it was scaled.
NSRect ScaleRect(NSRect rect, NSRect inRect, bool center);
/// As ScaleRect, shrinking or growing.
NSRect ScaleRectUp(NSRect rect, NSRect inRect, bool center);
/// Scales rect's size to cover inRect; with center, the result overhangs inRect equally
/// on both sides of the dimension that does not match.
NSRect ScaleRectUpFill(NSRect rect, NSRect inRect, bool center);
