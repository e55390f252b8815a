#pragma once

#include <cstdint>

#include "platform/graphics/CGColorSpace.h"
#include "platform/graphics/CGImage.h"

/// Process-wide colour spaces, made on first use and kept until the process ends; the
/// caller does not own them. Null when the space could not be made (tried again on the
/// next call). Meant for one thread, the main thread.
const CGColorSpace* GetCalibratedRGBColorSpace();
const CGColorSpace* GetCalibratedGrayColorSpace();
const CGColorSpace* GetCalibratedCMYKColorSpace();
const CGColorSpace* GetDeviceRGBColorSpace();
const CGColorSpace* GetDeviceGrayColorSpace();

/// Bits of the kinds a caller of GetColorSpaceForImage can take besides RGB.
inline constexpr uint32_t kColorSpaceAllowCMYK = 2;
inline constexpr uint32_t kColorSpaceAllowGray = 4;

/// A colour space fit for drawing `image` into: its own when it is RGB, or CMYK or grey
/// where `kinds` allows them; the cached CMYK space for 32-bit pixels without alpha
/// when CMYK is allowed; the cached grey space for 8-bit pixels without alpha when grey
/// is allowed and the image's own space counts; else the cached RGB space. Not owned.
const CGColorSpace* GetColorSpaceForImage(const CGImage* image, bool ignoreOwnSpace, uint32_t kinds);
