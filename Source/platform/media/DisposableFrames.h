#pragma once

#include <cstdint>
#include <span>

extern "C" {
#include <libavcodec/codec_par.h>
}

/// Tells from the NAL unit headers of an H.264 or HEVC packet whether no other picture
/// refers to the one it carries, so that it can be left out of decoding entirely when
/// it is not the picture wanted. Handing such packets to the decoder with a discard
/// setting instead would stall its frame threads.
class DisposableFrames {
public:
    explicit DisposableFrames(const AVCodecParameters& parameters);

    /// Whether the packet holds only pictures that nothing refers to. False whenever
    /// the codec is not understood or the packet cannot be parsed.
    bool isDisposable(std::span<const uint8_t> packet) const;

private:
    enum class Codec { Other, H264, HEVC };
    bool isDisposableUnit(std::span<const uint8_t> unit, bool& sawPicture) const;

    Codec m_codec = Codec::Other;
    /// Bytes of the length before each NAL unit (1 to 4), or 0 for start codes.
    int m_lengthSize = 0;
};
