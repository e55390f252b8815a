#include "platform/media/TrackFormat.h"

#include <cstdio>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

#include "platform/media/QTMedia.h"
#include "platform/text/Localization.h"

namespace {

struct ShortName {
    AVCodecID codec;
    const char* name;
};

constexpr ShortName kShortNames[] = {
    {AV_CODEC_ID_H264, "H.264"},
    {AV_CODEC_ID_HEVC, "HEVC"},
    {AV_CODEC_ID_H263, "H.263"},
    {AV_CODEC_ID_MPEG4, "MPEG-4 Video"},
    {AV_CODEC_ID_MPEG1VIDEO, "MPEG-1 Video"},
    {AV_CODEC_ID_MPEG2VIDEO, "MPEG-2 Video"},
    {AV_CODEC_ID_MJPEG, "Photo - JPEG"},
    {AV_CODEC_ID_PNG, "PNG"},
    {AV_CODEC_ID_GIF, "GIF"},
    {AV_CODEC_ID_TIFF, "TIFF"},
    {AV_CODEC_ID_VP8, "VP8"},
    {AV_CODEC_ID_VP9, "VP9"},
    {AV_CODEC_ID_AV1, "AV1"},
    {AV_CODEC_ID_THEORA, "Theora"},
    {AV_CODEC_ID_DVVIDEO, "DV"},
    {AV_CODEC_ID_SVQ1, "Sorenson Video"},
    {AV_CODEC_ID_SVQ3, "Sorenson Video 3"},
    {AV_CODEC_ID_CINEPAK, "Cinepak"},
    {AV_CODEC_ID_QTRLE, "Animation"},
    {AV_CODEC_ID_RAWVIDEO, "None"},
    {AV_CODEC_ID_WMV1, "Windows Media Video 7"},
    {AV_CODEC_ID_WMV2, "Windows Media Video 8"},
    {AV_CODEC_ID_WMV3, "Windows Media Video 9"},
    {AV_CODEC_ID_VC1, "VC-1"},
    {AV_CODEC_ID_FLV1, "Sorenson Spark"},
    {AV_CODEC_ID_AAC, "AAC"},
    {AV_CODEC_ID_MP3, "MPEG Layer 3"},
    {AV_CODEC_ID_MP2, "MPEG Layer 2"},
    {AV_CODEC_ID_MP1, "MPEG Layer 1"},
    {AV_CODEC_ID_AC3, "AC3"},
    {AV_CODEC_ID_EAC3, "Enhanced AC3"},
    {AV_CODEC_ID_ALAC, "Apple Lossless"},
    {AV_CODEC_ID_FLAC, "FLAC"},
    {AV_CODEC_ID_OPUS, "Opus"},
    {AV_CODEC_ID_VORBIS, "Vorbis"},
    {AV_CODEC_ID_AMR_NB, "AMR Narrowband"},
    {AV_CODEC_ID_AMR_WB, "AMR Wideband"},
    {AV_CODEC_ID_WMAV1, "Windows Media Audio 7"},
    {AV_CODEC_ID_WMAV2, "Windows Media Audio 8"},
    {AV_CODEC_ID_WMAPRO, "Windows Media Audio 9 Professional"},
    {AV_CODEC_ID_PCM_S16LE, "Linear PCM"},
    {AV_CODEC_ID_PCM_S16BE, "Linear PCM"},
    {AV_CODEC_ID_PCM_S24LE, "Linear PCM"},
    {AV_CODEC_ID_PCM_S24BE, "Linear PCM"},
    {AV_CODEC_ID_PCM_S32LE, "Linear PCM"},
    {AV_CODEC_ID_PCM_F32LE, "Linear PCM"},
    {AV_CODEC_ID_PCM_F32BE, "Linear PCM"},
    {AV_CODEC_ID_PCM_U8, "Linear PCM"},
    {AV_CODEC_ID_MOV_TEXT, "Text"},
    {AV_CODEC_ID_SUBRIP, "SubRip"},
    {AV_CODEC_ID_ASS, "ASS"},
};

/// ProRes tells its flavour by the sample entry's four-character code.
const char* ProResName(uint32_t tag) {
    switch (tag) {
    case MKTAG('a', 'p', 'c', 'o'):
        return "Apple ProRes 422 Proxy";
    case MKTAG('a', 'p', 'c', 's'):
        return "Apple ProRes 422 LT";
    case MKTAG('a', 'p', 'c', 'h'):
        return "Apple ProRes 422 HQ";
    case MKTAG('a', 'p', '4', 'h'):
        return "Apple ProRes 4444";
    case MKTAG('a', 'p', '4', 'x'):
        return "Apple ProRes 4444 XQ";
    default:
        return "Apple ProRes 422";
    }
}

const char* SpeakerLabel(AVChannel channel) {
    switch (channel) {
    case AV_CHAN_FRONT_LEFT:
        return "L";
    case AV_CHAN_FRONT_RIGHT:
        return "R";
    case AV_CHAN_FRONT_CENTER:
        return "C";
    case AV_CHAN_LOW_FREQUENCY:
        return "LFE";
    case AV_CHAN_BACK_LEFT:
    case AV_CHAN_SIDE_LEFT:
        return "Ls";
    case AV_CHAN_BACK_RIGHT:
    case AV_CHAN_SIDE_RIGHT:
        return "Rs";
    case AV_CHAN_BACK_CENTER:
        return "Cs";
    default:
        return nullptr;
    }
}

/// "Mono", "Stereo (L R)", "5.1 (L R C LFE Ls Rs)"; a bare count when the speakers are
/// not known.
std::string ChannelText(const AVChannelLayout& layout) {
    int count = layout.nb_channels;
    if (count == 1)
        return "Mono";
    std::string labels;
    bool named = layout.order == AV_CHANNEL_ORDER_NATIVE;
    for (int i = 0; named && i < count; ++i) {
        const char* label = SpeakerLabel(av_channel_layout_channel_from_index(&layout, unsigned(i)));
        if (!label)
            named = false;
        else
            labels += (i ? " " : "") + std::string(label);
    }
    if (count == 2)
        return named ? "Stereo (" + labels + ")" : "Stereo";
    char text[64];
    std::snprintf(text, sizeof text, "%d channels", count);
    if (!named)
        return text;
    char description[64];
    if (av_channel_layout_describe(&layout, description, sizeof description) < 0)
        return std::string(text) + " (" + labels + ")";
    std::string name(description);
    // "5.1(side)" is still 5.1 to a listener.
    if (auto paren = name.find('('); paren != std::string::npos)
        name.resize(paren);
    return name + " (" + labels + ")";
}

} // namespace

