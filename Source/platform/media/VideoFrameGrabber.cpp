#include "platform/media/VideoFrameGrabber.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/cpu.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include "platform/media/DecodeLimits.h"
#include "platform/media/MemoryInput.h"
#include "platform/media/ScalerBitmap.h"

namespace {

// A packet may only be skipped when a later packet is known to be presented between it
// and the target, so the decision looks this far ahead in decoding order; it covers the
// reordering depth of every common codec.
constexpr size_t kLookahead = 16;
// Without an index, decoding on is preferred to seeking for gaps shorter than this.
constexpr int64_t kUnindexedContinueMicroseconds = 3 * int64_t(AV_TIME_BASE);
constexpr int kMaxSeekAttempts = 8;
// A grab on hostile or enormous input gives up after this long rather than hang.
constexpr auto kGrabDeadline = std::chrono::seconds(60);
constexpr int kMaxConsecutiveDecodeErrors = 1000;
constexpr const char* kTooLong = "decoding took too long";

} // namespace

VideoFrameGrabber::VideoFrameGrabber(MemoryInput& input, AVStream* stream, int64_t startOffset, int rotation)
    : m_input(input), m_stream(stream), m_streamIndex(stream->index), m_startOffset(startOffset),
      m_rotation(rotation), m_disposable(*stream->codecpar) {}

VideoFrameGrabber::~VideoFrameGrabber() = default;

ErrorOr<std::unique_ptr<VideoFrameGrabber>> VideoFrameGrabber::create(MemoryInput& input, int streamIndex,
                                                                      int64_t startOffset, int rotation) {
    AVFormatContext* format = input.format();
    if (streamIndex < 0 || unsigned(streamIndex) >= format->nb_streams)
        return makeError("the movie has no such stream");
    AVStream* stream = format->streams[streamIndex];
    const AVCodec* decoder = avcodec_find_decoder(stream->codecpar->codec_id);
    if (!decoder)
        return makeError("there is no decoder for the movie's video");
    CodecContextHandle codec(avcodec_alloc_context3(decoder));
    if (!codec)
        return makeError("out of memory");
    int result = avcodec_parameters_to_context(codec.get(), stream->codecpar);
    if (result < 0)
        return makeError("the video's parameters are unusable (" + FFmpegErrorText(result) + ")");
    codec->pkt_timebase = stream->time_base;
    // As many frame threads as cores: each more thread adds a frame of delay, which a
    // grab pays after every seek.
    codec->thread_count = std::max(1, av_cpu_count());
    codec->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
    LimitDecoder(codec.get());
    result = avcodec_open2(codec.get(), decoder, nullptr);
    if (result < 0)
        return makeError("the video decoder cannot be opened (" + FFmpegErrorText(result) + ")");

    // Only this stream's packets are wanted; the demuxer drops the others unread.
    for (unsigned i = 0; i < format->nb_streams; ++i)
        format->streams[i]->discard = int(i) == streamIndex ? AVDISCARD_DEFAULT : AVDISCARD_ALL;

    std::unique_ptr<VideoFrameGrabber> grabber(new VideoFrameGrabber(input, stream, startOffset, rotation));
    grabber->m_codec = std::move(codec);
    grabber->m_shown.reset(av_frame_alloc());
    grabber->m_ahead.reset(av_frame_alloc());
    if (!grabber->m_shown || !grabber->m_ahead)
        return makeError("out of memory");
    return grabber;
}

ErrorOr<NSBitmapImageRep>
VideoFrameGrabber::frameAtTime(Time time, PixelSize size, AfterTarget after,
                               std::optional<std::chrono::steady_clock::time_point> deadline) {
    if (time.scale <= 0)
        return makeError("the time has no time scale");
    auto now = std::chrono::steady_clock::now();
    m_deadline = deadline.value_or(now + kGrabDeadline);
    if (m_deadline <= now)
        return makeError(kTooLong);
    m_input.setDeadline(m_deadline - now);
    auto frame = locate(Target{time.value, AVRational{1, time.scale}}, after);
    if (frame.isError()) {
        // After a timeout or a failed seek the decoder's place is unknown.
        m_positioned = false;
        return frame.error();
    }
    return convert(frame.value(), size);
}

