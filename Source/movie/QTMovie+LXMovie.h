#pragma once

#include "platform/core/NSGeometry.h"
#include "platform/media/QTMovie.h"

/// The size at which a movie's picture is shown, as the program understands it: taken
/// from the bounds of the movie's visual tracks, never from the movie's own size.
namespace LXMovie {

/// The width and the height of the widest and the tallest enabled visual track, each
/// maximised on its own (so the result may match no single track); (0, 0) without one.
NSSize size(const QTMovie& movie);
/// Gives every visual track, enabled or not, the bounds (0, 0, w, h).
void setSize(QTMovie& movie, NSSize size);
/// Sets the movie's current size one unit smaller than `size` and then back, so the
/// platform sees a change while the size ends up as it was.
void bumpSize(QTMovie& movie);

} // namespace LXMovie
