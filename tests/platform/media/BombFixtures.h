#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lxkit::test {

/// A zlib stream of `count` zero bytes, written by hand as one block of fixed Huffman
/// codes (a zero, then copies of 258 bytes at distance 1): about 13 bits per 258 bytes,
/// so a picture of hundreds of megabytes fits in a few.
inline std::vector<uint8_t> ZlibZeros(uint64_t count) {
    std::vector<uint8_t> out = {0x78, 0x01};
    uint32_t bits = 0;
    int filled = 0;
    auto put = [&](uint32_t value, int length) { // LSB first
        for (int i = 0; i < length; ++i) {
            bits |= ((value >> i) & 1u) << filled;
            if (++filled == 8) {
                out.push_back(uint8_t(bits));
                bits = 0;
                filled = 0;
            }
        }
    };
    auto putCode = [&](uint32_t code, int length) { // Huffman codes go most significant bit first
        for (int i = length - 1; i >= 0; --i)
            put((code >> i) & 1u, 1);
    };
    put(1, 1); // last block
    put(1, 2); // fixed codes
    uint64_t left = count;
    if (left > 0) {
        putCode(0x30, 8); // literal 0
        --left;
    }
    for (; left >= 258; left -= 258) {
        putCode(0xC5, 8); // length 258 (code 285)
        putCode(0, 5);    // distance 1
    }
    for (; left > 0; --left)
        putCode(0x30, 8);
    putCode(0, 7); // end of block
    if (filled)
        out.push_back(uint8_t(bits));
    uint32_t adler = uint32_t((count % 65521) << 16) | 1u; // a stays 1 over zeros
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(uint8_t(adler >> shift));
    return out;
}