bool VideoFrameGrabber::seeksBetween(Time from, Time to) const {
    if (from.scale <= 0 || to.scale <= 0)
        return true;
    Target start{from.value, AVRational{1, from.scale}};
    Target end{to.value, AVRational{1, to.scale}};
    if (av_compare_ts(end.value, end.base, start.value, start.base) < 0)
        return true;
    return !decodesOnBetween(toStreamTime(start), toStreamTime(end));
}

int64_t VideoFrameGrabber::presentationTime(const AVFrame* frame) {
    return frame->best_effort_timestamp != AV_NOPTS_VALUE ? frame->best_effort_timestamp : frame->pts;
}

int VideoFrameGrabber::compareToTarget(int64_t streamTime, Target target) const {
    // Exact comparison in both time bases, so a frame exactly on the target counts as shown.
    return av_compare_ts(streamTime - m_startOffset, m_stream->time_base, target.value, target.base);
}

int64_t VideoFrameGrabber::toStreamTime(Target target) const {
    return av_rescale_q_rnd(target.value, target.base, m_stream->time_base,
                            AVRounding(AV_ROUND_DOWN | AV_ROUND_PASS_MINMAX)) +
           m_startOffset;
}

int VideoFrameGrabber::keyframeIndexAt(int64_t streamTime) const {
    return av_index_search_timestamp(m_stream, streamTime, AVSEEK_FLAG_BACKWARD);
}

bool VideoFrameGrabber::canContinueTo(Target target) const {
    if (!m_positioned)
        return false;
    // Without a shown frame the last seek landed at the stream's start, so everything
    // still comes in order.
    if (!m_shown->buf[0])
        return true;
    int64_t shown = presentationTime(m_shown.get());
    if (shown == AV_NOPTS_VALUE || compareToTarget(shown, target) > 0)
        return false;
    return decodesOnBetween(shown, toStreamTime(target));
}

bool VideoFrameGrabber::decodesOnBetween(int64_t fromStreamTime, int64_t toStreamTime) const {
    if (avformat_index_get_entries_count(m_stream) > 0) {
        // A keyframe between the two means a seek decodes less.
        return keyframeIndexAt(toStreamTime) == keyframeIndexAt(fromStreamTime);
    }
    return av_rescale_q(toStreamTime - fromStreamTime, m_stream->time_base, AV_TIME_BASE_Q) <
           kUnindexedContinueMicroseconds;
}

void VideoFrameGrabber::resetDecoder() {
    avcodec_flush_buffers(m_codec.get());
    av_frame_unref(m_shown.get());
    av_frame_unref(m_ahead.get());
    m_packets.clear();
    m_demuxEnded = false;
    m_flushSent = false;
    m_decoderEnded = false;
    m_positioned = false;
}

bool VideoFrameGrabber::seekToStart() {
    AVFormatContext* format = m_input.format();
    int64_t start = m_stream->start_time != AV_NOPTS_VALUE ? m_stream->start_time : 0;
    if (av_seek_frame(format, m_streamIndex, start, AVSEEK_FLAG_BACKWARD) >= 0)
        return true;
    if (avformat_seek_file(format, -1, INT64_MIN, 0, 0, 0) >= 0)
        return true;
    return av_seek_frame(format, -1, 0, AVSEEK_FLAG_BYTE) >= 0;
}

ErrorOr<bool> VideoFrameGrabber::seekTo(Target target, AfterTarget after) {
    AVFormatContext* format = m_input.format();
    int64_t seekTime = toStreamTime(target);
    int64_t stepBack = std::max<int64_t>(1, av_rescale_q(AV_TIME_BASE, AV_TIME_BASE_Q, m_stream->time_base));
    bool fromStart = false;
    for (int attempt = 0;; ++attempt) {
        if (attempt >= kMaxSeekAttempts)
            fromStart = true;
        resetDecoder();
        if (!fromStart && av_seek_frame(format, m_streamIndex, seekTime, AVSEEK_FLAG_BACKWARD) < 0)
            fromStart = true;
        if (fromStart && !seekToStart())
            return makeError("the movie cannot be positioned");
        m_positioned = true;
        // The first frame tells whether the seek landed early enough.
        Decoded first = decodeNext(target, m_ahead.get(), after);
        if (first == Decoded::Interrupted)
            return makeError(kTooLong);
        if (fromStart)
            return true;
        if (first == Decoded::Frame) {
            int64_t time = presentationTime(m_ahead.get());
            if (time == AV_NOPTS_VALUE || compareToTarget(time, target) <= 0)
                return true;
            // The keyframe found is presented after the target (it is decoded before
            // its presentation time): look for the keyframe before it.
            seekTime = std::min(seekTime, time);
        }
        if (seekTime < INT64_MIN / 2 + stepBack)
            fromStart = true;
        else
            seekTime -= stepBack;
        stepBack = std::min<int64_t>(stepBack * 2, INT64_MAX / 4);
        if (m_stream->start_time != AV_NOPTS_VALUE && seekTime < m_stream->start_time)
            fromStart = true;
    }
}

