#pragma once

#include <optional>
#include <string>
#include <string_view>

struct AVCodecParameters;

/// The format summary a media player shows for a track: the codec's short name for the
/// common codecs (FFmpeg's long name otherwise), then the picture's stored size, or the
/// channels and the sample rate: "H.264, 1280 × 720"; "AAC, Stereo (L R), 44.100 kHz".
/// Nothing for a stream without a codec.
std::optional<std::string> TrackFormatSummary(const AVCodecParameters& parameters);

/// The codec's name as a summary starts with it: "H.264", "AAC", "Apple ProRes 422"…
std::optional<std::string> CodecDisplayName(const AVCodecParameters& parameters);

/// The name a track without a name of its own goes by, in the user's language: "Video
/// Track", "Sound Track"… by media type; nothing for an unknown type.
std::optional<std::string> GenericTrackName(std::string_view mediaType);
