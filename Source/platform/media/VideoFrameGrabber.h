#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <optional>

#include "platform/core/ErrorOr.h"
#include "platform/graphics/NSBitmapImageRep.h"
#include "platform/media/DisposableFrames.h"
#include "platform/media/FFmpegHandles.h"

class MemoryInput;

/// Decodes the frames of one video stream on demand and keeps its place between grabs,
/// so that a grab later in the movie continues where the last one stopped instead of
/// seeking and decoding the group of pictures again.
class VideoFrameGrabber {
public:
    /// `startOffset`, in the stream's time base, is the stream time that movie time 0
    /// stands for. `rotation` is the display rotation, clockwise, 0, 90, 180 or 270.
    static ErrorOr<std::unique_ptr<VideoFrameGrabber>> create(MemoryInput& input, int streamIndex,
                                                              int64_t startOffset, int rotation);
    ~VideoFrameGrabber();

    int streamIndex() const { return m_streamIndex; }

    /// A movie time, `value`/`scale`.
    struct Time {
        int64_t value;
        int scale;
    };
    /// What decoding does once every frame up to the target is in the decoder.
    enum class AfterTarget {
        /// Decode on until the next frame shows, so a later grab can continue from here.
        Continue,
        /// Drain the decoder instead: no frame after the target is decoded, and the next
        /// grab seeks. For when it would seek anyway.
        Drain,
    };

    /// The picture shown at `time` (the last frame presented at or before it), turned by
    /// the display rotation and scaled to exactly `size` pixels. The time must lie inside
    /// the movie; times before the first frame give the first.
    /// The grab gives up at `deadline` (by default 60 s from now).
    ErrorOr<NSBitmapImageRep> frameAtTime(Time time, PixelSize size,
                                          AfterTarget after = AfterTarget::Continue,
                                          std::optional<std::chrono::steady_clock::time_point> deadline = {});
    /// Whether a grab at `to` right after one at `from` starts again from a keyframe
    /// rather than decoding on.
    bool seeksBetween(Time from, Time to) const;

private:
    VideoFrameGrabber(MemoryInput& input, AVStream* stream, int64_t startOffset, int rotation);

    enum class Decoded { Frame, End, Interrupted };
    struct Target {
        int64_t value;
        AVRational base;
    };

    /// The shown frame.
    ErrorOr<AVFrame*> locate(Target target, AfterTarget after);
    ErrorOr<bool> seekTo(Target target, AfterTarget after);
    bool seekToStart();
    bool canContinueTo(Target target) const;
    bool decodesOnBetween(int64_t fromStreamTime, int64_t toStreamTime) const;
    Decoded decodeNext(Target target, AVFrame* into, AfterTarget after);
    bool readAhead(size_t count);
    bool nothingLeftUpTo(Target target) const;
    bool mayDiscard(const AVPacket& packet, Target target) const;
    void resetDecoder();
    int compareToTarget(int64_t streamTime, Target target) const;
    int64_t toStreamTime(Target target) const;
    int keyframeIndexAt(int64_t streamTime) const;
    static int64_t presentationTime(const AVFrame* frame);

    ErrorOr<NSBitmapImageRep> convert(const AVFrame* frame, PixelSize size);
    const AVFrame* turnedFrame(const AVFrame* frame);
    SwsContext* scalerFor(const AVFrame* frame, int width, int height);
    /// The frame at its own size in the nearest format that keeps its shape under a
    /// quarter turn (4:2:2 becomes 4:4:4), or null.
    const AVFrame* reshapedFrame(const AVFrame* frame);

    MemoryInput& m_input;
    AVStream* m_stream;
    int m_streamIndex;
    int64_t m_startOffset;
    int m_rotation;
    CodecContextHandle m_codec;
    DisposableFrames m_disposable;

    // Where decoding stands: `m_shown` is the frame the last grab answered with, `m_ahead`
    // the frame decoded after it (presented later), `m_packets` what was read but not
    // yet decoded. The decoder holds frames in between only while `m_positioned`.
    FrameHandle m_shown;
    FrameHandle m_ahead;
    std::deque<PacketHandle> m_packets;
    bool m_positioned = false;
    bool m_demuxEnded = false;
    bool m_flushSent = false;
    bool m_decoderEnded = false;
    std::chrono::steady_clock::time_point m_deadline;

    struct ScalerKey {
        int width = 0, height = 0, format = -1, outWidth = 0, outHeight = 0, colorspace = -1, range = -1;
        friend bool operator==(const ScalerKey&, const ScalerKey&) = default;
    };
    SwsContextHandle m_scaler;
    ScalerKey m_scalerKey;
    FrameHandle m_turned;
    SwsContextHandle m_reshaper;
    ScalerKey m_reshaperKey;
    FrameHandle m_reshaped;
};