ErrorOr<AVFrame*> VideoFrameGrabber::locate(Target target, AfterTarget after) {
    if (!canContinueTo(target)) {
        auto sought = seekTo(target, after);
        if (sought.isError())
            return sought.error();
    }
    for (;;) {
        if (m_ahead->buf[0]) {
            int64_t time = presentationTime(m_ahead.get());
            if (m_shown->buf[0] && time != AV_NOPTS_VALUE && compareToTarget(time, target) > 0)
                break;
            if (!m_shown->buf[0] && time != AV_NOPTS_VALUE && compareToTarget(time, target) > 0) {
                // Nothing is presented before the first frame, which stands in for it.
                return m_ahead.get();
            }
            av_frame_unref(m_shown.get());
            av_frame_move_ref(m_shown.get(), m_ahead.get());
        }
        Decoded next = decodeNext(target, m_ahead.get(), after);
        if (next == Decoded::Interrupted)
            return makeError(kTooLong);
        if (next == Decoded::End)
            break;
    }
    if (!m_shown->buf[0])
        return makeError("no frame of the video could be decoded");
    return m_shown.get();
}

bool VideoFrameGrabber::readAhead(size_t count) {
    AVFormatContext* format = m_input.format();
    while (m_packets.size() < count && !m_demuxEnded) {
        PacketHandle packet(av_packet_alloc());
        if (!packet)
            return false;
        // Any read error ends the stream: damaged data is treated as its end.
        if (av_read_frame(format, packet.get()) < 0) {
            m_demuxEnded = true;
            break;
        }
        if (packet->stream_index == m_streamIndex)
            m_packets.push_back(std::move(packet));
    }
    return true;
}

bool VideoFrameGrabber::mayDiscard(const AVPacket& packet, Target target) const {
    if (packet.pts == AV_NOPTS_VALUE || compareToTarget(packet.pts, target) >= 0)
        return false;
    // Only a frame that some other frame replaces before the target can go undecoded,
    // and then only if nothing refers to it (which the caller checks).
    return std::any_of(m_packets.begin(), m_packets.end(), [&](const PacketHandle& later) {
        return later->pts != AV_NOPTS_VALUE && later->pts > packet.pts &&
               compareToTarget(later->pts, target) <= 0;
    });
}

bool VideoFrameGrabber::nothingLeftUpTo(Target target) const {
    // Decoding times never fall and no frame is presented before it is decoded, so once a
    // packet decoded after the target has been read, nothing read later is presented at
    // or before it. Streams that break either rule never stop early.
    bool pastTarget = m_demuxEnded;
    int64_t lastDecodeTime = INT64_MIN;
    for (const PacketHandle& packet : m_packets) {
        if (packet->pts == AV_NOPTS_VALUE || packet->dts == AV_NOPTS_VALUE || packet->pts < packet->dts ||
            packet->dts < lastDecodeTime)
            return false;
        if (compareToTarget(packet->pts, target) <= 0)
            return false;
        lastDecodeTime = packet->dts;
        pastTarget = pastTarget || compareToTarget(packet->dts, target) > 0;
    }
    return pastTarget;
}

