#pragma once

#include <cstdint>

#include "platform/graphics/CGImage.h"
#include "platform/graphics/NSImage.h"

/// Bytes per row of a bitmap: whole bytes a pixel (a 1-bit pixel takes a byte), rounded
/// up to a multiple of 64 so rows start on cache lines. 0 for an empty row.
uint64_t PaddedRowBytes(uint64_t width, uint64_t bitsPerPixel);

/// The image drawn over opaque white into a new bitmap image of its size cut down to
/// whole pixels: 8-bit RGBA, premultiplied alpha last in little-endian words (bytes
/// alpha, blue, green, red), rows a multiple of 64 bytes, calibrated RGB. The caller owns
/// it. Null when the size has no whole pixel or the bitmap cannot be made.
CGImageRef CreateCGImageWithNSImage(const NSImage& image);
