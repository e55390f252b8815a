#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/core/NSData.h"
#include "platform/graphics/PixelLimits.h"

/// lxkit's PNG writer. It encodes premultiplied ARGB32 pixels (Cairo's layout: one
/// native-endian word a pixel) as 8-bit RGB when every pixel is opaque, else as 8-bit RGBA
/// with the alpha taken back out of the colour, so that a reader that premultiplies again
/// gets exactly the same words. It is built for speed over size: it runs on every frame
/// the service sends.
class PngWriter {
public:
    /// libdeflate's compression level: 1 is its fastest; higher levels take much longer for
    /// a few percent of size on video frames.
    static constexpr int kDefaultCompressionLevel = 1;

    /// The PNG file bytes, or nothing when the size has no pixels or memory runs out.
    static std::optional<NSData> encode(const uint8_t* pixels, PixelSize size, size_t bytesPerRow,
                                        int compressionLevel = kDefaultCompressionLevel);
};
