#pragma once

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

/// Owning handles for FFmpeg objects. Internal to the media folder: public headers only
/// forward-declare the classes that hold these.
struct AVFormatContextDeleter {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct AVIOContextDeleter {
    void operator()(AVIOContext* context) const {
        // The context may have replaced the buffer it was given, so free the one it holds.
        av_freep(&context->buffer);
        avio_context_free(&context);
    }
};
struct AVCodecContextDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct AVFrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct AVPacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct SwsContextDeleter {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};

using FormatContextHandle = std::unique_ptr<AVFormatContext, AVFormatContextDeleter>;
using IOContextHandle = std::unique_ptr<AVIOContext, AVIOContextDeleter>;
using CodecContextHandle = std::unique_ptr<AVCodecContext, AVCodecContextDeleter>;
using FrameHandle = std::unique_ptr<AVFrame, AVFrameDeleter>;
using PacketHandle = std::unique_ptr<AVPacket, AVPacketDeleter>;
using SwsContextHandle = std::unique_ptr<SwsContext, SwsContextDeleter>;

/// FFmpeg's error code in words, lower-case.
std::string FFmpegErrorText(int code);
