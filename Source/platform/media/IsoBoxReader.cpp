#include "platform/media/IsoBoxReader.h"

#include <algorithm>
#include <new>
#include <utility>

namespace {

/// A box's header, read from the bytes that start at the box: its type, its whole size
/// (a size of 0 runs to the end, `left` bytes) and the size of the header itself.
/// Nothing when the header is cut short or the box does not fit in `left`.
struct IsoBoxHeader {
    uint32_t type;
    size_t size;
    size_t headerSize;
};

std::optional<IsoBoxHeader> ReadBoxHeader(std::span<const uint8_t> bytes, size_t left) {
    if (bytes.size() < 8)
        return std::nullopt;
    IsoCursor cursor(bytes);
    uint64_t size = *cursor.u32();
    uint32_t type = *cursor.u32();
    size_t headerSize = 8;
    if (size == 1) {
        auto large = cursor.u64();
        if (!large)
            return std::nullopt;
        size = *large;
        headerSize = 16;
    } else if (size == 0) {
        size = left;
    }
    if (type == FourCC("uuid"))
        headerSize += 16;
    if (size < headerSize || size > left)
        return std::nullopt;
    return IsoBoxHeader{type, size_t(size), headerSize};
}

} // namespace

std::optional<IsoBox> IsoBoxReader::boxAt(size_t& position) const {
    size_t left = m_bytes.size() - position;
    if (left < 8)
        return std::nullopt;
    auto header = ReadBoxHeader(m_bytes.subspan(position), left);
    if (!header)
        return std::nullopt;
    IsoBox box{header->type, m_baseOffset + position, m_baseOffset + position + header->headerSize,
               m_bytes.subspan(position + header->headerSize, header->size - header->headerSize)};
    position += header->size;
    return box;
}

std::vector<IsoBox> IsoBoxReader::boxes() const {
    std::vector<IsoBox> result;
    size_t position = 0;
    while (auto box = boxAt(position))
        result.push_back(*box);
    return result;
}

std::optional<IsoBox> IsoBoxReader::find(uint32_t type) const {
    size_t position = 0;
    while (auto box = boxAt(position)) {
        if (box->type == type)
            return box;
    }
    return std::nullopt;
}

std::vector<IsoBox> IsoBoxReader::findAll(uint32_t type) const {
    std::vector<IsoBox> result;
    size_t position = 0;
    while (auto box = boxAt(position)) {
        if (box->type == type)
            result.push_back(*box);
    }
    return result;
}

std::optional<IsoBox> IsoBoxReader::findPath(std::initializer_list<std::string_view> path) const {
    if (path.size() == 0 || path.size() > kMaxDepth)
        return std::nullopt;
    IsoBoxReader level = *this;
    std::optional<IsoBox> box;
    for (auto type : path) {
        if (box)
            level = childrenOf(*box);
        box = level.find(FourCC(type));
        if (!box)
            return std::nullopt;
    }
    return box;
}

IsoBoxReader IsoBoxReader::childrenOf(const IsoBox& box, size_t skip) {
    size_t headerSkip = std::min(skip, box.payload.size());
    return IsoBoxReader(box.payload.subspan(headerSkip), box.payloadOffset + headerSkip);
}

std::optional<uint64_t> IsoCursor::readBigEndian(size_t width) {
    if (m_failed || remaining() < width) {
        m_failed = true;
        return std::nullopt;
    }
    uint64_t value = 0;
    for (size_t i = 0; i < width; ++i)
        value = (value << 8) | m_bytes[m_position + i];
    m_position += width;
    return value;
}

std::optional<uint8_t> IsoCursor::u8() {
    auto value = readBigEndian(1);
    return value ? std::optional<uint8_t>(uint8_t(*value)) : std::nullopt;
}
std::optional<uint16_t> IsoCursor::u16() {
    auto value = readBigEndian(2);
    return value ? std::optional<uint16_t>(uint16_t(*value)) : std::nullopt;
}
std::optional<uint32_t> IsoCursor::u32() {
    auto value = readBigEndian(4);
    return value ? std::optional<uint32_t>(uint32_t(*value)) : std::nullopt;
}
std::optional<uint64_t> IsoCursor::u64() {
    return readBigEndian(8);
}

bool IsoCursor::skip(size_t count) {
    if (m_failed || remaining() < count) {
        m_failed = true;
        return false;
    }
    m_position += count;
    return true;
}

