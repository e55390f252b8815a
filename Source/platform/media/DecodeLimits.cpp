#include "platform/media/DecodeLimits.h"

#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

void LimitDecoder(AVCodecContext* codec) {
    codec->max_pixels = kMaxDecodedPixels;
}

StreamProbeOptions::StreamProbeOptions(const AVFormatContext* format) {
    m_options = static_cast<AVDictionary**>(av_calloc(format->nb_streams, sizeof(AVDictionary*)));
    if (!m_options)
        return;
    m_count = format->nb_streams;
    std::string maxPixels = std::to_string(kMaxDecodedPixels);
    for (unsigned i = 0; i < m_count; ++i) {
        av_dict_set(&m_options[i], "max_pixels", maxPixels.c_str(), 0);
        // What FFmpeg chooses itself when given no options: probing decodes on one thread.
        av_dict_set(&m_options[i], "threads", "1", 0);
    }
}

StreamProbeOptions::~StreamProbeOptions() {
    for (unsigned i = 0; i < m_count; ++i)
        av_dict_free(&m_options[i]);
    av_freep(&m_options);
}
