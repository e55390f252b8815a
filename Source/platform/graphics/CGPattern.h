#pragma once

#include <functional>
#include <memory>

#include <cairo.h>

#include "platform/core/NSGeometry.h"
#include "platform/graphics/NSAffineTransform.h"

class NSGraphicsContext;
using CGContextRef = NSGraphicsContext*;

enum class CGPatternTiling : int {
    NoDistortion = 0,
    ConstantSpacingMinimalDistortion = 1,
    ConstantSpacing = 2,
};

/// Draws one cell of a pattern into a context whose user space is pattern space.
using CGPatternDrawPatternCallback = void (*)(void* info, CGContextRef context);
using CGPatternReleaseInfoCallback = void (*)(void* info);
struct CGPatternCallbacks {
    unsigned int version = 0;
    CGPatternDrawPatternCallback drawPattern = nullptr;
    CGPatternReleaseInfoCallback releaseInfo = nullptr;
};

/// A cell drawn by a callback and repeated every `xStep` × `yStep` units of pattern
/// space; the matrix takes pattern space to the base space of the context it fills.
/// Cells are drawn coloured (the callback sets its own colours); each tiling lays cells
/// at the exact step.
class CGPattern {
public:
    ~CGPattern();
    CGPattern(const CGPattern&) = delete;
    CGPattern& operator=(const CGPattern&) = delete;

    NSRect bounds() const { return m_bounds; }
    const NSAffineTransformStruct& matrix() const { return m_matrix; }
    double xStep() const { return m_xStep; }
    double yStep() const { return m_yStep; }
    /// Runs the drawing callback into `context`.
    void drawCell(CGContextRef context) const;

private:
    friend std::shared_ptr<CGPattern> CGPatternCreate(void*, NSRect, NSAffineTransformStruct, double, double,
                                                      CGPatternTiling, bool, const CGPatternCallbacks*);
    CGPattern() = default;
    void* m_info = nullptr;
    NSRect m_bounds{};
    NSAffineTransformStruct m_matrix{};
    double m_xStep = 0;
    double m_yStep = 0;
    CGPatternCallbacks m_callbacks{};
};
using CGPatternRef = std::shared_ptr<CGPattern>;

/// Null without a drawing callback, for steps that are not positive and finite, or for an
/// uncoloured (stencil) pattern, which lxkit does not draw.
CGPatternRef CGPatternCreate(void* info, NSRect bounds, NSAffineTransformStruct matrix, double xStep, double yStep,
                             CGPatternTiling tiling, bool isColored, const CGPatternCallbacks* callbacks);

class NSColor;

/// Makes a pattern colour the Cairo source: one cell is drawn into a surface at the
/// device's resolution and repeated, laid out by the pattern's matrix in the space that
/// `baseTransform` takes to device pixels.
void SetPatternSource(cairo_t* cairo, const NSColor& color, const cairo_matrix_t& baseTransform);
