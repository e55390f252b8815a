#pragma once

#include <cairo.h>

/// Blurs an A8 image surface in place with three box passes each way, which comes
/// within a few percent of a Gaussian of standard deviation `radius` / 2: the spread
/// the desktop gives a shadow of that blur radius. A radius under half a pixel leaves
/// the surface as it is.
void BlurAlphaSurface(cairo_surface_t* surface, double radius);
