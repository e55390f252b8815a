#pragma once

#include "platform/core/NSGeometry.h"
#include "platform/graphics/NSColor.h"

/// A shadow that drawing casts: the drawn shape's alpha, blurred, painted in the
/// shadow's colour under the shape and displaced by the offset (y up).
class NSShadow {
public:
    NSSize shadowOffset() const { return m_offset; }
    void setShadowOffset(NSSize offset) { m_offset = offset; }
    double shadowBlurRadius() const { return m_blurRadius; }
    void setShadowBlurRadius(double radius) { m_blurRadius = radius < 0 ? 0 : radius; }
    const NSColor& shadowColor() const { return m_color; }
    void setShadowColor(const NSColor& color) { m_color = color; }

    /// Makes the shadow part of the current context's graphics state.
    void set() const;

    /// The colour of a shadow nobody gave a colour: black at one third opacity.
    static NSColor defaultShadowColor() { return NSColor::colorWithDeviceWhite(0.0, 1.0 / 3.0); }

private:
    NSSize m_offset = NSZeroSize;
    double m_blurRadius = 0;
    NSColor m_color = defaultShadowColor();
};
