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

} // namespace lxkit::test
