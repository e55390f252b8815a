#pragma once

#include "platform/graphics/CGColor.h"
#include "platform/graphics/CGContext.h"
#include "platform/graphics/NSAffineTransform.h"

/// Components (red, green, blue, alpha in the calibrated RGB space) of the checkerboard's
/// two colours.
inline constexpr double kWhiteComponents[4] = {1.0, 1.0, 1.0, 1.0};
inline constexpr double kBlueComponents[4] = {0.91, 0.937, 0.992, 1.0};

/// A pattern colour that tiles the checkerboard every 32 units of pattern space, the
/// transform taking pattern space to the base space of the context filled. The caller
/// owns it; null when it cannot be made.
CGColorRef CreateBackgroundPatternColorWithTransform(NSAffineTransformStruct transform);

/// Draws one 32 × 32 tile: white squares bottom-left and top-right, pale blue top-left
/// and bottom-right (y up). It is the pattern's drawing callback; `info` is ignored.
void DrawCheckerboardPattern(void* info, CGContextRef context);
