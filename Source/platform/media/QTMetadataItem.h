#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/core/NSData.h"
#include "platform/core/NSDate.h"

/// Metadata formats (key spaces), by the platform's well-known string values.
inline constexpr std::string_view QTMetadataFormatQuickTimeUserData = "com.apple.quicktime.udta";
inline constexpr std::string_view QTMetadataFormatQuickTimeMetadata = "com.apple.quicktime.mdta";
inline constexpr std::string_view QTMetadataFormatiTunesMetadata = "com.apple.itunes";

/// QuickTime metadata keys: reverse-DNS names, as stored in a 'keys' box.
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeyAlbum = "com.apple.quicktime.album";
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeyArtist = "com.apple.quicktime.artist";
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeyAuthor = "com.apple.quicktime.author";
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeyComment = "com.apple.quicktime.comment";
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeyCopyright = "com.apple.quicktime.copyright";
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeyCreationDate =
    "com.apple.quicktime.creationdate";
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeyDescription =
    "com.apple.quicktime.description";
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeyDisplayName =
    "com.apple.quicktime.displayname";
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeyGenre = "com.apple.quicktime.genre";
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeyLocationISO6709 =
    "com.apple.quicktime.location.ISO6709";
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeyMake = "com.apple.quicktime.make";
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeyModel = "com.apple.quicktime.model";
inline constexpr std::string_view QTMetadataQuickTimeMetadataKeySoftware = "com.apple.quicktime.software";

/// QuickTime user-data keys: the atom names, with the copyright sign written as "@".
inline constexpr std::string_view QTMetadataQuickTimeUserDataKeyAlbum = "@alb";
inline constexpr std::string_view QTMetadataQuickTimeUserDataKeyArtist = "@ART";
inline constexpr std::string_view QTMetadataQuickTimeUserDataKeyAuthor = "@aut";
inline constexpr std::string_view QTMetadataQuickTimeUserDataKeyComment = "@cmt";
inline constexpr std::string_view QTMetadataQuickTimeUserDataKeyCopyright = "@cpy";
inline constexpr std::string_view QTMetadataQuickTimeUserDataKeyCreationDate = "@day";
inline constexpr std::string_view QTMetadataQuickTimeUserDataKeyDescription = "@des";
inline constexpr std::string_view QTMetadataQuickTimeUserDataKeyFullName = "@nam";
inline constexpr std::string_view QTMetadataQuickTimeUserDataKeyLocationISO6709 = "@xyz";
inline constexpr std::string_view QTMetadataQuickTimeUserDataKeyMake = "@mak";
inline constexpr std::string_view QTMetadataQuickTimeUserDataKeyModel = "@mod";
inline constexpr std::string_view QTMetadataQuickTimeUserDataKeySoftware = "@swr";

/// iTunes keys: the 'ilst' atom names, "@" again for the copyright sign.
inline constexpr std::string_view QTMetadataiTunesMetadataKeyAlbum = "@alb";
inline constexpr std::string_view QTMetadataiTunesMetadataKeyArtist = "@ART";
inline constexpr std::string_view QTMetadataiTunesMetadataKeySongName = "@nam";
inline constexpr std::string_view QTMetadataiTunesMetadataKeyReleaseDate = "@day";
inline constexpr std::string_view QTMetadataiTunesMetadataKeyEncodingTool = "@too";
inline constexpr std::string_view QTMetadataiTunesMetadataKeyUserComment = "@cmt";

/// One metadata item: a key in one format, and a value that is a text, a date or bytes.
class QTMetadataItem {
public:
    using Value = std::variant<std::string, NSDate, NSData>;

    QTMetadataItem(std::string format, std::string key, Value value)
        : m_format(std::move(format)), m_key(std::move(key)), m_value(std::move(value)) {}

    const std::string& format() const { return m_format; }
    const std::string& key() const { return m_key; }

    /// The value as a date: a date value, or a text in ISO 8601 form
    /// ("2009-07-14", "2009-07-14T18:30:05+0200"); nothing otherwise.
    std::optional<NSDate> dateValue() const;
    /// The value as a text: a text value, or a date written in ISO 8601 (UTC); nothing
    /// for bytes.
    std::optional<std::string> stringValue() const;

private:
    std::string m_format;
    std::string m_key;
    Value m_value;
};

/// The items of one metadata format, in the order the movie holds them.
struct QTMetadataList {
    std::string format;
    std::vector<QTMetadataItem> items;
};

/// Reads ISO 8601 calendar dates and date-times, as metadata stores them: "YYYY-MM-DD",
/// optionally followed by "T" (or a space) and "hh:mm[:ss[.fff]]" with an optional zone
/// ("Z", "±hh", "±hhmm" or "±hh:mm"). A time without a zone counts as UTC. Nothing for
/// any other text, including impossible dates.
std::optional<NSDate> DateFromISO8601String(std::string_view text);
/// "2009-07-14T16:30:05Z": the date in UTC, whole seconds.
std::string ISO8601StringFromDate(NSDate date);