VideoFrameGrabber::Decoded VideoFrameGrabber::decodeNext(Target target, AVFrame* into, AfterTarget after) {
    int errors = 0;
    for (;;) {
        if (std::chrono::steady_clock::now() > m_deadline)
            return Decoded::Interrupted;
        if (m_decoderEnded)
            return Decoded::End;
        int result = avcodec_receive_frame(m_codec.get(), into);
        if (result == 0)
            return Decoded::Frame;
        if (result == AVERROR_EOF) {
            m_decoderEnded = true;
            return Decoded::End;
        }
        if (result != AVERROR(EAGAIN)) {
            if (++errors > kMaxConsecutiveDecodeErrors)
                return Decoded::End;
            continue;
        }
        if (m_flushSent) {
            m_decoderEnded = true;
            return Decoded::End;
        }
        readAhead(kLookahead + 1);
        if (after == AfterTarget::Drain && nothingLeftUpTo(target)) {
            // Draining gives out the frames still in the decoder without decoding any
            // that are presented later; the decoder then has to start again.
            avcodec_send_packet(m_codec.get(), nullptr);
            m_flushSent = true;
            m_positioned = false;
            continue;
        }
        if (m_packets.empty()) {
            avcodec_send_packet(m_codec.get(), nullptr);
            m_flushSent = true;
            continue;
        }
        PacketHandle packet = std::move(m_packets.front());
        m_packets.pop_front();
        if (mayDiscard(*packet, target) && m_disposable.isDisposable({packet->data, size_t(packet->size)}))
            continue;
        result = avcodec_send_packet(m_codec.get(), packet.get());
        if (result == AVERROR(EAGAIN)) {
            m_packets.push_front(std::move(packet));
        } else if (result < 0 && result != AVERROR_INVALIDDATA) {
            if (++errors > kMaxConsecutiveDecodeErrors)
                return Decoded::End;
        }
    }
}

SwsContext* VideoFrameGrabber::scalerFor(const AVFrame* frame, int width, int height) {
    int colorspace = frame->colorspace;
    ScalerKey key{frame->width, frame->height, frame->format, width, height, colorspace, frame->color_range};
    if (m_scaler && key == m_scalerKey)
        return m_scaler.get();
    m_scaler.reset(sws_getContext(frame->width, frame->height, AVPixelFormat(frame->format), width, height,
                                  AV_PIX_FMT_BGRA, SWS_BICUBIC, nullptr, nullptr, nullptr));
    if (!m_scaler)
        return nullptr;
    // The frame's own matrix and range, as a player shows it; unmarked video is BT.601.
    int matrix = colorspace;
    if (matrix == AVCOL_SPC_UNSPECIFIED || matrix == AVCOL_SPC_RGB || matrix > AVCOL_SPC_BT2020_CL)
        matrix = SWS_CS_DEFAULT;
    int* inverseTable = nullptr;
    int* table = nullptr;
    int sourceRange = 0, destinationRange = 0, brightness = 0, contrast = 0, saturation = 0;
    if (sws_getColorspaceDetails(m_scaler.get(), &inverseTable, &sourceRange, &table, &destinationRange,
                                 &brightness, &contrast, &saturation) >= 0) {
        if (frame->color_range == AVCOL_RANGE_JPEG)
            sourceRange = 1;
        sws_setColorspaceDetails(m_scaler.get(), sws_getCoefficients(matrix), sourceRange, table,
                                 destinationRange, brightness, contrast, saturation);
    }
    m_scalerKey = key;
    return m_scaler.get();
}

namespace {

/// Turns one plane of `width` x `height` elements of `element` bytes each, clockwise.
void TurnPlane(const uint8_t* source, int sourceStride, uint8_t* destination, int destinationStride,
               int width, int height, int element, int rotation) {
    // Destination (x, y) comes from source (sx, sy); the destination is height x width
    // for quarter turns.
    int outWidth = rotation == 180 ? width : height;
    int outHeight = rotation == 180 ? height : width;
    for (int y = 0; y < outHeight; ++y) {
        uint8_t* row = destination + ptrdiff_t(y) * destinationStride;
        for (int x = 0; x < outWidth; ++x) {
            int sx, sy;
            if (rotation == 90) {
                sx = y;
                sy = height - 1 - x;
            } else if (rotation == 270) {
                sx = width - 1 - y;
                sy = x;
            } else {
                sx = width - 1 - x;
                sy = height - 1 - y;
            }
            const uint8_t* pixel = source + ptrdiff_t(sy) * sourceStride + ptrdiff_t(sx) * element;
            if (element == 1)
                row[x] = *pixel;
            else
                std::memcpy(row + ptrdiff_t(x) * element, pixel, size_t(element));
        }
    }
}

/// Whether a copy of a `width` x `height` picture in `format` stays within the bound
/// on intermediate pictures (16-bit formats of a picture at the pixel cap do not).
bool FitsAnIntermediate(AVPixelFormat format, int width, int height) {
    int bytes = av_image_get_buffer_size(format, width, height, 1);
    return bytes > 0 && size_t(bytes) <= kMaxIntermediateBytes;
}

} // namespace

