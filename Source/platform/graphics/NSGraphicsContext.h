#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <cairo.h>

#include "platform/core/NSGeometry.h"
#include "platform/graphics/CairoHandles.h"
#include "platform/graphics/NSColor.h"
#include "platform/graphics/NSShadow.h"

class NSBitmapImageRep;

enum class NSImageInterpolation : int { Default = 0, None = 1, Low = 2, High = 3, Medium = 4 };

/// A drawing destination: a Cairo context plus the parts of the graphics state that Cairo
/// does not hold itself (separate fill and stroke colours, image interpolation). Each
/// thread has its own current context and its own stack of saved ones, so drawing on one
/// thread never changes where another thread draws.
class NSGraphicsContext : public std::enable_shared_from_this<NSGraphicsContext> {
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
    /// The context a CoreGraphics-style context is (`graphicsContextWithGraphicsPort:flipped:`);
    /// null for a flipped one, which lxkit never needs.
    static std::shared_ptr<NSGraphicsContext> graphicsContextWithGraphicsPort(NSGraphicsContext* port, bool flipped);

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

    /// The shadow that drawing casts from now on (`[NSShadow set]`,
    /// `CGContextSetShadowWithColor`); nothing draws without one. Its offset and blur are
    /// in the user space in effect when the drawing happens.
    const std::optional<NSShadow>& shadow() const { return m_state.shadow; }
    void setShadow(std::optional<NSShadow> shadow) { m_state.shadow = std::move(shadow); }

    /// Intersects the clip with a mask in device space: an A8 surface as large as the
    /// destination, 255 where drawing shows fully, 0 where it is clipped away.
    void clipToDeviceMask(CairoSurface mask);
    /// Drops the shadow and the mask clip from the current state (until it is restored).
    void clearDrawingEffects() {
        m_state.shadow.reset();
        m_state.mask.reset();
    }
    /// The current mask clip, or null when only Cairo's own clip applies.
    cairo_surface_t* deviceMask() const { return m_state.mask.get(); }

    /// Sets the fill (or stroke) colour of the graphics state as the Cairo source; a
    /// pattern colour becomes a repeating surface laid out in the base space.
    void setFillSource(cairo_t* cairo) const { setColorSource(cairo, m_state.fillColor); }
    void setStrokeSource(cairo_t* cairo) const { setColorSource(cairo, m_state.strokeColor); }
    void setColorSource(cairo_t* cairo, const NSColor& color) const;

    /// Every drawing operation of the layer goes through here: `draw` puts its marks on
    /// the Cairo context it is given, and this applies what Cairo cannot do alone, the
    /// shadow of the graphics state and the mask clip. `draw` may run on a scratch
    /// context with the same transform, source state and operator.
    void performDrawing(const std::function<void(cairo_t*)>& draw);

private:
    struct State {
        NSColor fillColor = NSColor::blackColor();
        NSColor strokeColor = NSColor::blackColor();
        NSImageInterpolation interpolation = NSImageInterpolation::Default;
        std::optional<NSShadow> shadow;
        std::shared_ptr<cairo_surface_t> mask;
    };

    void drawWithShadow(const NSShadow& shadow, const std::function<void(cairo_t*)>& draw);

    explicit NSGraphicsContext(CairoContext cairo);

    CairoContext m_cairo;
    cairo_matrix_t m_baseTransform;
    State m_state;
    std::vector<State> m_savedStates;
};
