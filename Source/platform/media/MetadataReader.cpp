#include "platform/media/MetadataReader.h"

#include <cstdio>
#include <cstring>

extern "C" {
#include <libavutil/dict.h>
}

namespace {

constexpr uint8_t kCopyrightSign = 0xA9;

/// Bytes that are not valid UTF-8 are taken as Latin-1, so a text never comes out broken.
std::string TextFromBytes(std::span<const uint8_t> bytes) {
    std::string text(bytes.begin(), bytes.end());
    size_t i = 0;
    bool valid = true;
    while (i < text.size() && valid) {
        auto c = uint8_t(text[i]);
        size_t length = c < 0x80 ? 1 : (c >> 5) == 0x6 ? 2 : (c >> 4) == 0xE ? 3 : (c >> 3) == 0x1E ? 4 : 0;
        if (length == 0 || i + length > text.size())
            valid = false;
        for (size_t k = 1; valid && k < length; ++k)
            valid = (uint8_t(text[i + k]) >> 6) == 0x2;
        i += length;
    }
    if (valid)
        return text;
    std::string latin;
    for (uint8_t c : bytes) {
        if (c < 0x80) {
            latin.push_back(char(c));
        } else {
            latin.push_back(char(0xC0 | (c >> 6)));
            latin.push_back(char(0x80 | (c & 0x3F)));
        }
    }
    return latin;
}

std::string TextFromUTF16BE(std::span<const uint8_t> bytes) {
    std::string text;
    auto append = [&](uint32_t cp) {
        if (cp < 0x80) {
            text.push_back(char(cp));
        } else if (cp < 0x800) {
            text.push_back(char(0xC0 | (cp >> 6)));
            text.push_back(char(0x80 | (cp & 0x3F)));
        } else if (cp < 0x10000) {
            text.push_back(char(0xE0 | (cp >> 12)));
            text.push_back(char(0x80 | ((cp >> 6) & 0x3F)));
            text.push_back(char(0x80 | (cp & 0x3F)));
        } else {
            text.push_back(char(0xF0 | (cp >> 18)));
            text.push_back(char(0x80 | ((cp >> 12) & 0x3F)));
            text.push_back(char(0x80 | ((cp >> 6) & 0x3F)));
            text.push_back(char(0x80 | (cp & 0x3F)));
        }
    };
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        uint32_t unit = uint32_t(bytes[i]) << 8 | bytes[i + 1];
        if (unit >= 0xD800 && unit < 0xDC00 && i + 3 < bytes.size()) {
            uint32_t low = uint32_t(bytes[i + 2]) << 8 | bytes[i + 3];
            if (low >= 0xDC00 && low < 0xE000) {
                append(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
                i += 2;
                continue;
            }
        }
        append(unit >= 0xD800 && unit < 0xE000 ? 0xFFFD : unit);
    }
    return text;
}

/// An atom name as a key: the copyright sign written as "@", other bytes as Latin-1.
std::string KeyFromAtomType(uint32_t type) {
    std::string key;
    for (int shift = 24; shift >= 0; shift -= 8) {
        auto c = uint8_t(type >> shift);
        if (c == kCopyrightSign)
            key.push_back('@');
        else
            key += TextFromBytes(std::span<const uint8_t>(&c, 1));
    }
    return key;
}

int64_t SignedBigEndian(std::span<const uint8_t> bytes) {
    uint64_t value = 0;
    for (uint8_t b : bytes)
        value = value << 8 | b;
    unsigned bits = unsigned(bytes.size()) * 8;
    if (bits > 0 && bits < 64 && (value >> (bits - 1)) & 1)
        value |= ~uint64_t(0) << bits;
    return int64_t(value);
}

/// The value of a 'data' box: its well-known type decides how the bytes read.
std::optional<QTMetadataItem::Value> ValueOfDataBox(std::span<const uint8_t> payload, bool textWhenImplicit) {
    IsoCursor cursor(payload);
    auto typeIndicator = cursor.u32();
    if (!typeIndicator || !cursor.skip(4))
        return std::nullopt;
    auto value = payload.subspan(8);
    uint32_t type = *typeIndicator & 0xFFFFFF;
    char number[64];
    switch (type) {
    case 0:
        if (textWhenImplicit)
            return TextFromBytes(value);
        return NSData::dataWithBytes(value.data(), value.size());
    case 1:
    case 4:
        return TextFromBytes(value);
    case 2:
    case 5:
        return TextFromUTF16BE(value);
    case 21:
        if (value.empty() || value.size() > 8)
            return std::nullopt;
        std::snprintf(number, sizeof number, "%lld", static_cast<long long>(SignedBigEndian(value)));
        return std::string(number);
    case 22: {
        if (value.empty() || value.size() > 8)
            return std::nullopt;
        uint64_t unsignedValue = 0;
        for (uint8_t b : value)
            unsignedValue = unsignedValue << 8 | b;
        std::snprintf(number, sizeof number, "%llu", static_cast<unsigned long long>(unsignedValue));
        return std::string(number);
    }
    case 23:
    case 24: {
        if (value.size() != (type == 23 ? 4u : 8u))
            return std::nullopt;
        uint64_t bits = uint64_t(SignedBigEndian(value));
        double real;
        if (type == 23) {
            auto narrow = uint32_t(bits);
            float single;
            std::memcpy(&single, &narrow, sizeof single);
            real = single;
        } else {
            std::memcpy(&real, &bits, sizeof real);
        }
        std::snprintf(number, sizeof number, "%g", real);
        return std::string(number);
    }
    default:
        return NSData::dataWithBytes(value.data(), value.size());
    }
}

std::optional<QTMetadataItem::Value> FirstDataValue(const IsoBox& item, bool textWhenImplicit) {
    if (auto data = IsoBoxReader::childrenOf(item).find(FourCC("data")))
        return ValueOfDataBox(data->payload, textWhenImplicit);
    return std::nullopt;
}

/// QuickTime's 'meta' is a plain container; ISO's carries version and flags first.
/// Whichever layout puts a 'hdlr' box first is the one.
IsoBoxReader MetaChildren(const IsoBox& meta) {
    auto bytes = meta.payload;
    if (bytes.size() >= 8 && std::memcmp(bytes.data() + 4, "hdlr", 4) == 0)
        return IsoBoxReader::childrenOf(meta);
    return IsoBoxReader::childrenOf(meta, 4);
}

void ReadQuickTimeMetadata(const IsoBoxReader& meta, std::vector<QTMetadataItem>& items) {
    auto keysBox = meta.find(FourCC("keys"));
    auto list = meta.find(FourCC("ilst"));
    if (!keysBox || !list)
        return;
    std::vector<std::string> keys;
    IsoCursor cursor(keysBox->payload);
    auto count = cursor.skip(4) ? cursor.u32() : std::nullopt;
    size_t position = 8;
    for (uint32_t i = 0; count && i < *count; ++i) {
        auto size = cursor.u32();
        if (!size || *size < 8 || !cursor.skip(4) || cursor.remaining() < *size - 8)
            break;
        keys.push_back(TextFromBytes(keysBox->payload.subspan(position + 8, *size - 8)));
        cursor.skip(*size - 8);
        position += *size;
    }
    for (const auto& entry : IsoBoxReader::childrenOf(*list).boxes()) {
        // Items name their key by its 1-based index in 'keys'.
        if (entry.type == 0 || entry.type > keys.size())
            continue;
        if (auto value = FirstDataValue(entry, false))
            items.emplace_back(std::string(QTMetadataFormatQuickTimeMetadata), keys[entry.type - 1], *value);
    }
}

void ReadITunesMetadata(const IsoBoxReader& meta, std::vector<QTMetadataItem>& items) {
    auto list = meta.find(FourCC("ilst"));
    if (!list)
        return;
    for (const auto& entry : IsoBoxReader::childrenOf(*list).boxes()) {
        std::string key = KeyFromAtomType(entry.type);
        if (entry.type == FourCC("----")) {
            // Free-form items carry their own name.
            auto name = IsoBoxReader::childrenOf(entry).find(FourCC("name"));
            if (!name || name->payload.size() < 4)
                continue;
            key = TextFromBytes(name->payload.subspan(4));
        }
        bool isText = uint8_t(entry.type >> 24) == kCopyrightSign;
        if (auto value = FirstDataValue(entry, isText))
            items.emplace_back(std::string(QTMetadataFormatiTunesMetadata), key, *value);
    }
}

void ReadMeta(const IsoBox& metaBox, std::vector<QTMetadataItem>& quickTime,
              std::vector<QTMetadataItem>& iTunes) {
    auto meta = MetaChildren(metaBox);
    auto handler = meta.find(FourCC("hdlr"));
    auto type = handler ? ReadHandlerType(handler->payload) : std::nullopt;
    if (type == FourCC("mdta"))
        ReadQuickTimeMetadata(meta, quickTime);
    else if (type == FourCC("mdir"))
        ReadITunesMetadata(meta, iTunes);
}

/// A user-data text atom: a list of (size, language, text) records, of which the
/// first is taken. Some writers put an iTunes-style 'data' box there instead.
std::optional<QTMetadataItem::Value> UserDataValue(const IsoBox& atom) {
    auto bytes = atom.payload;
    if (bytes.size() >= 16 && std::memcmp(bytes.data() + 4, "data", 4) == 0)
        return FirstDataValue(atom, true);
    IsoCursor cursor(bytes);
    auto size = cursor.u16();
    if (!size || !cursor.skip(2) || cursor.remaining() < *size)
        return std::nullopt;
    return TextFromBytes(bytes.subspan(4, *size));
}

} // namespace

