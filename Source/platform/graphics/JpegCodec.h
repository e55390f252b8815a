#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/core/NSData.h"
#include "platform/graphics/CairoHandles.h"
#include "platform/graphics/PixelLimits.h"

/// JPEG through libjpeg-turbo's TurboJPEG interface.
class JpegCodec {
public:
    /// Encodes premultiplied ARGB32 pixels (Cairo's layout). `compressionFactor` follows the
    /// desktop's convention, 0.0 the smallest file and 1.0 the best quality; it becomes the
    /// JPEG quality factor × 100, rounded and held to 1…100 (NaN counts as 0).
    static std::optional<NSData> encode(const uint8_t* pixels, PixelSize size, size_t bytesPerRow,
                                        double compressionFactor);
    /// Decodes into a new ARGB32 image surface; nothing when the bytes are not a JPEG the
    /// library can turn into RGB, are damaged, or the picture passes the cap of PixelLimits.h.
    static CairoSurface decode(const NSData& data);
};
