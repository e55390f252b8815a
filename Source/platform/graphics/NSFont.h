#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/core/NSGeometry.h"
#include "platform/graphics/NSColor.h"

/// A font: a family that fontconfig resolves ("Helvetica" to its metric twin, the
/// system font to the desktop's sans-serif) at a size in points.
class NSFont {
public:
    static std::shared_ptr<NSFont> fontWithName(const std::string& name, double size);
    static std::shared_ptr<NSFont> systemFontOfSize(double size);

    const std::string& familyName() const { return m_family; }
    double pointSize() const { return m_size; }

    NSFont(std::string family, double size) : m_family(std::move(family)), m_size(size) {}

private:
    std::string m_family;
    double m_size;
};

/// The attributes of drawn text that lxkit uses: font and foreground colour.
struct NSStringAttributes {
    std::shared_ptr<NSFont> font;
    std::optional<NSColor> foregroundColor;
};

/// The size the text takes when drawn on one line (`sizeWithAttributes:`); a missing
/// font is the 12-point system font.
NSSize NSStringSizeWithAttributes(const std::string& text, const NSStringAttributes& attributes);
/// Draws the text with the bottom-left corner of its line box at `point` (y up), in the
/// foreground colour (black without one), through the current context.
void NSStringDrawAtPoint(const std::string& text, NSPoint point, const NSStringAttributes& attributes);
/// Draws the text at the top-left of the rectangle, clipped to it.
void NSStringDrawInRect(const std::string& text, NSRect rect, const NSStringAttributes& attributes);
