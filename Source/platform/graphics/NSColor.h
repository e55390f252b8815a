#pragma once

#include <memory>

#include <cairo.h>

class CGPattern;

/// A colour as device RGB components with alpha, each 0 to 1, not premultiplied. The
/// calibrated, device and sRGB spaces of the desktop all land here: lxkit draws into
/// device RGB bitmaps without colour management.
class NSColor {
public:
    static NSColor colorWithDeviceRed(double red, double green, double blue, double alpha);
    static NSColor colorWithCalibratedRed(double red, double green, double blue, double alpha) {
        return colorWithDeviceRed(red, green, blue, alpha);
    }
    static NSColor colorWithSRGBRed(double red, double green, double blue, double alpha) {
        return colorWithDeviceRed(red, green, blue, alpha);
    }
    static NSColor colorWithDeviceWhite(double white, double alpha) {
        return colorWithDeviceRed(white, white, white, alpha);
    }
    /// Grey in the generic grey space (gamma 2.2), converted to device RGB through Little
    /// CMS, since that space's 0.8 is not the display's 0.8.
    static NSColor colorWithCalibratedWhite(double white, double alpha);
    static NSColor colorWithGenericGamma22White(double white, double alpha) {
        return colorWithCalibratedWhite(white, alpha);
    }
    /// A colour that paints with a pattern's cells (`CGColorCreateWithPattern`); `alpha`
    /// scales the cells' own colours.
    static NSColor colorWithPattern(std::shared_ptr<const CGPattern> pattern, double alpha);

    static NSColor clearColor() { return colorWithDeviceRed(0, 0, 0, 0); }
    static NSColor blackColor() { return colorWithDeviceWhite(0, 1); }
    static NSColor whiteColor() { return colorWithDeviceWhite(1, 1); }
    static NSColor grayColor() { return colorWithDeviceWhite(0.5, 1); }
    static NSColor lightGrayColor() { return colorWithDeviceWhite(2.0 / 3.0, 1); }
    static NSColor darkGrayColor() { return colorWithDeviceWhite(1.0 / 3.0, 1); }
    static NSColor redColor() { return colorWithDeviceRed(1, 0, 0, 1); }
    static NSColor greenColor() { return colorWithDeviceRed(0, 1, 0, 1); }
    static NSColor blueColor() { return colorWithDeviceRed(0, 0, 1, 1); }

    double redComponent() const { return m_red; }
    double greenComponent() const { return m_green; }
    double blueComponent() const { return m_blue; }
    double alphaComponent() const { return m_alpha; }
    NSColor colorWithAlphaComponent(double alpha) const {
        return colorWithDeviceRed(m_red, m_green, m_blue, alpha);
    }

    /// Makes the colour the current context's fill and stroke colour.
    void set() const;
    void setFill() const;
    void setStroke() const;
    /// Makes the colour the Cairo context's source. A pattern colour paints its cells
    /// laid out in the context's current user space here; NSGraphicsContext lays them out
    /// in its base space instead.
    void setSourceOn(cairo_t* cairo) const;
    /// The pattern of a pattern colour, else null.
    const std::shared_ptr<const CGPattern>& pattern() const { return m_pattern; }

    friend bool operator==(const NSColor&, const NSColor&) = default;

private:
    NSColor(double red, double green, double blue, double alpha)
        : m_red(red), m_green(green), m_blue(blue), m_alpha(alpha) {}

    double m_red;
    double m_green;
    double m_blue;
    double m_alpha;
    std::shared_ptr<const CGPattern> m_pattern;
};
