#include "platform/graphics/PngWriter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include <libdeflate.h>

namespace {

enum PngFilter : uint8_t { FilterNone = 0, FilterSub = 1, FilterUp = 2 };

struct CompressorDeleter {
    void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
};
using Compressor = std::unique_ptr<libdeflate_compressor, CompressorDeleter>;

/// One compressor per thread and level, kept: making one allocates several hundred KB.
libdeflate_compressor* CompressorForLevel(int level) {
    thread_local Compressor compressors[13];
    if (level < 0 || level > 12)
        level = PngWriter::kDefaultCompressionLevel;
    if (!compressors[level])
        compressors[level].reset(libdeflate_alloc_compressor(level));
    return compressors[level].get();
}

uint32_t PixelAt(const uint8_t* row, int x) {
    uint32_t word;
    std::memcpy(&word, row + size_t(x) * 4, 4);
    return word;
}

bool IsOpaque(const uint8_t* pixels, PixelSize size, size_t bytesPerRow) {
    constexpr int kPixelBlock = 16;
    for (int y = 0; y < size.height; ++y) {
        const uint8_t* row = pixels + bytesPerRow * size_t(y);
        uint32_t all = 0xffffffffu;
        int x = 0;
        for (; x + kPixelBlock <= size.width; x += kPixelBlock)
            for (int k = 0; k < kPixelBlock; ++k)
                all &= PixelAt(row, x + k);
        for (; x < size.width; ++x)
            all &= PixelAt(row, x);
        if ((all >> 24) != 0xff)
            return false;
    }
    return true;
}

void ConvertOpaqueRow(const uint8_t* source, int width, uint8_t* out) {
    for (int x = 0; x < width; ++x) {
        uint32_t word = PixelAt(source, x);
        out[0] = uint8_t(word >> 16);
        out[1] = uint8_t(word >> 8);
        out[2] = uint8_t(word);
        out += 3;
    }
}

/// Takes the alpha back out with rounding. For any premultiplied value c ≤ a this gives
/// the colour whose rounded premultiplication (as Cairo and libpng readers do it) is c again.
uint8_t Unpremultiply(uint32_t channel, uint32_t alpha) {
    return uint8_t((channel * 255 + alpha / 2) / alpha);
}

void ConvertTranslucentRow(const uint8_t* source, int width, uint8_t* out) {
    for (int x = 0; x < width; ++x) {
        uint32_t word = PixelAt(source, x);
        uint32_t alpha = word >> 24;
        uint32_t red = (word >> 16) & 0xff, green = (word >> 8) & 0xff, blue = word & 0xff;
        if (alpha == 255) {
            out[0] = uint8_t(red), out[1] = uint8_t(green), out[2] = uint8_t(blue);
        } else if (alpha == 0) {
            out[0] = out[1] = out[2] = 0;
        } else {
            out[0] = Unpremultiply(std::min(red, alpha), alpha);
            out[1] = Unpremultiply(std::min(green, alpha), alpha);
            out[2] = Unpremultiply(std::min(blue, alpha), alpha);
        }
        out[3] = uint8_t(alpha);
        out += 4;
    }
}

/// Differences are summed as signed bytes (|d| for d < 128, else 256 - d). The loops run in
/// blocks of a fixed length so that the compiler turns them into vector code.
constexpr size_t kBlock = 64;

inline uint32_t SignedMagnitude(uint8_t d) {
    uint8_t negated = uint8_t(-d);
    return d < negated ? d : negated;
}

/// The usual heuristic: the filter whose output, read as signed bytes, is smallest in sum
/// tends to compress best. Only Sub and Up are weighed; both are cheap to compute, and
/// Paeth, which often wins on photographs, costs more time than it saves in bytes here.
uint64_t SubCost(const uint8_t* row, size_t length, size_t channels) {
    uint64_t cost = 0;
    for (size_t first = 0; first < channels; ++first)
        cost += SignedMagnitude(row[first]);
    size_t i = channels;
    for (; i + kBlock <= length; i += kBlock) {
        uint32_t block = 0;
        for (size_t k = 0; k < kBlock; ++k)
            block += SignedMagnitude(uint8_t(row[i + k] - row[i + k - channels]));
        cost += block;
    }
    for (; i < length; ++i)
        cost += SignedMagnitude(uint8_t(row[i] - row[i - channels]));
    return cost;
}

uint64_t UpCost(const uint8_t* row, const uint8_t* previous, size_t length) {
    uint64_t cost = 0;
    size_t i = 0;
    for (; i + kBlock <= length; i += kBlock) {
        uint32_t block = 0;
        for (size_t k = 0; k < kBlock; ++k)
            block += SignedMagnitude(uint8_t(row[i + k] - previous[i + k]));
        cost += block;
    }
    for (; i < length; ++i)
        cost += SignedMagnitude(uint8_t(row[i] - previous[i]));
    return cost;
}

void WriteSub(const uint8_t* __restrict row, size_t length, size_t channels, uint8_t* __restrict out) {
    std::memcpy(out, row, channels);
    size_t i = channels;
    for (; i + kBlock <= length; i += kBlock)
        for (size_t k = 0; k < kBlock; ++k)
            out[i + k] = uint8_t(row[i + k] - row[i + k - channels]);
    for (; i < length; ++i)
        out[i] = uint8_t(row[i] - row[i - channels]);
}

void WriteUp(const uint8_t* __restrict row, const uint8_t* __restrict previous, size_t length,
             uint8_t* __restrict out) {
    size_t i = 0;
    for (; i + kBlock <= length; i += kBlock)
        for (size_t k = 0; k < kBlock; ++k)
            out[i + k] = uint8_t(row[i + k] - previous[i + k]);
    for (; i < length; ++i)
        out[i] = uint8_t(row[i] - previous[i]);
}

void AppendBigEndian(std::vector<uint8_t>& out, uint32_t value) {
    uint8_t bytes[4] = {uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8), uint8_t(value)};
    out.insert(out.end(), bytes, bytes + 4);
}

