#pragma once

#include <memory>
#include <vector>

#include <cairo.h>

#include "platform/core/NSGeometry.h"
#include "platform/graphics/CairoHandles.h"
#include "platform/graphics/NSColor.h"

class NSBitmapImageRep;

enum class NSImageInterpolation : int { Default = 0, None = 1, Low = 2, High = 3, Medium = 4 };

/// A drawing destination: a Cairo context plus the parts of the graphics state that Cairo
/// does not hold itself (separate fill and stroke colours, image interpolation). Each
/// thread has its own current context and its own stack of saved ones, so drawing on one
/// thread never changes where another thread draws.
class NSGraphicsContext {
public:
    /// A context that draws into the bitmap, with the origin at the bottom-left corner, y
    /// growing upwards, and `pointSize` mapped exactly onto the bitmap's pixels.
    static std::shared_ptr<NSGraphicsContext>
    graphicsContextWithBitmapImageRep(const NSBitmapImageRep& bitmap, NSSize pointSize);
    /// The same at one point per pixel.
    static std::shared_ptr<NSGraphicsContext>
    graphicsContextWithBitmapImageRep(const NSBitmapImageRep& bitmap);
    /// A context over a Cairo context that someone else made (`graphicsContextWithGraphicsPort:`);
    /// its transform at this moment is taken as the base space.
    static std::shared_ptr<NSGraphicsContext> graphicsContextWithCairo(cairo_t* cairo);

    /// The calling thread's current context, or null when it has none.
    static NSGraphicsContext* currentContext();
    static void setCurrentContext(std::shared_ptr<NSGraphicsContext> context);
    /// Pushes the current context, with its graphics state, on the calling thread's stack.
    static void saveGraphicsState();
    /// Pops what `saveGraphicsState` pushed: that context becomes current again with the
    /// graphics state it had. Does nothing when the stack is empty.
    static void restoreGraphicsState();

    ~NSGraphicsContext();
    NSGraphicsContext(const NSGraphicsContext&) = delete;
    NSGraphicsContext& operator=(const NSGraphicsContext&) = delete;

    cairo_t* cairo() const { return m_cairo.get(); }
    /// The transform from the context's base space (points, y up) to device pixels.
    cairo_matrix_t baseTransform() const { return m_baseTransform; }

    /// Saves and restores this context's graphics state: transform, clip, colours,
    /// interpolation and everything Cairo keeps.
    void saveState();
    void restoreState();

    NSImageInterpolation imageInterpolation() const { return m_state.interpolation; }
    void setImageInterpolation(NSImageInterpolation interpolation) { m_state.interpolation = interpolation; }
    /// The Cairo filter that image drawing uses under the current interpolation.
    cairo_filter_t imageFilter() const;

    const NSColor& fillColor() const { return m_state.fillColor; }
    const NSColor& strokeColor() const { return m_state.strokeColor; }
    void setFillColor(const NSColor& color) { m_state.fillColor = color; }
    void setStrokeColor(const NSColor& color) { m_state.strokeColor = color; }

    /// Makes sure that what was drawn has reached the destination's pixels.
    void flushGraphics();

private:
    struct State {
        NSColor fillColor = NSColor::blackColor();
        NSColor strokeColor = NSColor::blackColor();
        NSImageInterpolation interpolation = NSImageInterpolation::Default;
    };

    explicit NSGraphicsContext(CairoContext cairo);

    CairoContext m_cairo;
    cairo_matrix_t m_baseTransform;
    State m_state;
    std::vector<State> m_savedStates;
};
