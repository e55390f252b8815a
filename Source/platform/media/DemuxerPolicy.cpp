#include "platform/media/DemuxerPolicy.h"

#include <string>

extern "C" {
#include <libavformat/avformat.h>
}

// clang-format off
const std::string_view kSingleFileDemuxers =
    // Movie containers and video elementary streams.
    "mov,matroska,avi,flv,mpegts,mpeg,mpegvideo,m4v,h261,h263,h264,hevc,vc1,av1,obu,ivf,"
    "asf,ogg,rm,dv,mxf,nut,nuv,wtv,yuv4mpegpipe,mjpeg,gif,apng,"
    // Sound.
    "mp3,aac,ac3,eac3,dts,truehd,mlp,wav,w64,aiff,caf,flac,amr,au,wv,tta,ape,mpc,mpc8,tak,dsf,loas,"
    // Still pictures as one-frame movies.
    "png_pipe,jpeg_pipe,bmp_pipe,gif_pipe,tiff_pipe,webp_pipe,jpegls_pipe,j2k_pipe,qoi_pipe,"
    "ppm_pipe,pgm_pipe,pbm_pipe,pam_pipe,psd_pipe,sgi_pipe,dpx_pipe,exr_pipe,pcx_pipe,"
    "sunrast_pipe,xwd_pipe";
// clang-format on

namespace {

int RefuseNestedOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EPERM);
}

} // namespace

bool RestrictToTheMovieItself(AVFormatContext* format) {
    av_freep(&format->format_whitelist);
    av_freep(&format->protocol_whitelist);
    format->format_whitelist = av_strdup(std::string(kSingleFileDemuxers).c_str());
    // An empty list matches no protocol: the movie comes through the caller's own I/O
    // context, which needs none.
    format->protocol_whitelist = av_strdup("");
    format->io_open = &RefuseNestedOpen;
    return format->format_whitelist && format->protocol_whitelist;
}
