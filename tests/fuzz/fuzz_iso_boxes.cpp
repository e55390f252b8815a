// The ISO box and metadata readers on hostile bytes: the box walk, the movie summary, the
// three metadata formats of 'moov', FFmpeg's tags under QuickTime keys, and the ISO 8601
// dates metadata carries. Besides the sanitizers, every box handed out must lie inside
// the bytes it was read from, at the offsets it claims.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

extern "C" {
#include <libavutil/dict.h>
}

#include "FuzzCheck.h"
#include "platform/media/IsoBoxReader.h"
#include "platform/media/MetadataReader.h"
#include "platform/media/QTMetadataItem.h"

namespace {

using Bytes = std::span<const uint8_t>;

void checkInside(const IsoBox& box, Bytes file) {
    const uint8_t* start = file.data();
    FUZZ_CHECK(box.payload.data() >= start);
    FUZZ_CHECK(box.payload.data() + box.payload.size() <= start + file.size());
    FUZZ_CHECK(box.payloadOffset == size_t(box.payload.data() - start));
    FUZZ_CHECK(box.offset < box.payloadOffset);
}

// Walks every box down to the reader's own depth limit, as readers of further boxes do.
void walk(const IsoBoxReader& reader, Bytes file, size_t depth) {
    for (const IsoBox& box : reader.boxes()) {
        checkInside(box, file);
        if (depth < IsoBoxReader::kMaxDepth) {
            walk(IsoBoxReader::childrenOf(box), file, depth + 1);
            if (box.type == FourCC("meta"))
                walk(IsoBoxReader::childrenOf(box, 4), file, depth + 1);
        }
    }
}

void readItems(const std::vector<QTMetadataList>& lists) {
    for (const auto& list : lists) {
        FUZZ_CHECK(!list.items.empty());
        for (const auto& item : list.items) {
            (void)item.key();
            (void)item.stringValue();
            (void)item.dateValue();
        }
    }
}

// The one place that knows how the readers take the file, so a change of their entry
// point (a span today) touches only this function.
void readFile(Bytes file) {
    IsoBoxReader top(file);
    walk(top, file, 0);
    if (auto box = top.findPath({"moov", "udta", "meta", "ilst"}))
        checkInside(*box, file);
    if (auto summary = ReadIsoMovieSummary(file)) {
        checkInside(summary->movieBox, file);
        FUZZ_CHECK(summary->tracks.size() == summary->trackMedia.size());
        readItems(ReadIsoMetadata(summary->movieBox));
    }
}

// The bytes as NUL-separated key and value texts, the form FFmpeg's tags take.
void readTags(Bytes bytes) {
    AVDictionary* tags = nullptr;
    std::string text(bytes.begin(), bytes.end());
    size_t position = 0;
    while (position < text.size()) {
        size_t keyEnd = text.find('\0', position);
        if (keyEnd == std::string::npos)
            break;
        size_t valueEnd = std::min(text.find('\0', keyEnd + 1), text.size());
        std::string key = text.substr(position, keyEnd - position);
        std::string value = text.substr(keyEnd + 1, valueEnd - keyEnd - 1);
        if (!key.empty())
            av_dict_set(&tags, key.c_str(), value.c_str(), 0);
        position = valueEnd + 1;
    }
    readItems(MetadataFromTags(tags));
    av_dict_free(&tags);
}

// A date read from text and written back reads again as the same date.
void readDate(Bytes bytes) {
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), std::min<size_t>(bytes.size(), 64));
    auto date = DateFromISO8601String(text);
    if (!date)
        return;
    std::string written = ISO8601StringFromDate(*date);
    auto again = DateFromISO8601String(written);
    FUZZ_CHECK(again.has_value());
    FUZZ_CHECK(ISO8601StringFromDate(*again) == written);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Bytes bytes(data, size);
    readFile(bytes);
    readTags(bytes);
    readDate(bytes);
    return 0;
}
