#pragma once

#include <cstdint>
#include <memory>

#include "platform/core/QTTime.h"
#include "platform/graphics/NSImage.h"
#include "platform/media/QTMovie.h"

/// A movie's main tracks and its frame timing.
namespace LXMovie {

/// The first track of that media type in the movie's order, whatever its state; null
/// when there is none.
std::shared_ptr<QTTrack> mainVideoTrack(const QTMovie& movie);
std::shared_ptr<QTTrack> mainAudioTrack(const QTMovie& movie);
std::shared_ptr<QTTrack> mainMPEGTrack(const QTMovie& movie);

/// Frames per second of the first video track with a frame rate and a media of non-zero
/// length, from its sample count over its media duration, to hundredths (the hundredths
/// are multiplied by 0.01, so 10.04 comes out as 10.040000000000001); 0 when unknown.
double FPS(const QTMovie& movie);
/// Movie time-scale units per frame: the time scale over `FPS`, truncated; the whole
/// time scale when the rate is unknown.
int32_t frameLength(const QTMovie& movie);

/// The poster time when it is not zero; otherwise twenty seconds in, but no later than a
/// tenth of the way through. The twenty seconds count in the poster time's scale and the
/// tenth in the duration's, and the result carries the poster time's scale.
QTTime interestingFrameImageTime(const QTMovie& movie);
/// The still at `interestingFrameImageTime`, else the first frame, else null.
std::shared_ptr<NSImage> interestingFrameImage(QTMovie& movie);

} // namespace LXMovie
