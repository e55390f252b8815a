#include "platform/files/MovieProbe.h"

#include <memory>

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

struct FormatCloser {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};

} // namespace

bool QTMovieCanInitWithPath(const std::string& path) {
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) < 0)
        return false;
    std::unique_ptr<AVFormatContext, FormatCloser> context(opened);
    if (avformat_find_stream_info(context.get(), nullptr) < 0)
        return false;
    for (unsigned index = 0; index < context->nb_streams; ++index) {
        const AVCodecParameters* parameters = context->streams[index]->codecpar;
        const bool audiovisual =
            parameters->codec_type == AVMEDIA_TYPE_VIDEO || parameters->codec_type == AVMEDIA_TYPE_AUDIO;
        if (audiovisual && parameters->codec_id != AV_CODEC_ID_NONE)
            return true;
    }
    return false;
}