void AppendChunk(std::vector<uint8_t>& out, const char type[4], const uint8_t* data, size_t length) {
    AppendBigEndian(out, uint32_t(length));
    size_t start = out.size();
    out.insert(out.end(), type, type + 4);
    if (length)
        out.insert(out.end(), data, data + length);
    AppendBigEndian(out, libdeflate_crc32(0, out.data() + start, length + 4));
}

} // namespace

std::optional<NSData> PngWriter::encode(const uint8_t* pixels, PixelSize size, size_t bytesPerRow,
                                        int compressionLevel) {
    if (!pixels || size.width < 1 || size.height < 1 || bytesPerRow < size_t(size.width) * 4)
        return std::nullopt;
    libdeflate_compressor* compressor = CompressorForLevel(compressionLevel);
    if (!compressor)
        return std::nullopt;

    try {
        bool opaque = IsOpaque(pixels, size, bytesPerRow);
        size_t channels = opaque ? 3 : 4;
        size_t rowLength = size_t(size.width) * channels;

        // Filtered scanlines, each led by its filter type byte.
        size_t filteredLength = (rowLength + 1) * size_t(size.height);
        auto filtered = std::make_unique_for_overwrite<uint8_t[]>(filteredLength);
        auto rows = std::make_unique_for_overwrite<uint8_t[]>(rowLength * 2);
        uint8_t* previous = rows.get();
        uint8_t* current = rows.get() + rowLength;
        for (int y = 0; y < size.height; ++y) {
            const uint8_t* source = pixels + bytesPerRow * size_t(y);
            if (opaque)
                ConvertOpaqueRow(source, size.width, current);
            else
                ConvertTranslucentRow(source, size.width, current);
            uint8_t* out = filtered.get() + (rowLength + 1) * size_t(y);
            bool useUp =
                y > 0 && UpCost(current, previous, rowLength) < SubCost(current, rowLength, channels);
            if (useUp) {
                out[0] = FilterUp;
                WriteUp(current, previous, rowLength, out + 1);
            } else {
                out[0] = FilterSub;
                WriteSub(current, rowLength, channels, out + 1);
            }
            std::swap(previous, current);
        }

        // The file is laid out around the compressed data, which goes straight into place.
        static constexpr uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
        constexpr size_t kHeaderLength = 8 + (12 + 13);
        size_t bound = libdeflate_zlib_compress_bound(compressor, filteredLength);
        std::vector<uint8_t> file;
        file.reserve(kHeaderLength + 12 + bound + 12);
        file.insert(file.end(), kSignature, kSignature + 8);
        uint8_t header[13];
        for (int i = 0; i < 4; ++i) {
            header[i] = uint8_t(uint32_t(size.width) >> (24 - 8 * i));
            header[4 + i] = uint8_t(uint32_t(size.height) >> (24 - 8 * i));
        }
        header[8] = 8;              // bits per sample
        header[9] = opaque ? 2 : 6; // colour type: RGB or RGBA
        header[10] = 0;             // deflate
        header[11] = 0;             // adaptive filtering
        header[12] = 0;             // not interlaced
        AppendChunk(file, "IHDR", header, sizeof header);

        size_t chunkStart = file.size();
        file.resize(chunkStart + 8 + bound);
        size_t compressedLength = libdeflate_zlib_compress(compressor, filtered.get(), filteredLength,
                                                           file.data() + chunkStart + 8, bound);
        if (compressedLength == 0 || compressedLength > 0x7fffffff)
            return std::nullopt;
        file.resize(chunkStart + 8 + compressedLength);
        uint8_t* chunk = file.data() + chunkStart;
        for (int i = 0; i < 4; ++i)
            chunk[i] = uint8_t(uint32_t(compressedLength) >> (24 - 8 * i));
        std::memcpy(chunk + 4, "IDAT", 4);
        AppendBigEndian(file, libdeflate_crc32(0, chunk + 4, compressedLength + 4));
        AppendChunk(file, "IEND", nullptr, 0);
        return NSData::dataWithVector(std::move(file));
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}
