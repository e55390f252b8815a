#pragma once

#include <string>

#include "platform/core/PropertyList.h"
#include "platform/media/QTMovie.h"

/// Short descriptions of a movie's tracks, as an information panel shows them.
namespace LXMovie {

/// The movie's video, MPEG, muxed, sound and music tracks, one dictionary each with
/// "type", "summary" (the format summary, else the display name), "primarySortKey" (the
/// type's place in that order) and "secondarySortKey" (the entry's number as made),
/// sorted by the two keys. Tracks without summary or name are left out.
PropertyArray AVTracks(const QTMovie& movie);

/// "H.264 • 1280 × 720 • 25 FPS": the main video track's summary ("MPEG-1" for a movie
/// with an MPEG track), the display size unless the summary already holds the width,
/// and the rate when known; "—" when there is nothing to say.
std::string mainVideoTrackSummary(const QTMovie& movie);
/// "AAC • Stereo (L R) • 44.100 kHz": the main sound track's summary ("MPEG-1" for a
/// movie with an MPEG track); "—" without one.
std::string mainAudioTrackSummary(const QTMovie& movie);

} // namespace LXMovie