std::optional<IsoMovieHeader> ReadMovieHeader(std::span<const uint8_t> payload) {
    IsoCursor cursor(payload);
    auto version = cursor.u8();
    if (!version || *version > 1 || !cursor.skip(3))
        return std::nullopt;
    IsoMovieHeader header;
    if (*version == 1) {
        if (!cursor.skip(16))
            return std::nullopt;
        auto timeScale = cursor.u32();
        auto duration = cursor.u64();
        if (!duration)
            return std::nullopt;
        header.timeScale = *timeScale;
        header.duration = *duration;
    } else {
        if (!cursor.skip(8))
            return std::nullopt;
        auto timeScale = cursor.u32();
        auto duration = cursor.u32();
        if (!duration)
            return std::nullopt;
        header.timeScale = *timeScale;
        // All ones in a 32-bit duration means "unknown", as in fragmented files.
        header.duration = *duration == 0xFFFFFFFFu ? 0 : *duration;
    }
    // rate, volume, reserved, matrix, preview time and duration come before the poster.
    if (cursor.skip(4 + 2 + 10 + 36 + 4 + 4)) {
        if (auto poster = cursor.u32())
            header.posterTime = int32_t(*poster);
    }
    return header;
}

std::optional<IsoTrackHeader> ReadTrackHeader(std::span<const uint8_t> payload) {
    IsoCursor cursor(payload);
    auto versionAndFlags = cursor.u32();
    if (!versionAndFlags)
        return std::nullopt;
    uint8_t version = uint8_t(*versionAndFlags >> 24);
    if (version > 1 || !cursor.skip(version == 1 ? 16 : 8))
        return std::nullopt;
    auto trackID = cursor.u32();
    if (!trackID)
        return std::nullopt;
    return IsoTrackHeader{*trackID, *versionAndFlags & 0xFFFFFFu};
}

std::optional<uint32_t> ReadHandlerType(std::span<const uint8_t> payload) {
    IsoCursor cursor(payload);
    if (!cursor.skip(8))
        return std::nullopt;
    return cursor.u32();
}

