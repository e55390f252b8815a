#pragma once

#include <memory>
#include <optional>

#include "platform/core/NSData.h"
#include "platform/core/NSGeometry.h"
#include "platform/graphics/NSAffineTransform.h"
#include "platform/graphics/NSImage.h"

/// Transform and encoding operations of the LXImage extension of NSImage. They draw
/// through the calling thread's current drawing destination, so a call must not
/// interleave with other drawing on the same thread.
namespace LXImage {

/// Draws the image through `transform` onto a new transparent canvas the size of the
/// transformed image's bounding box. The source is centred on the canvas in the canvas's
/// untransformed coordinates and then drawn through the transform, so the transform
/// should map the canvas centre to itself. The canvas size is that of the bounding box
/// only: a translation shifts the picture, never enlarges it. Null for a null transform
/// or when the canvas cannot be made.
std::shared_ptr<NSImage> imageByApplyingAffineTransform(const NSImage& image,
                                                        const NSAffineTransform* transform);

/// The image's pixels as PNG bytes, with no options; nothing on failure.
std::optional<NSData> PNGRepresentation(const NSImage& image);

/// JPEG bytes of the image, stretched to `size` (aspect ratio not kept) unless `size` is
/// the zero size or the image's own size; `compression` from 0.0 (smallest) to 1.0 (best).
std::optional<NSData> JPEGRepresentationWithSize(const NSImage& image, NSSize size, float compression);

/// JPEG bytes of the image at its own size.
std::optional<NSData> JPEGRepresentationWithCompression(const NSImage& image, float compression);

} // namespace LXImage
