#pragma once

#include <cstdint>
#include <vector>

#include "platform/core/NSGeometry.h"
#include "platform/graphics/CGImage.h"

using CGWindowID = uint32_t;
using CGWindowListOption = uint32_t;
using CGWindowImageOption = uint32_t;
inline constexpr CGWindowListOption kCGWindowListOptionOnScreenOnly = 1;
inline constexpr CGWindowImageOption kCGWindowImageDefault = 0;

/// Screen capture over XCB on the display named by $DISPLAY. Rectangles are in the
/// desktop's capture coordinates: the root window's pixels, origin at the top-left, y
/// down. The picture is opaque where windows (or the desktop) are and transparent
/// elsewhere; null without a display, or for an empty rectangle.

/// Everything on screen within the rectangle. `relativeToWindow` 0 (no reference window)
/// is the only use lxkit has.
CGImageRef CGWindowListCreateImage(NSRect screenBounds, CGWindowListOption listOption, CGWindowID relativeToWindow,
                                   CGWindowImageOption imageOption);
/// Only the listed windows within the rectangle, the first in front; windows that are
/// not mapped leave the picture transparent.
CGImageRef CGWindowListCreateImageFromArray(NSRect screenBounds, const std::vector<CGWindowID>& windows,
                                            CGWindowImageOption imageOption);
