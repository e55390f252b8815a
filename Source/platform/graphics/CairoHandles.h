#pragma once

#include <memory>

#include <cairo.h>

/// Owning handles for Cairo objects.
struct CairoSurfaceDeleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct CairoContextDeleter {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
struct CairoPatternDeleter {
    void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
};
using CairoSurface = std::unique_ptr<cairo_surface_t, CairoSurfaceDeleter>;
using CairoContext = std::unique_ptr<cairo_t, CairoContextDeleter>;
using CairoPattern = std::unique_ptr<cairo_pattern_t, CairoPatternDeleter>;

/// Shares a surface that someone else owns: adds a reference.
inline CairoSurface CairoSurfaceRetain(cairo_surface_t* surface) {
    return CairoSurface(cairo_surface_reference(surface));
}
