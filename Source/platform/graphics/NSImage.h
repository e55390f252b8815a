#pragma once

#include <memory>
#include <optional>

#include <cairo.h>

#include "platform/core/NSData.h"
#include "platform/core/NSGeometry.h"
#include "platform/graphics/NSBitmapImageRep.h"

/// The desktop's compositing operations, with its numbering. Each maps to the Cairo
/// operator of the same Porter-Duff or blend formula; PlusDarker, which Cairo lacks, is
/// drawn as Darken.
enum class NSCompositingOperation : int {
    Clear = 0,
    Copy = 1,
    SourceOver = 2,
    SourceIn = 3,
    SourceOut = 4,
    SourceAtop = 5,
    DestinationOver = 6,
    DestinationIn = 7,
    DestinationOut = 8,
    DestinationAtop = 9,
    XOR = 10,
    PlusDarker = 11,
    PlusLighter = 13,
    Multiply = 14,
    Screen = 15,
    Overlay = 16,
    Darken = 17,
    Lighten = 18,
    ColorDodge = 19,
    ColorBurn = 20,
    SoftLight = 21,
    HardLight = 22,
    Difference = 23,
    Exclusion = 24,
    Hue = 25,
    Saturation = 26,
    Color = 27,
    Luminosity = 28,
};

/// The Cairo operator that performs the operation.
cairo_operator_t CairoOperatorForCompositingOperation(NSCompositingOperation operation);

/// An image with a size in points over one bitmap, one pixel per point: a point size
/// with fractions gets the bitmap of the nearest whole pixel size, and drawing maps the
/// point size onto it exactly.
class NSImage {
public:
    /// A new, fully transparent canvas (`initWithSize:`); null when the size has no
    /// pixels or passes the cap of PixelLimits.h.
    static std::shared_ptr<NSImage> imageWithSize(NSSize size);
    /// An image over a bitmap, shown at `size` points.
    static std::shared_ptr<NSImage> imageWithBitmap(NSBitmapImageRep bitmap, NSSize size);
    /// An image over a bitmap at one point per pixel.
    static std::shared_ptr<NSImage> imageWithBitmap(NSBitmapImageRep bitmap);

    NSSize size() const { return m_size; }
    /// Changes the size at which the image is shown and drawn into; the pixels stay.
    void setSize(NSSize size) { m_size = size; }
    const NSBitmapImageRep& bitmap() const { return m_bitmap; }

    /// Makes the image the calling thread's current drawing destination, with the
    /// origin at the bottom-left corner and y growing upwards in points; `unlockFocus`
    /// ends that and restores the destination before it. Calls must pair.
    void lockFocus();
    void unlockFocus();

    /// Draws the `fromRect` part of the image (the zero rectangle: all of it) scaled into
    /// `rect` of the current drawing destination, through its current transform, with the
    /// context's image interpolation. `fraction` is the opacity, 0 to 1. Does nothing
    /// without a current context. Drawing into a rectangle of the image's own pixel size
    /// at whole-pixel positions copies the pixels exactly.
    void drawInRect(NSRect rect, NSRect fromRect, NSCompositingOperation operation, double fraction) const;

private:
    NSImage(NSBitmapImageRep bitmap, NSSize size) : m_bitmap(std::move(bitmap)), m_size(size) {}
    NSBitmapImageRep m_bitmap;
    NSSize m_size;
};