std::vector<QTMetadataList> ReadIsoMetadata(const IsoBox& movieBox) {
    std::vector<QTMetadataItem> userData, quickTime, iTunes;
    auto movie = IsoBoxReader::childrenOf(movieBox);
    for (const auto& box : movie.boxes()) {
        if (box.type == FourCC("meta"))
            ReadMeta(box, quickTime, iTunes);
        if (box.type != FourCC("udta"))
            continue;
        for (const auto& atom : IsoBoxReader::childrenOf(box).boxes()) {
            if (atom.type == FourCC("meta")) {
                ReadMeta(atom, quickTime, iTunes);
            } else if (uint8_t(atom.type >> 24) == kCopyrightSign) {
                if (auto value = UserDataValue(atom))
                    userData.emplace_back(std::string(QTMetadataFormatQuickTimeUserData),
                                          KeyFromAtomType(atom.type), *value);
            }
        }
    }
    std::vector<QTMetadataList> formats;
    if (!userData.empty())
        formats.push_back({std::string(QTMetadataFormatQuickTimeUserData), std::move(userData)});
    if (!quickTime.empty())
        formats.push_back({std::string(QTMetadataFormatQuickTimeMetadata), std::move(quickTime)});
    if (!iTunes.empty())
        formats.push_back({std::string(QTMetadataFormatiTunesMetadata), std::move(iTunes)});
    return formats;
}

