#include "foundation/NSDictionary+LXDictionary.h"
#include "movie/NSString+LXStringMovieTime.h"
#include "movie/QTMovie+LXMovieMetadata.h"
#include "movie/QTMovie+LXMovieSummaries.h"
#include "movie/QTMovie+LXMovieTracks.h"
#include "platform/text/Localization.h"
#include "platform/text/StringWithFormat.h"

namespace {

/// Filled on first use and kept; callers are on one thread.
const PropertyDictionary* g_aliasTable = nullptr;

PropertyValue Aliases(std::initializer_list<std::string_view> keys) {
    PropertyArray aliases;
    for (auto key : keys)
        aliases.emplace_back(std::string(key));
    return aliases;
}

} // namespace

namespace LXMovie {

const PropertyDictionary& MetadataAliasTable() {
    if (!g_aliasTable) {
        // The quoted keys are atom names with the copyright sign itself, as some
        // metadata layers give them; each alias belongs to exactly one canonical key.
        g_aliasTable = new PropertyDictionary{
            {std::string(QTMetadataQuickTimeMetadataKeyAlbum),
             Aliases({QTMetadataQuickTimeUserDataKeyAlbum, "\u00A9alb"})},
            {std::string(QTMetadataQuickTimeMetadataKeyArtist),
             Aliases({QTMetadataQuickTimeUserDataKeyArtist, "\u00A9ART"})},
            {std::string(QTMetadataQuickTimeMetadataKeyAuthor),
             Aliases({QTMetadataQuickTimeUserDataKeyAuthor, "\u00A9aut"})},
            {std::string(QTMetadataQuickTimeMetadataKeyCopyright),
             Aliases({QTMetadataQuickTimeUserDataKeyCopyright, "\u00A9cpy"})},
            {std::string(QTMetadataQuickTimeMetadataKeyCreationDate),
             Aliases({QTMetadataQuickTimeUserDataKeyCreationDate, "\u00A9day"})},
            {std::string(QTMetadataQuickTimeMetadataKeyDescription),
             Aliases({QTMetadataQuickTimeUserDataKeyDescription, "\u00A9des"})},
            {std::string(QTMetadataQuickTimeMetadataKeyDisplayName),
             Aliases({QTMetadataQuickTimeUserDataKeyFullName, "\u00A9nam"})},
            {std::string(QTMetadataQuickTimeMetadataKeyLocationISO6709),
             Aliases({QTMetadataQuickTimeUserDataKeyLocationISO6709, "\u00A9xyz"})},
            {std::string(QTMetadataQuickTimeMetadataKeyMake),
             Aliases({QTMetadataQuickTimeUserDataKeyMake, "\u00A9mak"})},
            {std::string(QTMetadataQuickTimeMetadataKeyModel),
             Aliases({QTMetadataQuickTimeUserDataKeyModel, "\u00A9mod"})},
            // The iTunes encoding tool counts as the software.
            {std::string(QTMetadataQuickTimeMetadataKeySoftware),
             Aliases({QTMetadataQuickTimeUserDataKeySoftware, "\u00A9swr",
                      QTMetadataiTunesMetadataKeyEncodingTool, "\u00A9too"})},
        };
    }
    return *g_aliasTable;
}

std::optional<PropertyDictionary> metadata(const QTMovie& movie) {
    const PropertyDictionary& aliasTable = MetadataAliasTable();
    PropertyDictionary result;
    for (const auto& format : movie.availableMetadataFormats()) {
        for (const auto& item : movie.metadataForFormat(format)) {
            if (!DictionaryContainsObject(aliasTable, PropertyValue(item.key())))
                continue;
            if (auto date = item.dateValue())
                result.insert_or_assign(item.key(), PropertyValue(*date));
            else if (auto text = item.stringValue())
                result.insert_or_assign(item.key(), PropertyValue(*text));
        }
    }
    for (const auto& [key, aliases] : aliasTable)
        NormalizeMetadata(&result, PropertyValue(key), *aliases.array());

    result.insert_or_assign("Tracks", PropertyValue(AVTracks(movie)));
    double fps = FPS(movie);
    if (fps != 0)
        result.insert_or_assign(LXLocalizedString("FPS"), PropertyValue(StringWithFormat("%g", fps)));
    if (movie.hasDuration())
        result.insert_or_assign(LXLocalizedString("Length"),
                                PropertyValue(LXString::stringWithAbbreviatedMovieTime(movie.duration(), 0)));
    if (result.empty())
        return std::nullopt;
    return result;
}

} // namespace LXMovie

void NormalizeMetadata(PropertyDictionary* dictionary, const PropertyValue& key,
                       const PropertyArray& aliases) {
    if (!dictionary || !key.string() || aliases.empty())
        return;
    const PropertyValue* existing = PropertyValueForKey(*dictionary, *key.string());
    std::optional<PropertyValue> first;
    for (const auto& alias : aliases) {
        if (!alias.string())
            continue;
        auto found = dictionary->find(*alias.string());
        if (found == dictionary->end())
            continue;
        if (!first)
            first = found->second;
        dictionary->erase(found);
    }
    if (!existing && first)
        dictionary->insert_or_assign(*key.string(), *first);
}