const AVFrame* VideoFrameGrabber::turnedFrame(const AVFrame* frame) {
    // Players turn the decoded picture and then scale it. Scaling first would be
    // cheaper, but the scaler's vertical and horizontal filters differ enough to change
    // sharp detail visibly, so the planes are turned while still in their own format,
    // where that format keeps its shape under a quarter turn.
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(AVPixelFormat(frame->format));
    if (!descriptor || descriptor->log2_chroma_w != descriptor->log2_chroma_h ||
        (descriptor->flags & (AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_PAL)))
        return nullptr;
    int elementSize[4] = {0, 0, 0, 0};
    int planes = 0;
    for (int c = 0; c < descriptor->nb_components; ++c) {
        const AVComponentDescriptor& component = descriptor->comp[c];
        if (component.plane < 0 || component.plane > 3 || component.step <= 0 || component.step > 8)
            return nullptr;
        if (elementSize[component.plane] && elementSize[component.plane] != component.step)
            return nullptr;
        elementSize[component.plane] = component.step;
        planes = std::max(planes, component.plane + 1);
    }
    if (!FitsAnIntermediate(AVPixelFormat(frame->format), frame->width, frame->height))
        return nullptr;
    bool turned = m_rotation == 90 || m_rotation == 270;
    int width = turned ? frame->height : frame->width;
    int height = turned ? frame->width : frame->height;
    if (!m_turned || m_turned->width != width || m_turned->height != height ||
        m_turned->format != frame->format || av_frame_is_writable(m_turned.get()) == 0) {
        m_turned.reset(av_frame_alloc());
        if (!m_turned)
            return nullptr;
        m_turned->width = width;
        m_turned->height = height;
        m_turned->format = frame->format;
        if (av_frame_get_buffer(m_turned.get(), 0) < 0) {
            m_turned.reset();
            return nullptr;
        }
    }
    av_frame_copy_props(m_turned.get(), frame);
    bool isYUV = !(descriptor->flags & AV_PIX_FMT_FLAG_RGB) && descriptor->nb_components >= 3;
    for (int plane = 0; plane < planes; ++plane) {
        if (!elementSize[plane])
            continue;
        // Planes 1 and 2 of YUV formats carry the subsampled chroma.
        bool chroma = isYUV && (plane == 1 || plane == 2);
        int planeWidth = chroma ? AV_CEIL_RSHIFT(frame->width, descriptor->log2_chroma_w) : frame->width;
        int planeHeight = chroma ? AV_CEIL_RSHIFT(frame->height, descriptor->log2_chroma_h) : frame->height;
        TurnPlane(frame->data[plane], frame->linesize[plane], m_turned->data[plane],
                  m_turned->linesize[plane], planeWidth, planeHeight, elementSize[plane], m_rotation);
    }
    return m_turned.get();
}

