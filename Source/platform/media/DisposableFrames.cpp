#include "platform/media/DisposableFrames.h"

extern "C" {
#include <libavcodec/codec_id.h>
}

DisposableFrames::DisposableFrames(const AVCodecParameters& parameters) {
    std::span<const uint8_t> extra(parameters.extradata, parameters.extradata ? size_t(parameters.extradata_size) : 0);
    if (parameters.codec_id == AV_CODEC_ID_H264) {
        m_codec = Codec::H264;
        // An avcC record (version 1) gives the size of the lengths; otherwise start codes.
        if (extra.size() >= 7 && extra[0] == 1)
            m_lengthSize = (extra[4] & 3) + 1;
    } else if (parameters.codec_id == AV_CODEC_ID_HEVC) {
        m_codec = Codec::HEVC;
        if (extra.size() >= 23 && extra[0] == 1)
            m_lengthSize = (extra[21] & 3) + 1;
    }
    if (m_lengthSize == 3)
        m_codec = Codec::Other; // not allowed by either format
}

bool DisposableFrames::isDisposableUnit(std::span<const uint8_t> unit, bool& sawPicture) const {
    if (unit.empty())
        return true;
    if (m_codec == Codec::H264) {
        int type = unit[0] & 0x1F;
        bool isSlice = type >= 1 && type <= 5;
        if (!isSlice)
            return true;
        sawPicture = true;
        return ((unit[0] >> 5) & 3) == 0; // nal_ref_idc
    }
    if (unit.size() < 2)
        return false;
    int type = (unit[0] >> 1) & 0x3F;
    if (type > 31)
        return true; // parameter sets, SEI and the like
    sawPicture = true;
    // TRAIL_N, TSA_N, STSA_N, RADL_N, RASL_N and the reserved non-reference types, as
    // the decoder's own non-reference discard treats them.
    return type <= 14 && type % 2 == 0;
}

bool DisposableFrames::isDisposable(std::span<const uint8_t> packet) const {
    if (m_codec == Codec::Other)
        return false;
    bool sawPicture = false;
    size_t position = 0;
    if (m_lengthSize > 0) {
        while (position < packet.size()) {
            if (packet.size() - position < size_t(m_lengthSize))
                return false;
            size_t length = 0;
            for (int i = 0; i < m_lengthSize; ++i)
                length = (length << 8) | packet[position + size_t(i)];
            position += size_t(m_lengthSize);
            if (length > packet.size() - position)
                return false;
            if (!isDisposableUnit(packet.subspan(position, length), sawPicture))
                return false;
            position += length;
        }
        return sawPicture;
    }
    // Start codes: 00 00 01 before every unit (a leading zero byte is allowed).
    auto nextStart = [&](size_t from) {
        for (size_t i = from; i + 3 <= packet.size(); ++i) {
            if (packet[i] == 0 && packet[i + 1] == 0 && packet[i + 2] == 1)
                return i;
        }
        return packet.size();
    };
    size_t start = nextStart(0);
    while (start < packet.size()) {
        size_t begin = start + 3;
        size_t end = nextStart(begin);
        size_t unitEnd = end;
        while (unitEnd > begin && packet[unitEnd - 1] == 0)
            --unitEnd;
        if (!isDisposableUnit(packet.subspan(begin, unitEnd - begin), sawPicture))
            return false;
        start = end;
    }
    return sawPicture;
}
