#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <cairo.h>

#include "platform/core/NSData.h"
#include "platform/core/NSGeometry.h"
#include "platform/graphics/CGImage.h"
#include "platform/graphics/NSBitmapImageRep.h"

class NSGraphicsContext;

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

/// An image with a size in points over one or more bitmaps (representations), or over a
/// drawing handler that draws it on demand. A canvas made with a point size gets one
/// bitmap of the nearest whole pixel size, and drawing maps the point size onto it
/// exactly. Drawing picks the representation whose pixels best fit the destination.
class NSImage {
public:
    /// A new, fully transparent canvas (`initWithSize:`); null when the size has no
    /// pixels or passes the cap of PixelLimits.h.
    static std::shared_ptr<NSImage> imageWithSize(NSSize size);
    /// An image over a bitmap, shown at `size` points.
    static std::shared_ptr<NSImage> imageWithBitmap(NSBitmapImageRep bitmap, NSSize size);
    /// An image over a bitmap at one point per pixel.
    static std::shared_ptr<NSImage> imageWithBitmap(NSBitmapImageRep bitmap);
    /// An image over several bitmaps of the same picture at different pixel densities,
    /// shown at `size` points; null when there are none.
    static std::shared_ptr<NSImage> imageWithRepresentations(std::vector<NSBitmapImageRep> bitmaps, NSSize size);
    /// Draws the user space (0, 0, size) of the current context when asked; the
    /// handler's result says whether it drew (`imageWithSize:flipped:drawingHandler:`).
    using DrawingHandler = std::function<bool(NSRect)>;
    static std::shared_ptr<NSImage> imageWithSize(NSSize size, bool flipped, DrawingHandler handler);

    /// A new image over the same representations (they are immutable once drawn), with
    /// the same size and template flag.
    std::shared_ptr<NSImage> copy() const;

    /// The bitmaps, in order; empty for an image drawn by a handler.
    const std::vector<NSBitmapImageRep>& representations() const { return m_handler ? kNoRepresentations : m_reps; }
    bool hasDrawingHandler() const { return bool(m_handler); }
    void addRepresentation(NSBitmapImageRep bitmap);

    /// A template image is drawn through its alpha alone by the interface code.
    bool isTemplate() const { return m_template; }
    void setTemplate(bool isTemplate) { m_template = isTemplate; }

    /// A bitmap image of the picture (`CGImageForProposedRect:context:hints:`): the
    /// largest representation, or, for a handler image, the handler drawn at the
    /// context's pixel density (one pixel a point without a context). `proposedRect`
    /// is left as it is. Null when nothing can be drawn.
    CGImageRef CGImageForProposedRect(NSRect* proposedRect, const NSGraphicsContext* context) const;
    NSSize size() const { return m_size; }
    /// Changes the size at which the image is shown and drawn into; the pixels stay.
    void setSize(NSSize size) { m_size = size; }
    /// The first representation; for a handler image, the handler drawn at one pixel a
    /// point (at least one pixel each way).
    const NSBitmapImageRep& bitmap() const;

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
    NSImage(std::vector<NSBitmapImageRep> bitmaps, NSSize size) : m_reps(std::move(bitmaps)), m_size(size) {}
    const NSBitmapImageRep& representationForDestination(NSRect rect, const NSGraphicsContext& context) const;
    std::optional<NSBitmapImageRep> renderHandler(double scale) const;
    void drawHandlerInRect(NSRect rect, NSRect fromRect, NSCompositingOperation operation, double fraction) const;

    static inline const std::vector<NSBitmapImageRep> kNoRepresentations{};
    // For a handler image: the handler's bitmap at one pixel a point, made on demand.
    mutable std::vector<NSBitmapImageRep> m_reps;
    NSSize m_size;
    DrawingHandler m_handler;
    bool m_flipped = false;
    bool m_template = false;
};