std::optional<std::string> CodecDisplayName(const AVCodecParameters& parameters) {
    if (parameters.codec_id == AV_CODEC_ID_NONE)
        return std::nullopt;
    if (parameters.codec_id == AV_CODEC_ID_PRORES)
        return std::string(ProResName(parameters.codec_tag));
    for (const auto& entry : kShortNames) {
        if (entry.codec == parameters.codec_id)
            return std::string(entry.name);
    }
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(parameters.codec_id);
    if (!descriptor)
        return std::nullopt;
    return std::string(descriptor->long_name ? descriptor->long_name : descriptor->name);
}

std::optional<std::string> TrackFormatSummary(const AVCodecParameters& parameters) {
    auto summary = CodecDisplayName(parameters);
    if (!summary)
        return std::nullopt;
    char text[96];
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO && parameters.width > 0 && parameters.height > 0) {
        std::snprintf(text, sizeof text, ", %d \u00D7 %d", parameters.width, parameters.height);
        *summary += text;
    } else if (parameters.codec_type == AVMEDIA_TYPE_AUDIO) {
        if (parameters.ch_layout.nb_channels > 0)
            *summary += ", " + ChannelText(parameters.ch_layout);
        if (parameters.sample_rate > 0) {
            std::snprintf(text, sizeof text, ", %.3f kHz", parameters.sample_rate / 1000.0);
            *summary += text;
        }
    }
    return summary;
}

std::optional<std::string> GenericTrackName(std::string_view mediaType) {
    if (mediaType == QTMediaTypeVideo)
        return LXLocalizedString("Video Track");
    if (mediaType == QTMediaTypeSound)
        return LXLocalizedString("Sound Track");
    if (mediaType == QTMediaTypeText)
        return LXLocalizedString("Text Track");
    if (mediaType == QTMediaTypeSubtitle)
        return LXLocalizedString("Subtitle Track");
    if (mediaType == QTMediaTypeClosedCaption)
        return LXLocalizedString("Closed Caption Track");
    if (mediaType == QTMediaTypeTimeCode)
        return LXLocalizedString("Timecode Track");
    if (mediaType == QTMediaTypeMPEG)
        return LXLocalizedString("MPEG Track");
    if (mediaType == QTMediaTypeMuxed)
        return LXLocalizedString("Muxed Track");
    if (mediaType == QTMediaTypeMusic)
        return LXLocalizedString("Music Track");
    return std::nullopt;
}
