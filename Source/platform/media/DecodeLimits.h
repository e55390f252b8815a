#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/graphics/PixelLimits.h"

struct AVCodecContext;
struct AVDictionary;
struct AVFormatContext;

/// Decoding is held to the cap of the bitmaps it feeds: a decoder refuses a picture of
/// more than kMaxBitmapPixels pixels before it allocates it, so a small file that
/// claims an enormous picture costs nothing.
inline constexpr int64_t kMaxDecodedPixels = kMaxBitmapPixels;

/// A picture made on the way from the decoded frame to the bitmap (a turned or reshaped
/// copy) may take this many bytes; a larger frame is scaled first and turned after,
/// which needs only the bitmap's size again.
inline constexpr size_t kMaxIntermediateBytes = 128u * 1024 * 1024;

/// Applies the caps to a decoder before avcodec_open2.
void LimitDecoder(AVCodecContext* codec);

/// The per-stream decoder options for avformat_find_stream_info, which decodes a few
/// frames of its own: the same pixel cap, one thread. Owns the dictionaries.
class StreamProbeOptions {
public:
    explicit StreamProbeOptions(const AVFormatContext* format);
    ~StreamProbeOptions();
    StreamProbeOptions(const StreamProbeOptions&) = delete;
    StreamProbeOptions& operator=(const StreamProbeOptions&) = delete;

    /// The array avformat_find_stream_info takes, one dictionary per stream.
    AVDictionary** get() { return m_options; }

private:
    AVDictionary** m_options = nullptr;
    unsigned m_count = 0;
};
