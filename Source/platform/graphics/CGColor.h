#pragma once

#include <memory>
#include <vector>

#include "platform/graphics/CGColorSpace.h"
#include "platform/graphics/CGPattern.h"
#include "platform/graphics/NSColor.h"

/// A colour in a colour space, kept with the device colour it draws as.
class CGColor {
public:
    CGColor(CGColorSpaceRef space, std::vector<double> components, NSColor color)
        : m_space(std::move(space)), m_components(std::move(components)), m_color(std::move(color)) {}
    const CGColorSpace* colorSpace() const { return m_space.get(); }
    /// The components in the colour's space, alpha last.
    const std::vector<double>& components() const { return m_components; }
    /// What the colour draws as.
    const NSColor& color() const { return m_color; }

private:
    CGColorSpaceRef m_space;
    std::vector<double> m_components;
    NSColor m_color;
};
using CGColorRef = std::shared_ptr<const CGColor>;

/// `components` holds the space's components followed by alpha; null for a null or
/// pattern space.
CGColorRef CGColorCreate(const CGColorSpace* space, const double* components);
/// A colour that paints with a coloured pattern; `components` is the single alpha.
/// Null unless `space` is a pattern space and there is a pattern.
CGColorRef CGColorCreateWithPattern(const CGColorSpace* space, CGPatternRef pattern, const double* components);
