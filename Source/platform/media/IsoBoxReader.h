#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/core/NSData.h"

/// A four-character box type as a big-endian number: FourCC("moov").
constexpr uint32_t FourCC(std::string_view code) {
    return code.size() == 4 ? (uint32_t(uint8_t(code[0])) << 24) | (uint32_t(uint8_t(code[1])) << 16) |
                                  (uint32_t(uint8_t(code[2])) << 8) | uint32_t(uint8_t(code[3]))
                            : 0;
}

/// One box of an ISO base media (MP4) or QuickTime file. `payload` is what follows the
/// header (size, type and, for 'uuid' boxes, the 16-byte user type); it always lies
/// inside the buffer that was read.
struct IsoBox {
    uint32_t type = 0;
    size_t offset = 0;        ///< of the box header, from the start of the outermost buffer
    size_t payloadOffset = 0; ///< of the payload, likewise
    std::span<const uint8_t> payload;
};

/// Walks the boxes of a buffer without ever reading past it. Sizes may be 32-bit,
/// 64-bit (size 1) or 0 ("to the end of the enclosing box"); a box whose size is
/// smaller than its header or larger than what is left ends the walk, since nothing
/// after it can be trusted.
class IsoBoxReader {
public:
    /// How deep `findPath` descends at most; real files nest about a dozen levels, so a
    /// deeper path only comes from hostile input.
    static constexpr size_t kMaxDepth = 16;

    explicit IsoBoxReader(std::span<const uint8_t> bytes, size_t baseOffset = 0)
        : m_bytes(bytes), m_baseOffset(baseOffset) {}

    /// The boxes one after the other, in file order.
    std::vector<IsoBox> boxes() const;
    /// The first box of that type at this level.
    std::optional<IsoBox> find(uint32_t type) const;
    /// Every box of that type at this level, in file order.
    std::vector<IsoBox> findAll(uint32_t type) const;
    /// Descends through the first box of each type in turn: findPath({"moov", "mvhd"}).
    std::optional<IsoBox> findPath(std::initializer_list<std::string_view> path) const;

    /// The children of a container box. `skip` leaves out leading payload bytes: 4 for
    /// a full box ('meta' of ISO files carries version and flags before its children).
    static IsoBoxReader childrenOf(const IsoBox& box, size_t skip = 0);

private:
    std::optional<IsoBox> boxAt(size_t& position) const;

    std::span<const uint8_t> m_bytes;
    size_t m_baseOffset;
};

/// A bounds-checked big-endian cursor over a box payload: every read either succeeds
/// or leaves the cursor failed, and a failed cursor reads nothing more.
class IsoCursor {
public:
    explicit IsoCursor(std::span<const uint8_t> bytes) : m_bytes(bytes) {}

    std::optional<uint8_t> u8();
    std::optional<uint16_t> u16();
    std::optional<uint32_t> u32();
    std::optional<uint64_t> u64();
    bool skip(size_t count);
    size_t remaining() const { return m_bytes.size() - m_position; }

private:
    std::optional<uint64_t> readBigEndian(size_t width);
    std::span<const uint8_t> m_bytes;
    size_t m_position = 0;
    bool m_failed = false;
};

/// What the movie header ('mvhd') says, in versions 0 and 1.
struct IsoMovieHeader {
    uint32_t timeScale = 0;
    uint64_t duration = 0;
    /// The poster frame's time in the time scale; absent in a truncated header.
    std::optional<int64_t> posterTime;
};

/// What a track header ('tkhd') says that the movie layer needs.
struct IsoTrackHeader {
    uint32_t trackID = 0;
    uint32_t flags = 0;
    bool isEnabled() const { return flags & 0x1; }
};

/// What a track's media boxes say: the handler type ('mdia'/'hdlr'), the media's own
/// time scale and duration ('mdhd'), the sample count of the index ('stsz' or 'stz2')
/// and the track's name ('udta'/'name', as QuickTime names tracks).
struct IsoTrackMedia {
    uint32_t trackID = 0;
    uint32_t handlerType = 0;
    uint32_t timeScale = 0;
    uint64_t duration = 0;
    std::optional<uint32_t> sampleCount;
    std::optional<std::string> name;
};

std::optional<IsoMovieHeader> ReadMovieHeader(std::span<const uint8_t> payload);
std::optional<IsoTrackHeader> ReadTrackHeader(std::span<const uint8_t> payload);
/// The media facts of one 'trak' box; nothing without a track header.
std::optional<IsoTrackMedia> ReadTrackMedia(const IsoBox& track);

/// The handler type of a 'hdlr' payload (version and flags, pre-defined, then the type).
std::optional<uint32_t> ReadHandlerType(std::span<const uint8_t> payload);

/// The movie-level facts of an ISO base media or QuickTime file: its header and its
/// tracks' headers in file order. Nothing when the bytes hold no 'moov' box.
struct IsoMovieSummary {
    /// Larger 'moov' boxes are not read: real ones hold a few MiB even for hours of movie.
    static constexpr size_t kMaxMovieBoxSize = size_t(256) << 20;

    std::optional<IsoMovieHeader> header;
    std::vector<IsoTrackHeader> tracks;
    std::vector<IsoTrackMedia> trackMedia; ///< in file order, like `tracks`
    IsoBox movieBox;                       ///< the 'moov' box, for readers of further boxes ('udta', 'meta')
    NSData movieBoxBytes;                  ///< keeps the bytes `movieBox` points into alive
};

/// The summary of a file whose bytes are all in `file`; `movieBox` points into them.
std::optional<IsoMovieSummary> ReadIsoMovieSummary(std::span<const uint8_t> file);
/// The same summary from data in any form: for a file read in place, only the box
/// headers at the top level are read until the 'moov' box (wherever it lies), then
/// that box alone, whatever the file's size.
std::optional<IsoMovieSummary> ReadIsoMovieSummary(const NSData& file);
