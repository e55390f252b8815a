#pragma once

#include <cmath>
#include <cstdint>
#include <optional>

#include "platform/core/NSGeometry.h"

/// Bitmaps are capped so that a request can never make the process allocate without
/// bound: no side over 16384 pixels and no more than 40 million pixels in all (a frame
/// of 7680 x 4320 fits; the bitmap of the largest allowed frame takes 160 MB). A canvas
/// or frame over the cap is not made, which callers see as "no image".
inline constexpr int64_t kMaxBitmapSide = 16384;
inline constexpr int64_t kMaxBitmapPixels = 40'000'000;

struct PixelSize {
    int width = 0;
    int height = 0;
    friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

/// The whole pixel size nearest to a size in points (one point per pixel), or nothing
/// when a side rounds to zero or less, is not finite, or the bitmap would pass the cap.
inline std::optional<PixelSize> PixelSizeForPointSize(NSSize size) {
    if (!std::isfinite(size.width) || !std::isfinite(size.height))
        return std::nullopt;
    double width = std::round(size.width);
    double height = std::round(size.height);
    if (width < 1 || height < 1 || width > kMaxBitmapSide || height > kMaxBitmapSide)
        return std::nullopt;
    if (width * height > static_cast<double>(kMaxBitmapPixels))
        return std::nullopt;
    return PixelSize{static_cast<int>(width), static_cast<int>(height)};
}