inline uint32_t Crc32(const uint8_t* bytes, size_t length) {
    uint32_t crc = 0xFFFFFFFFu;
    for (size_t i = 0; i < length; ++i) {
        crc ^= bytes[i];
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

/// A PNG of `width` x `height` black pixels (`bitDepth` 8 or 16; `colourType` 2 RGB, 6
/// RGBA). With `zeroBytes` below the picture's size the data ends early, as in a bomb
/// that only claims its size.
inline std::vector<uint8_t> PngBomb(uint32_t width, uint32_t height, int bitDepth, int colourType,
                                    uint64_t zeroBytes = UINT64_MAX) {
    int channels = colourType == 6 ? 4 : 3;
    uint64_t rowBytes = 1 + uint64_t(width) * uint64_t(channels) * uint64_t(bitDepth / 8);
    std::vector<uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    auto chunk = [&](const char* type, const std::vector<uint8_t>& data) {
        for (int shift = 24; shift >= 0; shift -= 8)
            png.push_back(uint8_t(data.size() >> shift));
        size_t start = png.size();
        png.insert(png.end(), type, type + 4);
        png.insert(png.end(), data.begin(), data.end());
        uint32_t crc = Crc32(png.data() + start, png.size() - start);
        for (int shift = 24; shift >= 0; shift -= 8)
            png.push_back(uint8_t(crc >> shift));
    };
    std::vector<uint8_t> header;
    for (uint32_t value : {width, height})
        for (int shift = 24; shift >= 0; shift -= 8)
            header.push_back(uint8_t(value >> shift));
    header.insert(header.end(), {uint8_t(bitDepth), uint8_t(colourType), 0, 0, 0});
    chunk("IHDR", header);
    chunk("IDAT", ZlibZeros(std::min(zeroBytes, rowBytes * height)));
    chunk("IEND", {});
    return png;
}

/// Bits of an H.264 bitstream, most significant first, with Exp-Golomb codes.
class H264Bits {
public:
    void put(uint32_t value, int length) {
        for (int i = length - 1; i >= 0; --i)
            m_bits.push_back(((value >> i) & 1u) != 0);
    }
    void ue(uint32_t value) {
        uint64_t code = uint64_t(value) + 1;
        int length = 0;
        while ((code >> length) > 1)
            ++length;
        put(0, length);
        for (int i = length; i >= 0; --i)
            m_bits.push_back(((code >> i) & 1u) != 0);
    }
    /// The NAL unit with its start code: trailing bits added, emulation prevented.
    std::vector<uint8_t> nal(int referenceIdc, int type) {
        put(1, 1);
        while (m_bits.size() % 8)
            m_bits.push_back(false);
        std::vector<uint8_t> out = {0, 0, 0, 1, uint8_t(referenceIdc << 5 | type)};
        int zeros = 0;
        for (size_t i = 0; i < m_bits.size(); i += 8) {
            uint8_t byte = 0;
            for (size_t k = 0; k < 8; ++k)
                byte = uint8_t(byte << 1 | (m_bits[i + k] ? 1 : 0));
            if (zeros >= 2 && byte <= 3) {
                out.push_back(3);
                zeros = 0;
            }
            out.push_back(byte);
            zeros = byte == 0 ? zeros + 1 : 0;
        }
        return out;
    }

private:
    std::vector<bool> m_bits;
};

/// An H.264 stream whose parameters claim `width` x `height` (multiples of 16): an
/// IDR picture with no real macroblocks, then `referenceFrames` P pictures that skip
/// every macroblock and are each kept for reference. A few hundred bytes that make a
/// decoder hold `referenceFrames` + 1 pictures of that size.
inline std::vector<uint8_t> H264Bomb(uint32_t width, uint32_t height, uint32_t referenceFrames) {
    std::vector<uint8_t> stream;
    auto append = [&](const std::vector<uint8_t>& nal) {
        stream.insert(stream.end(), nal.begin(), nal.end());
    };
    H264Bits sps; // baseline, level 5.1
    sps.put(66, 8);
    sps.put(0, 8);
    sps.put(51, 8);
    sps.ue(0);               // seq_parameter_set_id
    sps.ue(0);               // log2_max_frame_num_minus4: 4-bit frame numbers
    sps.ue(2);               // pic_order_cnt_type: output order is decoding order
    sps.ue(referenceFrames); // max_num_ref_frames
    sps.put(0, 1);           // gaps_in_frame_num_value_allowed_flag
    sps.ue(width / 16 - 1);  // pic_width_in_mbs_minus1
    sps.ue(height / 16 - 1); // pic_height_in_map_units_minus1
    sps.put(1, 1);           // frame_mbs_only_flag
    sps.put(1, 1);           // direct_8x8_inference_flag
    sps.put(0, 2);           // no cropping, no VUI
    append(sps.nal(3, 7));
    H264Bits pps;
    pps.ue(0);     // pic_parameter_set_id
    pps.ue(0);     // seq_parameter_set_id
    pps.put(0, 2); // CAVLC; no bottom-field order
    pps.ue(0);     // one slice group
    pps.ue(0);     // num_ref_idx_l0_default_active_minus1
    pps.ue(0);     // num_ref_idx_l1_default_active_minus1
    pps.put(0, 3); // no weighted prediction
    pps.ue(0);     // pic_init_qp_minus26 (se 0)
    pps.ue(0);     // pic_init_qs_minus26
    pps.ue(0);     // chroma_qp_index_offset
    pps.put(1, 1); // deblocking_filter_control_present_flag
    pps.put(0, 2); // no constrained intra, no redundant pictures
    append(pps.nal(3, 8));
    H264Bits idr;
    idr.ue(0);             // first_mb_in_slice
    idr.ue(7);             // I slice
    idr.ue(0);             // pic_parameter_set_id
    idr.put(0, 4);         // frame_num
    idr.ue(0);             // idr_pic_id
    idr.put(0, 2);         // no_output_of_prior_pics_flag, long_term_reference_flag
    idr.ue(0);             // slice_qp_delta
    idr.ue(1);             // deblocking off
    idr.put(0xFF00FF, 24); // macroblock data the decoder will find damaged
    append(idr.nal(3, 5));
    for (uint32_t frame = 1; frame <= referenceFrames; ++frame) {
        H264Bits p;
        p.ue(0);                          // first_mb_in_slice
        p.ue(5);                          // P slice
        p.ue(0);                          // pic_parameter_set_id
        p.put(frame % 16, 4);             // frame_num
        p.put(0, 2);                      // no override, no list modification
        p.put(0, 1);                      // sliding-window reference marking
        p.ue(0);                          // slice_qp_delta
        p.ue(1);                          // deblocking off
        p.ue(width / 16 * (height / 16)); // mb_skip_run: every macroblock
        append(p.nal(2, 1));
    }
    return stream;
}

} // namespace lxkit::test
