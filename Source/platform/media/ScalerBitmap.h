#pragma once

#include <optional>

#include "platform/graphics/NSBitmapImageRep.h"
#include "platform/graphics/PixelLimits.h"
#include "platform/media/FFmpegHandles.h"

/// A bitmap whose pixels FFmpeg allocated, with its own row alignment and end padding,
/// so that swscale may write into it directly: the scaler stores whole vectors and goes
/// past the last pixel of a row and of the picture, which a bitmap laid out only for
/// its pixels cannot take (a 2 x 5 frame corrupted the heap). Nothing when the size is
/// over the cap of PixelLimits.h or the memory cannot be had.
std::optional<NSBitmapImageRep> BitmapForScaler(PixelSize size);

/// A BGRA frame of `size` in FFmpeg's own layout, for a conversion's intermediate
/// picture; null when over the cap or out of memory.
FrameHandle ScalerFrame(PixelSize size);
