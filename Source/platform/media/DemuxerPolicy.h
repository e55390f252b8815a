#pragma once

#include <string_view>

struct AVFormatContext;

/// The demuxers a movie may be read with: formats whose whole content lies in the one
/// file the movie is (movie, sound and still-picture containers and elementary streams),
/// by FFmpeg's short names. Manifests, playlists, scripts and session descriptions
/// (DASH, HLS, concat, SDP, RTSP, IMF, image sequences) name other files or network
/// addresses and are left out, as are device, synthesiser and tracker formats.
extern const std::string_view kSingleFileDemuxers;

/// Lets a demuxer read only the bytes it is handed through its own I/O context: the
/// demuxers above and no other, no protocol at all, and every nested open (a data
/// reference, a segment, an included file) refused. Call before avformat_open_input;
/// false when the context cannot take the lists (out of memory).
bool RestrictToTheMovieItself(AVFormatContext* format);
