#pragma once

#include "platform/core/NSData.h"
#include "platform/graphics/CairoHandles.h"

/// Decodes PNG bytes with Cairo's reader into a new ARGB32 image surface (premultiplied);
/// nothing when they are not PNG, are damaged, or the picture passes the cap of
/// PixelLimits.h.
CairoSurface DecodePng(const NSData& data);
