#include <algorithm>
#include <array>
#include <optional>

#include "movie/QTMovie+LXMovie.h"
#include "movie/QTMovie+LXMovieSummaries.h"
#include "movie/QTMovie+LXMovieTracks.h"
#include "platform/text/Localization.h"
#include "platform/text/StringWithFormat.h"

namespace {

constexpr std::array<std::string_view, 5> kListedMediaTypes = {
    QTMediaTypeVideo, QTMediaTypeMPEG, QTMediaTypeMuxed, QTMediaTypeSound, QTMediaTypeMusic};

void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (size_t position = text.find(from); position != std::string::npos;
         position = text.find(from, position + to.size()))
        text.replace(position, from.size(), to);
}

constexpr std::string_view kMultiplicationSign = "\u00D7";
constexpr std::string_view kSeparator = " \u2022 ";
constexpr std::string_view kEmDash = "\u2014";

int64_t SortKey(const PropertyValue& entry, const char* key) {
    const PropertyValue* value = PropertyValueForKey(*entry.dictionary(), key);
    return value ? value->longLongValue().value_or(0) : 0;
}

} // namespace

namespace LXMovie {

PropertyArray AVTracks(const QTMovie& movie) {
    PropertyArray entries;
    int32_t counter = 0;
    for (const auto& track : movie.tracks()) {
        auto type = track->mediaType();
        if (!type)
            continue;
        auto position = std::ranges::find(kListedMediaTypes, *type);
        if (position == kListedMediaTypes.end())
            continue;
        std::optional<std::string> summary = track->formatSummary();
        if (!summary)
            summary = track->displayName();
        if (!summary)
            continue;
        entries.push_back(PropertyDictionary{
            {"type", *type},
            {"summary", *summary},
            {"primarySortKey",
             NSNumber::numberWithUnsignedLongLong(uint64_t(position - kListedMediaTypes.begin()))},
            {"secondarySortKey", PropertyValue::number(counter)},
        });
        ++counter;
    }
    std::ranges::stable_sort(entries, [](const PropertyValue& a, const PropertyValue& b) {
        int64_t primaryA = SortKey(a, "primarySortKey"), primaryB = SortKey(b, "primarySortKey");
        if (primaryA != primaryB)
            return primaryA < primaryB;
        return SortKey(a, "secondarySortKey") < SortKey(b, "secondarySortKey");
    });
    return entries;
}

std::string mainVideoTrackSummary(const QTMovie& movie) {
    std::optional<std::string> text;
    if (mainMPEGTrack(movie)) {
        text = LXLocalizedString("MPEG-1");
    } else if (auto video = mainVideoTrack(movie)) {
        text = video->formatSummary();
    }
    if (text)
        ReplaceAll(*text, "Windows Media Video", "WMV");

    NSSize size = LXMovie::size(movie);
    if (text) {
        // A plain substring test: a summary that names the width already is left as is.
        if (text->find(StringWithFormat("%g", size.width)) == std::string::npos)
            *text += StringWithFormat(", %g %s %g", size.width, std::string(kMultiplicationSign).c_str(),
                                      size.height);
    } else if (!NSEqualSizes(size, NSZeroSize)) {
        text =
            StringWithFormat("%g %s %g", size.width, std::string(kMultiplicationSign).c_str(), size.height);
    }

    double fps = FPS(movie);
    if (fps != 0 && text)
        *text += StringWithFormat(", %g %s", fps, LXLocalizedString("FPS").c_str());
    if (!text)
        return std::string(kEmDash);
    ReplaceAll(*text, ", ", kSeparator);
    return *text;
}

std::string mainAudioTrackSummary(const QTMovie& movie) {
    std::optional<std::string> text;
    if (mainMPEGTrack(movie)) {
        text = LXLocalizedString("MPEG-1");
    } else if (auto audio = mainAudioTrack(movie)) {
        text = audio->formatSummary();
    }
    if (!text)
        return std::string(kEmDash);
    ReplaceAll(*text, "Windows Media Audio", "WMA");
    ReplaceAll(*text, ", ", kSeparator);
    return *text;
}

} // namespace LXMovie
