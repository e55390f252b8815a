#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace lxkit::test {

/// A few ISO base media boxes written by hand, for what the ffmpeg command line cannot
/// write: user-data atoms beside the ones it writes, and a poster time.
using Bytes = std::vector<uint8_t>;

/// Appends the low `width` bytes of `value`, most significant first.
inline void PutBigEndian(Bytes& bytes, uint64_t value, int width) {
    for (int i = width - 1; i >= 0; --i)
        bytes.push_back(uint8_t(value >> (8 * i)));
}

inline void SetU32(Bytes& bytes, size_t offset, uint32_t value) {
    for (int i = 0; i < 4; ++i)
        bytes[offset + size_t(i)] = uint8_t(value >> (24 - 8 * i));
}

inline uint32_t GetU32(const Bytes& bytes, size_t offset) {
    return uint32_t(bytes[offset]) << 24 | uint32_t(bytes[offset + 1]) << 16 |
           uint32_t(bytes[offset + 2]) << 8 | bytes[offset + 3];
}

inline Bytes Concat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const auto& part : parts)
        out.insert(out.end(), part.begin(), part.end());
    return out;
}

/// `type` is four bytes, such as "\xA9swr" for the atom ©swr.
inline Bytes Box(std::string_view type, const Bytes& payload) {
    Bytes box;
    PutBigEndian(box, 8 + payload.size(), 4);
    box.insert(box.end(), type.begin(), type.end());
    box.insert(box.end(), payload.begin(), payload.end());
    return box;
}

/// A QuickTime user-data text: size, language ("und") and the text.
inline Bytes UserDataText(std::string_view text) {
    Bytes payload{uint8_t(text.size() >> 8), uint8_t(text.size()), 0x55, 0xC4};
    payload.insert(payload.end(), text.begin(), text.end());
    return payload;
}

/// The offset of the first top-level box of that type, or npos.
inline size_t FindTopLevelBox(const Bytes& file, std::string_view type) {
    size_t position = 0;
    while (position + 8 <= file.size()) {
        uint32_t size = GetU32(file, position);
        if (std::string_view(reinterpret_cast<const char*>(&file[position + 4]), 4) == type)
            return position;
        if (size < 8)
            break;
        position += size;
    }
    return std::string::npos;
}

/// Appends `child` to the movie box, which must be the file's last box (as ffmpeg
/// writes it without faststart), so no sample offset moves.
inline bool AppendToMovieBox(Bytes& file, const Bytes& child) {
    size_t movie = FindTopLevelBox(file, "moov");
    if (movie == std::string::npos)
        return false;
    uint32_t size = GetU32(file, movie);
    if (movie + size != file.size())
        return false;
    file.insert(file.end(), child.begin(), child.end());
    SetU32(file, movie, uint32_t(size + child.size()));
    return true;
}

/// Writes the poster time into a version-0 movie header.
inline bool SetPosterTime(Bytes& file, uint32_t posterTime) {
    size_t movie = FindTopLevelBox(file, "moov");
    if (movie == std::string::npos ||
        std::string_view(reinterpret_cast<const char*>(&file[movie + 12]), 4) != "mvhd" ||
        file[movie + 16] != 0)
        return false;
    // version and flags, two dates, scale, duration, rate, volume, reserved, matrix,
    // preview time and duration come before it.
    SetU32(file, movie + 16 + 80, posterTime);
    return true;
}

} // namespace lxkit::test