const AVFrame* VideoFrameGrabber::reshapedFrame(const AVFrame* frame) {
    static const AVPixelFormat turnable[] = {
        AV_PIX_FMT_YUV444P,  AV_PIX_FMT_YUV444P10,  AV_PIX_FMT_YUV444P12,  AV_PIX_FMT_YUV444P16,
        AV_PIX_FMT_YUVA444P, AV_PIX_FMT_YUVA444P10, AV_PIX_FMT_YUVA444P16, AV_PIX_FMT_GBRP,
        AV_PIX_FMT_GBRP16,   AV_PIX_FMT_GBRAP,      AV_PIX_FMT_GBRAP16,    AV_PIX_FMT_NONE};
    auto format = AVPixelFormat(frame->format);
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    if (!descriptor)
        return nullptr;
    bool alpha = descriptor->flags & AV_PIX_FMT_FLAG_ALPHA;
    AVPixelFormat target = avcodec_find_best_pix_fmt_of_list(turnable, format, alpha, nullptr);
    if (target == AV_PIX_FMT_NONE || !FitsAnIntermediate(target, frame->width, frame->height))
        return nullptr;
    // This scaler only reshapes, colours stay as they are: the key's colour slots hold
    // the target format instead.
    ScalerKey key{frame->width, frame->height, frame->format, frame->width, frame->height, target, -1};
    if (!m_reshaper || !(key == m_reshaperKey)) {
        m_reshaper.reset(sws_getContext(frame->width, frame->height, format, frame->width, frame->height,
                                        target, SWS_BICUBIC, nullptr, nullptr, nullptr));
        m_reshaped.reset();
        if (!m_reshaper)
            return nullptr;
        m_reshaperKey = key;
    }
    if (!m_reshaped || av_frame_is_writable(m_reshaped.get()) == 0) {
        m_reshaped.reset(av_frame_alloc());
        if (!m_reshaped)
            return nullptr;
        m_reshaped->width = frame->width;
        m_reshaped->height = frame->height;
        m_reshaped->format = target;
        if (av_frame_get_buffer(m_reshaped.get(), 0) < 0) {
            m_reshaped.reset();
            return nullptr;
        }
    }
    sws_scale(m_reshaper.get(), frame->data, frame->linesize, 0, frame->height, m_reshaped->data,
              m_reshaped->linesize);
    av_frame_copy_props(m_reshaped.get(), frame);
    return m_reshaped.get();
}

ErrorOr<NSBitmapImageRep> VideoFrameGrabber::convert(const AVFrame* frame, PixelSize size) {
    if (frame->width <= 0 || frame->height <= 0)
        return makeError("the decoded frame has no pixels");
    if (!sws_isSupportedInput(AVPixelFormat(frame->format)))
        return makeError("the video's pixel format cannot be converted");
    auto bitmap = BitmapForScaler(size);
    if (!bitmap)
        return makeError("the frame bitmap cannot be made");
    uint8_t* pixels = bitmap->bitmapData();
    int stride = bitmap->bytesPerRow();

    const AVFrame* source = frame;
    bool turnAfterScaling = false;
    if (m_rotation != 0) {
        source = turnedFrame(frame);
        // Formats that change shape under a turn (4:2:2 and packed ones) are first
        // brought at their own size to one that keeps it, as a player's turn filter
        // does; only when even that fails is the picture turned after scaling.
        if (!source) {
            if (const AVFrame* reshaped = reshapedFrame(frame))
                source = turnedFrame(reshaped);
        }
        if (!source) {
            source = frame;
            turnAfterScaling = true;
        }
    }
    bool swapped = turnAfterScaling && (m_rotation == 90 || m_rotation == 270);
    int width = swapped ? size.height : size.width;
    int height = swapped ? size.width : size.height;
    SwsContext* scaler = scalerFor(source, width, height);
    if (!scaler)
        return makeError("the frame cannot be scaled");

    if (!turnAfterScaling) {
        uint8_t* planes[4] = {pixels, nullptr, nullptr, nullptr};
        int strides[4] = {stride, 0, 0, 0};
        sws_scale(scaler, source->data, source->linesize, 0, source->height, planes, strides);
    } else {
        FrameHandle scaled = ScalerFrame({width, height});
        if (!scaled)
            return makeError("out of memory");
        sws_scale(scaler, source->data, source->linesize, 0, source->height, scaled->data, scaled->linesize);
        TurnPlane(scaled->data[0], scaled->linesize[0], pixels, stride, width, height, 4, m_rotation);
    }

    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(AVPixelFormat(frame->format));
    if (descriptor && (descriptor->flags & AV_PIX_FMT_FLAG_ALPHA)) {
        // The bitmap holds premultiplied colour; swscale gives it straight.
        for (int y = 0; y < size.height; ++y) {
            auto row = reinterpret_cast<uint32_t*>(pixels + size_t(y) * size_t(stride));
            for (int x = 0; x < size.width; ++x) {
                uint32_t p = row[x];
                uint32_t a = p >> 24;
                auto mul = [a](uint32_t c) { return (c * a + 127) / 255; };
                row[x] =
                    (a << 24) | (mul((p >> 16) & 0xFF) << 16) | (mul((p >> 8) & 0xFF) << 8) | mul(p & 0xFF);
            }
        }
    }
    bitmap->markDirty();
    return std::move(*bitmap);
}