std::vector<QTMetadataList> MetadataFromTags(const AVDictionary* tags) {
    struct Mapping {
        const char* tag;
        std::string_view key;
    };
    static constexpr Mapping kMappings[] = {
        {"title", QTMetadataQuickTimeMetadataKeyDisplayName},
        {"artist", QTMetadataQuickTimeMetadataKeyArtist},
        {"album", QTMetadataQuickTimeMetadataKeyAlbum},
        {"author", QTMetadataQuickTimeMetadataKeyAuthor},
        {"copyright", QTMetadataQuickTimeMetadataKeyCopyright},
        {"date", QTMetadataQuickTimeMetadataKeyCreationDate},
        {"creation_time", QTMetadataQuickTimeMetadataKeyCreationDate},
        {"description", QTMetadataQuickTimeMetadataKeyDescription},
        {"comment", QTMetadataQuickTimeMetadataKeyComment},
        {"genre", QTMetadataQuickTimeMetadataKeyGenre},
        {"location", QTMetadataQuickTimeMetadataKeyLocationISO6709},
        {"make", QTMetadataQuickTimeMetadataKeyMake},
        {"model", QTMetadataQuickTimeMetadataKeyModel},
        {"encoder", QTMetadataQuickTimeMetadataKeySoftware},
    };
    std::vector<QTMetadataItem> items;
    for (const auto& mapping : kMappings) {
        if (auto entry = av_dict_get(tags, mapping.tag, nullptr, 0); entry && entry->value && *entry->value) {
            std::string_view value(entry->value);
            items.emplace_back(
                std::string(QTMetadataFormatQuickTimeMetadata), std::string(mapping.key),
                TextFromBytes(std::span(reinterpret_cast<const uint8_t*>(value.data()), value.size())));
        }
    }
    if (items.empty())
        return {};
    return {{std::string(QTMetadataFormatQuickTimeMetadata), std::move(items)}};
}