namespace {

/// 'mdhd' versions 0 and 1: time scale, duration, language.
void ReadMediaHeader(std::span<const uint8_t> payload, IsoTrackMedia& media) {
    IsoCursor cursor(payload);
    auto version = cursor.u8();
    if (!version || *version > 1 || !cursor.skip(3) || !cursor.skip(*version == 1 ? 16 : 8))
        return;
    auto timeScale = cursor.u32();
    std::optional<uint64_t> duration;
    if (*version == 1)
        duration = cursor.u64();
    else if (auto shortDuration = cursor.u32())
        duration = *shortDuration;
    if (!timeScale || !duration)
        return;
    media.timeScale = *timeScale;
    // All ones means "unknown", as in fragmented files.
    bool unknown = *version == 1 ? *duration == UINT64_MAX : *duration == 0xFFFFFFFFu;
    media.duration = unknown ? 0 : *duration;
}

std::optional<uint32_t> ReadSampleCount(const IsoBoxReader& sampleTable) {
    // 'stsz' and 'stz2' both carry the count after version, flags and four bytes of sizes.
    for (auto type : {"stsz", "stz2"}) {
        if (auto box = sampleTable.find(FourCC(type))) {
            IsoCursor cursor(box->payload);
            if (cursor.skip(8))
                return cursor.u32();
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<IsoTrackMedia> ReadTrackMedia(const IsoBox& track) {
    auto children = IsoBoxReader::childrenOf(track);
    auto trackHeader = children.find(FourCC("tkhd"));
    auto parsedHeader = trackHeader ? ReadTrackHeader(trackHeader->payload) : std::nullopt;
    if (!parsedHeader)
        return std::nullopt;
    IsoTrackMedia media;
    media.trackID = parsedHeader->trackID;
    if (auto mediaBox = children.find(FourCC("mdia"))) {
        auto mediaChildren = IsoBoxReader::childrenOf(*mediaBox);
        if (auto handler = mediaChildren.find(FourCC("hdlr")))
            media.handlerType = ReadHandlerType(handler->payload).value_or(0);
        if (auto header = mediaChildren.find(FourCC("mdhd")))
            ReadMediaHeader(header->payload, media);
        if (auto sampleTable = mediaChildren.findPath({"minf", "stbl"}))
            media.sampleCount = ReadSampleCount(IsoBoxReader::childrenOf(*sampleTable));
    }
    if (auto name = children.findPath({"udta", "name"})) {
        // QuickTime stores the bare text; some writers add a terminating zero.
        std::string text(name->payload.begin(), name->payload.end());
        if (auto end = text.find('\0'); end != std::string::npos)
            text.resize(end);
        if (!text.empty())
            media.name = text;
    }
    return media;
}

namespace {

IsoMovieSummary SummaryOfMovieBox(const IsoBox& movieBox) {
    IsoMovieSummary summary;
    summary.movieBox = movieBox;
    auto movie = IsoBoxReader::childrenOf(movieBox);
    if (auto header = movie.find(FourCC("mvhd")))
        summary.header = ReadMovieHeader(header->payload);
    for (const auto& track : movie.findAll(FourCC("trak"))) {
        if (auto trackHeader = IsoBoxReader::childrenOf(track).find(FourCC("tkhd"))) {
            if (auto parsed = ReadTrackHeader(trackHeader->payload))
                summary.tracks.push_back(*parsed);
        }
        if (auto media = ReadTrackMedia(track))
            summary.trackMedia.push_back(*media);
    }
    return summary;
}

/// Box headers of a file read in place, read a window at a time so that a run of small
/// boxes costs one read, not one each.
class HeaderWindow {
public:
    explicit HeaderWindow(const NSData& file) : m_file(file) {}

    /// Up to `kLongestHeader` bytes at `offset`, fewer only at the end of the file.
    std::span<const uint8_t> at(size_t offset) {
        size_t wanted = std::min(kLongestHeader, m_file.length() - offset);
        if (offset < m_start || offset + wanted > m_start + m_filled) {
            m_start = offset;
            m_filled = m_file.readBytes(m_window.data(), m_window.size(), offset);
        }
        return std::span<const uint8_t>(m_window).subspan(offset - m_start, std::min(wanted, m_filled));
    }

    static constexpr size_t kLongestHeader = 32; ///< size, type, 64-bit size and a 'uuid' user type

private:
    const NSData& m_file;
    std::vector<uint8_t> m_window = std::vector<uint8_t>(64 * 1024);
    size_t m_start = 0;
    size_t m_filled = 0;
};

/// Where the first top-level box of `type` lies, found by the same rules as
/// IsoBoxReader::find (a box that does not fit ends the walk), reading headers only.
std::optional<std::pair<size_t, size_t>> LocateTopLevelBox(const NSData& file, uint32_t type) {
    HeaderWindow window(file);
    size_t position = 0;
    while (file.length() - position >= 8) {
        size_t left = file.length() - position;
        // A header cut short means the file shrank: it ends here.
        auto header = ReadBoxHeader(window.at(position), left);
        if (!header)
            return std::nullopt;
        if (header->type == type)
            return std::pair{position, header->size};
        position += header->size;
    }
    return std::nullopt;
}

} // namespace

std::optional<IsoMovieSummary> ReadIsoMovieSummary(std::span<const uint8_t> file) {
    auto movieBox = IsoBoxReader(file).find(FourCC("moov"));
    if (!movieBox)
        return std::nullopt;
    return SummaryOfMovieBox(*movieBox);
}

std::optional<IsoMovieSummary> ReadIsoMovieSummary(const NSData& file) {
    std::optional<std::pair<size_t, size_t>> located;
    if (file.isInMemory()) {
        if (auto box = IsoBoxReader(file.span()).find(FourCC("moov")))
            located = std::pair{box->offset, box->payloadOffset - box->offset + box->payload.size()};
    } else {
        located = LocateTopLevelBox(file, FourCC("moov"));
    }
    if (!located || located->second > IsoMovieSummary::kMaxMovieBoxSize)
        return std::nullopt;
    auto [offset, size] = *located;

    NSData movieBytes;
    if (file.isInMemory()) {
        movieBytes = file;
    } else {
        std::vector<uint8_t> bytes;
        try {
            bytes.resize(size);
        } catch (const std::bad_alloc&) {
            return std::nullopt;
        }
        if (file.readBytes(bytes.data(), size, offset) != size)
            return std::nullopt; // The file shrank under us.
        movieBytes = NSData::dataWithVector(std::move(bytes));
    }
    auto span = file.isInMemory() ? movieBytes.span().subspan(offset, size) : movieBytes.span();
    auto movieBox = IsoBoxReader(span, offset).find(FourCC("moov"));
    if (!movieBox)
        return std::nullopt;
    auto summary = SummaryOfMovieBox(*movieBox);
    summary.movieBoxBytes = std::move(movieBytes);
    return summary;
}
