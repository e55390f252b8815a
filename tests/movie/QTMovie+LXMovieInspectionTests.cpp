#include <algorithm>
#include <cstdlib>

#include <gtest/gtest.h>

#include "foundation/LanguageScope.h"
#include "foundation/NSDictionary+LXDictionary.h"
#include "movie/QTMovie+LXMovieMetadata.h"
#include "movie/QTMovie+LXMovieSummaries.h"
#include "movie/QTMovie+LXMovieTracks.h"
#include "movie/QTTrack+LXTrack.h"
#include "platform/media/BoxWriter.h"
#include "platform/media/MovieFixtures.h"
#include "support/Fixtures.h"

namespace lxkit::test {
namespace {

const std::string kSmall = "-f lavfi -i testsrc2=size=160x120:rate=25 ";
const std::string kVideoType(QTMediaTypeVideo);
const std::string kSoundType(QTMediaTypeSound);

/// A video track whose media has `samples` samples over `duration`.
std::shared_ptr<QTTrack> VideoTrack(int64_t samples, QTTime duration, bool hasRate = true,
                                    std::optional<std::string> summary = std::nullopt) {
    std::vector<std::string> characteristics{std::string(QTMediaCharacteristicVisual)};
    if (hasRate)
        characteristics.emplace_back(QTMediaCharacteristicHasVideoFrameRate);
    QTMedia media(std::move(characteristics), kVideoType);
    media.setSampleCount(samples);
    media.setDuration(duration);
    auto track = std::make_shared<QTTrack>(std::move(media), true, NSMakeRect(0, 0, 640, 480));
    track->setFormatSummary(std::move(summary));
    return track;
}

std::shared_ptr<QTTrack> TypedTrack(std::string type, std::optional<std::string> summary,
                                    std::optional<std::string> name = std::nullopt) {
    auto track = std::make_shared<QTTrack>(QTMedia({}, std::move(type)), true, std::nullopt);
    track->setFormatSummary(std::move(summary));
    track->setDisplayName(std::move(name));
    return track;
}

TEST(LXMovieTiming, FPSToHundredthsAndFrameLengthTruncated) {
    struct Case {
        int64_t samples;
        QTTime duration;
        double fps;
        int32_t frameLength; // of a movie at scale 600
    };
    const Case cases[] = {
        {300, QTMakeTime(6000, 600), 30.0, 20},
        {300, QTMakeTime(60060, 6000), 29.97, 20},
        {7, QTMakeTime(1000, 100), 0.7000000000000001, 857}, // 70 hundredths × 0.01, not ÷ 100
        {1004, QTMakeTime(100, 1), 10.040000000000001, 59},
        {300, QTMakeTime(0, 600), 0.0, 600}, // no length: no rate, one frame a second
    };
    for (const auto& c : cases) {
        auto movie = QTMovie::movieWithTracks({VideoTrack(c.samples, c.duration)}, QTMakeTime(6000, 600));
        EXPECT_EQ(LXMovie::FPS(*movie), c.fps) << c.samples << " over " << c.duration.timeValue;
        EXPECT_EQ(LXMovie::frameLength(*movie), c.frameLength)
            << c.samples << " over " << c.duration.timeValue;
    }
}

TEST(LXMovieTiming, RateFromTheFirstVideoTrackWithARateAndALength) {
    auto movie = QTMovie::movieWithTracks(
        {VideoTrack(100, QTMakeTime(600, 600), false), VideoTrack(100, QTMakeTime(0, 600)),
         VideoTrack(250, QTMakeTime(6000, 600)), VideoTrack(50, QTMakeTime(600, 600))},
        QTMakeTime(6000, 600));
    EXPECT_EQ(LXMovie::FPS(*movie), 25.0);
    auto silent = QTMovie::movieWithTracks({TypedTrack(kSoundType, "AAC")}, QTMakeTime(6000, 600));
    EXPECT_EQ(LXMovie::FPS(*silent), 0.0);
    EXPECT_EQ(LXMovie::frameLength(*silent), 600);
    EXPECT_FALSE(LXMovie::mainVideoTrack(*silent));
    EXPECT_TRUE(LXMovie::mainAudioTrack(*silent));
}

TEST(LXMovieTiming, RealMoviesAgreeWithFFprobe) {
    struct Case {
        const char* name;
        std::filesystem::path movie;
        double fps;
    };
    const Case cases[] = {
        {"mp4 at 25", makeMovie("lx-25.mp4", kSmall + "-t 2 " + kH264), 25},
        {"mov at 29.97",
         makeMovie("lx-2997.mov", "-f lavfi -i testsrc2=size=160x120:rate=30000/1001 -t 1 " + kH264), 29.97},
        {"mkv at 10", makeMovie("lx-10.mkv", "-f lavfi -i testsrc2=size=160x120:rate=10 -t 2 -c:v mpeg4"),
         10},
        // The first video track is a single still: the rate comes from the second.
        {"still then 10 fps",
         makeMovie("lx-still-then-10.mp4", "-f lavfi -i color=red:size=160x120:rate=25:duration=0.04 "
                                           "-f lavfi -i testsrc2=size=160x120:rate=10 -map 0 -map 1 -t 1 " +
                                               kH264),
         10},
    };
    for (const auto& c : cases) {
        auto movie = OpenMovie(c.movie);
        ASSERT_TRUE(movie) << c.name;
        EXPECT_NEAR(LXMovie::FPS(*movie), c.fps, 1e-9) << c.name;
        EXPECT_NEAR(QTGetTimeInterval(movie->duration()),
                    std::atof(Probe(c.movie, "format=duration", "").c_str()), 0.05)
            << c.name;
    }
}

TEST(LXMovieTiming, InterestingTimeMixesScalesOnPurpose) {
    struct Case {
        std::optional<QTTime> poster;
        QTTime duration;
        QTTime expected;
    };
    const Case cases[] = {
        {QTMakeTime(0, 600), QTMakeTime(60000, 600), QTMakeTime(6000, 600)},   // a tenth of 100 s
        {QTMakeTime(0, 600), QTMakeTime(600000, 600), QTMakeTime(12000, 600)}, // twenty seconds
        {QTMakeTime(1500, 600), QTMakeTime(60000, 600), QTMakeTime(1500, 600)},
        // Twenty seconds at the poster's scale (600) against a tenth at the duration's (1000).
        {QTMakeTime(0, 600), QTMakeTime(100000, 1000), QTMakeTime(10000, 600)},
        {std::nullopt, QTMakeTime(60000, 600), QTZeroTime},
    };
    for (const auto& c : cases) {
        auto movie = QTMovie::movieWithTracks({}, c.duration);
        movie->setPosterTime(c.poster);
        EXPECT_EQ(LXMovie::interestingFrameImageTime(*movie), c.expected) << c.duration.timeValue;
    }
}

TEST(LXMovieTiming, InterestingImageFallsBackToTheFirstFrame) {
    auto bytes = readFile(makeMovie("lx-poster.mov", kSmall + "-t 1 " + kH264 + "-movie_timescale 600"));
    auto reachable = OpenMovie(bytes);
    EXPECT_EQ(LXMovie::interestingFrameImageTime(*reachable), QTMakeTime(60, 600));
    EXPECT_TRUE(LXMovie::interestingFrameImage(*reachable));
    // A poster time beyond the end has no still; the first frame stands in.
    ASSERT_TRUE(SetPosterTime(bytes, 6000));
    auto beyond = OpenMovie(bytes);
    EXPECT_EQ(LXMovie::interestingFrameImageTime(*beyond), QTMakeTime(6000, 600));
    auto image = LXMovie::interestingFrameImage(*beyond);
    ASSERT_TRUE(image);
    auto first = beyond->frameImageAtTime(QTMakeTime(0, 600), {});
    ASSERT_FALSE(first.isError());
    EXPECT_EQ(ImageRGB(*image), ImageRGB(*first.value()));
    EXPECT_FALSE(LXMovie::interestingFrameImage(*QTMovie::movieWithTracks({})));
}

TEST(LXMovieSummaries, AVTracksSortsByTypeThenByOrderOfMaking) {
    auto movie = QTMovie::movieWithTracks({
        TypedTrack(kVideoType, "first video"),
        TypedTrack(std::string(QTMediaTypeText), "text"),
        TypedTrack(kSoundType, std::nullopt), // neither summary nor name: no number used
        TypedTrack(kSoundType, std::nullopt, "Sound Track"),
        TypedTrack(std::string(QTMediaTypeMusic), "music"),
        TypedTrack(kVideoType, "second video"),
        TypedTrack(std::string(QTMediaTypeTimeCode), "timecode"),
        TypedTrack(std::string(QTMediaTypeMPEG), "mpeg"),
        TypedTrack("", "untyped"),
    });
    auto entries = LXMovie::AVTracks(*movie);
    using Entry = std::pair<std::string, int64_t>;
    std::vector<Entry> summaries;
    for (const auto& entry : entries)
        summaries.emplace_back(
            *PropertyValueForKey(*entry.dictionary(), "summary")->string(),
            *PropertyValueForKey(*entry.dictionary(), "secondarySortKey")->longLongValue());
    EXPECT_EQ(summaries,
              (std::vector<Entry>{
                  {"first video", 0}, {"second video", 3}, {"mpeg", 4}, {"Sound Track", 1}, {"music", 2}}));
    const auto& first = *entries[0].dictionary();
    EXPECT_EQ(*PropertyValueForKey(first, "type")->string(), "vide");
    EXPECT_EQ(PropertyValueForKey(first, "primarySortKey")->number()->kind(), NSNumber::Kind::UInt64);
    EXPECT_EQ(*PropertyValueForKey(*entries[3].dictionary(), "primarySortKey")->longLongValue(), 3);
}

TEST(LXMovieSummaries, VideoAndAudioLines) {
    struct Case {
        const char* name;
        std::vector<std::shared_ptr<QTTrack>> tracks;
        std::string video;
        std::string audio;
    };
    auto hd = VideoTrack(250, QTMakeTime(10, 1), true, "H.264, 1280 \u00D7 720");
    hd->setBounds(NSMakeRect(0, 0, 1280, 720));
    auto wmv = VideoTrack(300, QTMakeTime(60060, 6000), true, "Windows Media Video 9");
    auto picture = std::make_shared<QTTrack>(
        QTMedia({std::string(QTMediaCharacteristicCanSendVideo)}, "clcp"), true, NSMakeRect(0, 0, 640, 480));
    const Case cases[] = {
        {"summary names the size",
         {hd, TypedTrack(kSoundType, "AAC, Stereo (L R), 44.100 kHz")},
         "H.264 \u2022 1280 \u00D7 720 \u2022 25 FPS",
         "AAC \u2022 Stereo (L R) \u2022 44.100 kHz"},
        {"size appended",
         {wmv, TypedTrack(kSoundType, "Windows Media Audio 8, Mono")},
         "WMV 9 \u2022 640 \u00D7 480 \u2022 29.97 FPS",
         "WMA 8 \u2022 Mono"},
        {"MPEG",
         {VideoTrack(10, QTMakeTime(1, 1)), TypedTrack(std::string(QTMediaTypeMPEG), "MPEG-2 Video")},
         "MPEG-1 \u2022 640 \u00D7 480 \u2022 10 FPS",
         "MPEG-1"},
        {"only another visual track", {picture}, "640 \u00D7 480", "\u2014"},
        {"sound only", {TypedTrack(kSoundType, "AAC")}, "\u2014", "AAC"},
        {"nothing", {}, "\u2014", "\u2014"},
    };
    for (const auto& c : cases) {
        auto movie = QTMovie::movieWithTracks(c.tracks, QTMakeTime(6000, 600));
        EXPECT_EQ(LXMovie::mainVideoTrackSummary(*movie), c.video) << c.name;
        EXPECT_EQ(LXMovie::mainAudioTrackSummary(*movie), c.audio) << c.name;
    }
}

TEST(LXTrackLanguage, NamesTheFortySixClassicCodes) {
    const std::pair<std::optional<int64_t>, std::optional<std::string>> cases[] = {
        {0, "English"},
        {2, "German"},
        {19, "Chinese"},
        {33, "Chinese"},
        {34, "Flemish"},
        {45, "Ukrainian"},
        {46, std::nullopt},
        {151, std::nullopt},
        {-1, std::nullopt},
        {QTLanguageUnspecified, std::nullopt},
        {std::nullopt, std::nullopt},
        {int64_t(1) << 32, "English"}, // read as a 32-bit code
    };
    for (const auto& [code, name] : cases) {
        QTTrack track(QTMedia(), true, std::nullopt);
        track.setLanguageCode(code);
        EXPECT_EQ(LXTrack::language(track), name) << code.value_or(-999);
    }
}

const std::string kCreationDate(QTMetadataQuickTimeMetadataKeyCreationDate);
const std::string kSoftware(QTMetadataQuickTimeMetadataKeySoftware);

QTMetadataItem Item(std::string_view format, std::string_view key, QTMetadataItem::Value value) {
    return QTMetadataItem(std::string(format), std::string(key), std::move(value));
}

TEST(LXMovieMetadata, FoldsAliasesAcrossFormats) {
    const NSDate july14{1247589005.0 - NSTimeIntervalSince1970};
    auto movie = QTMovie::movieWithTracks({}, QTMakeTime(54000, 600));
    movie->setMetadataForFormat(std::string(QTMetadataFormatQuickTimeUserData),
                                {Item(QTMetadataFormatQuickTimeUserData, "@day", "1999"),
                                 Item(QTMetadataFormatQuickTimeUserData, "\u00A9swr", "Editor 2"),
                                 Item(QTMetadataFormatQuickTimeUserData, "@cmt", "a comment"),
                                 Item(QTMetadataFormatQuickTimeUserData, "@nam", "Early"),
                                 Item(QTMetadataFormatQuickTimeUserData, "@nam", "Late")});
    movie->setMetadataForFormat(
        std::string(QTMetadataFormatQuickTimeMetadata),
        {Item(QTMetadataFormatQuickTimeMetadata, kCreationDate, "2009-07-14T18:30:05+0200")});
    movie->setMetadataForFormat(std::string(QTMetadataFormatiTunesMetadata),
                                {Item(QTMetadataFormatiTunesMetadata, "\u00A9too", "Encoder 1.0"),
                                 Item(QTMetadataFormatiTunesMetadata, "covr", NSData::dataWithVector({1}))});
    auto result = LXMovie::metadata(*movie);
    ASSERT_TRUE(result);
    PropertyDictionary expected{
        {kCreationDate, july14}, {std::string(QTMetadataQuickTimeMetadataKeyDisplayName), "Late"},
        {kSoftware, "Editor 2"}, {"Tracks", PropertyArray{}},
        {"Length", "1:30"},
    };
    EXPECT_EQ(PropertyValue(*result), PropertyValue(expected));
}

TEST(LXMovieMetadata, RealFilesFoldUserDataAndITunesSoftware) {
    // ffmpeg writes its own name as iTunes ©too in MP4; a hand-written ©swr beside it wins.
    auto bytes = readFile(makeMovie("lx-ilst.mp4", kSmall + "-t 1 " + kH264 + "-metadata title=Walk"));
    auto plainResult = LXMovie::metadata(*OpenMovie(bytes));
    ASSERT_TRUE(plainResult);
    EXPECT_TRUE(PropertyValueForKey(*plainResult, kSoftware)->string()->starts_with("Lavf"));
    EXPECT_EQ(*PropertyValueForKey(*plainResult, QTMetadataQuickTimeMetadataKeyDisplayName)->string(),
              "Walk");
    EXPECT_EQ(*PropertyValueForKey(*plainResult, "FPS")->string(), "25");
    EXPECT_EQ(*PropertyValueForKey(*plainResult, "Length")->string(), "0:01");

    ASSERT_TRUE(AppendToMovieBox(bytes, Box("udta", Box("\xA9swr", UserDataText("Editor 2")))));
    auto result = LXMovie::metadata(*OpenMovie(bytes));
    ASSERT_TRUE(result);
    EXPECT_EQ(*PropertyValueForKey(*result, kSoftware)->string(), "Editor 2");
    EXPECT_FALSE(PropertyValueForKey(*result, "@swr"));
    EXPECT_FALSE(PropertyValueForKey(*result, "@too"));
}

TEST(LXMovieMetadata, LengthAndFPSOnlyWhenKnownUnderLocalisedKeys) {
    auto stillResult = LXMovie::metadata(*QTMovie::movieWithTracks({}));
    ASSERT_TRUE(stillResult);
    EXPECT_EQ(stillResult->size(), 1u); // only "Tracks"
    EXPECT_TRUE(PropertyValueForKey(*stillResult, "Tracks")->array());

    auto movie = QTMovie::movieWithTracks({VideoTrack(1004, QTMakeTime(100, 1))}, QTMakeTime(6000, 600));
    auto result = LXMovie::metadata(*movie);
    ASSERT_TRUE(result);
    EXPECT_EQ(*PropertyValueForKey(*result, "FPS")->string(), "10.04");
    EXPECT_EQ(*PropertyValueForKey(*result, "Length")->string(), "0:10");

    LanguageScope german("de");
    result = LXMovie::metadata(*movie);
    ASSERT_TRUE(result);
    EXPECT_EQ(*PropertyValueForKey(*result, "B/s")->string(), "10.04");
    EXPECT_EQ(*PropertyValueForKey(*result, "L\u00E4nge")->string(), "0:10");
    EXPECT_FALSE(PropertyValueForKey(*result, "FPS"));
    EXPECT_EQ(LXMovie::mainVideoTrackSummary(*movie), "640 \u00D7 480 \u2022 10.04 B/s");
    auto unnamed = OpenMovie(makeMovie("lx-25.mp4", kSmall + "-t 2 " + kH264));
    ASSERT_TRUE(unnamed);
    EXPECT_EQ(unnamed->tracks()[0]->displayName(), "Videospur");
}

TEST(NormalizeMetadata, CanonicalValueWinsThenFirstAlias) {
    const PropertyArray aliases{"@swr", "\u00A9swr", "@too", "\u00A9too"};
    struct Case {
        const char* name;
        PropertyDictionary input;
        PropertyDictionary expected;
    };
    const Case cases[] = {
        {"only ©too", {{"\u00A9too", "Encoder 1.0"}}, {{"sw", "Encoder 1.0"}}},
        {"©swr before ©too", {{"\u00A9too", "Encoder 1.0"}, {"\u00A9swr", "Editor 2"}}, {{"sw", "Editor 2"}}},
        {"canonical wins",
         {{"sw", "Own"}, {"@swr", "Editor 2"}, {"other", "kept"}},
         {{"sw", "Own"}, {"other", "kept"}}},
        {"nothing to fold", {{"other", "kept"}}, {{"other", "kept"}}},
    };
    for (const auto& c : cases) {
        PropertyDictionary dictionary = c.input;
        NormalizeMetadata(&dictionary, PropertyValue("sw"), aliases);
        EXPECT_EQ(PropertyValue(dictionary), PropertyValue(c.expected)) << c.name;
    }
    PropertyDictionary untouched{{"@swr", "Editor 2"}};
    NormalizeMetadata(&untouched, PropertyValue(), aliases);
    NormalizeMetadata(&untouched, PropertyValue("sw"), {});
    NormalizeMetadata(nullptr, PropertyValue("sw"), aliases);
    EXPECT_EQ(PropertyValue(untouched), PropertyValue(PropertyDictionary{{"@swr", "Editor 2"}}));
}

TEST(NormalizeMetadata, EveryAliasBelongsToOneCanonicalKey) {
    const auto& table = LXMovie::MetadataAliasTable();
    std::vector<std::string> seen;
    for (const auto& [key, aliases] : table) {
        for (const auto& alias : *aliases.array()) {
            EXPECT_EQ(std::ranges::count(seen, *alias.string()) + table.count(*alias.string()), 0u)
                << *alias.string();
            seen.push_back(*alias.string());
        }
    }
}

} // namespace
} // namespace lxkit::test
