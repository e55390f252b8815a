#include <algorithm>
#include <cstdlib>

#include <gtest/gtest.h>

#include "BoxWriter.h"
#include "MovieFixtures.h"
#include "platform/media/LanguageCodes.h"
#include "platform/media/QTMetadataItem.h"
#include "platform/media/QTMovie.h"

namespace lxkit::test {
namespace {

const std::string kSmall = "-f lavfi -i testsrc2=size=160x120:rate=25 ";
const std::string kTone = "-f lavfi -i sine=frequency=440:sample_rate=44100 ";

std::vector<std::string> MediaTypes(const QTMovie& movie) {
    std::vector<std::string> types;
    for (const auto& track : movie.tracks())
        types.push_back(track->mediaType().value_or("(none)"));
    return types;
}

std::optional<std::string> ItemText(const QTMovie& movie, std::string_view format, std::string_view key) {
    for (const auto& item : movie.metadataForFormat(format)) {
        if (item.key() == key)
            return item.stringValue();
    }
    return std::nullopt;
}

TEST(MovieInspection, GivesClassicMediaTypes) {
    struct Case {
        const char* name;
        std::filesystem::path movie;
        std::vector<std::string> types;
    };
    const Case cases[] = {
        // ffmpeg writes the chapter list as a text track.
        {"mp4 with chapters", sampleMovie(), {"vide", "soun", "text"}},
        {"mkv", makeMovie("inspect.mkv", kSmall + kTone + "-t 1 " + kH264 + "-c:a aac"), {"vide", "soun"}},
        {"mov with timecode",
         makeMovie("inspect-tmcd.mov", kSmall + "-t 1 " + kH264 + "-timecode 01:00:00:00"),
         {"vide", "tmcd"}},
        {"mpeg program stream",
         makeMovie("inspect.mpg", kSmall + kTone + "-t 1 -c:v mpeg1video -c:a mp2 -f mpeg"),
         {"MPEG"}},
        {"sound only", makeMovie("inspect-sound.m4a", kTone + "-t 1 -c:a aac"), {"soun"}},
    };
    for (const auto& c : cases) {
        auto movie = OpenMovie(c.movie);
        ASSERT_TRUE(movie) << c.name;
        EXPECT_EQ(MediaTypes(*movie), c.types) << c.name;
    }
}

TEST(MovieInspection, MPEGProgramStreamIsOneMuxedTrackThatStillGivesFrames) {
    auto movie =
        OpenMovie(makeMovie("inspect.mpg", kSmall + kTone + "-t 1 -c:v mpeg1video -c:a mp2 -f mpeg"));
    ASSERT_TRUE(movie);
    ASSERT_EQ(movie->tracks().size(), 1u);
    const QTTrack& track = *movie->tracks()[0];
    EXPECT_TRUE(track.media().hasCharacteristic(QTMediaCharacteristicVisual));
    EXPECT_TRUE(track.media().hasCharacteristic(QTMediaCharacteristicAudio));
    EXPECT_EQ(track.formatSummary(), "MPEG-1 Video, 160 \u00D7 120, MPEG Layer 2, Mono, 44.100 kHz");
    EXPECT_EQ(movie->tracksOfMediaType(QTMediaTypeMPEG).size(), 1u);
    EXPECT_TRUE(movie->tracksOfMediaType(QTMediaTypeVideo).empty());
    auto frame = movie->frameImageAtTime(QTMakeTime(movie->timeScale() / 2, movie->timeScale()), {});
    EXPECT_FALSE(frame.isError()) << (frame.isError() ? frame.error().message : "");
}

TEST(MovieInspection, MediaDurationAndSampleCountMatchFFprobe) {
    struct Case {
        const char* name;
        std::filesystem::path movie;
    };
    const Case cases[] = {
        {"mp4 at 25", makeMovie("inspect-25.mp4", kSmall + "-t 2 " + kH264)},
        {"mp4 at 29.97",
         makeMovie("inspect-2997.mp4", "-f lavfi -i testsrc2=size=160x120:rate=30000/1001 -t 1 " + kH264)},
        {"mov at scale 600",
         makeMovie("inspect-600.mov", kSmall + "-t 2 " + kH264 + "-video_track_timescale 600")},
    };
    for (const auto& c : cases) {
        auto movie = OpenMovie(c.movie);
        ASSERT_TRUE(movie) << c.name;
        const QTMedia& media = movie->tracks()[0]->media();
        ASSERT_TRUE(media.sampleCount() && media.duration()) << c.name;
        EXPECT_EQ(*media.sampleCount(), std::atoll(Probe(c.movie, "stream=nb_frames").c_str())) << c.name;
        EXPECT_EQ("1/" + std::to_string(media.duration()->timeScale) + "\n",
                  Probe(c.movie, "stream=time_base"))
            << c.name;
        EXPECT_NEAR(QTGetTimeInterval(*media.duration()),
                    std::atof(Probe(c.movie, "stream=duration").c_str()), 1e-3)
            << c.name;
    }
}

TEST(MovieInspection, CountsSamplesWhenTheContainerKeepsNoIndex) {
    auto movie = OpenMovie(makeMovie("inspect-count.mkv", kSmall + "-t 2 " + kH264));
    ASSERT_TRUE(movie);
    const QTMedia& media = movie->tracks()[0]->media();
    EXPECT_EQ(media.sampleCount(), 50);
    ASSERT_TRUE(media.duration());
    EXPECT_NEAR(QTGetTimeInterval(*media.duration()), 2.0, 1e-9);
}

TEST(MovieInspection, DescribesVideoAndSoundTracks) {
    auto movie =
        OpenMovie(makeMovie("inspect-names.mp4", kSmall + "-f lavfi -i sine=sample_rate=48000 -ac 2 -t 1 " +
                                                     kH264 + "-c:a aac -metadata:s:a:0 language=ger"));
    ASSERT_TRUE(movie);
    ASSERT_EQ(movie->tracks().size(), 2u);
    const QTTrack& video = *movie->tracks()[0];
    const QTTrack& sound = *movie->tracks()[1];
    EXPECT_TRUE(video.media().hasCharacteristic(QTMediaCharacteristicVisual));
    EXPECT_TRUE(video.media().hasCharacteristic(QTMediaCharacteristicCanSendVideo));
    EXPECT_TRUE(video.media().hasCharacteristic(QTMediaCharacteristicHasVideoFrameRate));
    EXPECT_FALSE(video.media().hasCharacteristic(QTMediaCharacteristicAudio));
    EXPECT_TRUE(sound.media().hasCharacteristic(QTMediaCharacteristicAudio));
    EXPECT_FALSE(sound.media().hasCharacteristic(QTMediaCharacteristicVisual));
    EXPECT_EQ(video.bounds(), NSMakeRect(0, 0, 160, 120));
    EXPECT_FALSE(sound.bounds());
    EXPECT_EQ(movie->currentSize(), NSMakeSize(160, 120));
    EXPECT_EQ(video.trackID(), 1);
    EXPECT_EQ(sound.trackID(), 2);
    EXPECT_TRUE(video.isEnabled() && sound.isEnabled());
    EXPECT_EQ(video.formatSummary(), "H.264, 160 \u00D7 120");
    EXPECT_EQ(sound.formatSummary(), "AAC, Stereo (L R), 48.000 kHz");
    EXPECT_EQ(video.displayName(), "Video Track");
    EXPECT_EQ(sound.displayName(), "Sound Track");
    EXPECT_EQ(video.languageCode(), QTLanguageUnspecified);
    EXPECT_EQ(sound.languageCode(), 2);

    auto named =
        OpenMovie(makeMovie("inspect-names.mkv", kSmall + "-t 1 -c:v mpeg4 -metadata:s:v:0 title=Camera "
                                                          "-metadata:s:v:0 language=fre"));
    ASSERT_TRUE(named);
    EXPECT_EQ(named->tracks()[0]->displayName(), "Camera");
    EXPECT_EQ(named->tracks()[0]->formatSummary(), "MPEG-4 Video, 160 \u00D7 120");
    EXPECT_EQ(named->tracks()[0]->languageCode(), 1);
}

TEST(MovieInspection, MapsISO639ToClassicLanguageCodes) {
    const std::pair<const char*, std::optional<int64_t>> cases[] = {
        {"eng", 0},           {"en", 0},          {"fre", 1},
        {"fra", 1},           {"GER", 2},         {"deu", 2},
        {"zho", 19},          {"ukr", 45},        {"und", QTLanguageUnspecified},
        {"xx", std::nullopt}, {"", std::nullopt}, {"english", std::nullopt},
    };
    for (const auto& [code, expected] : cases)
        EXPECT_EQ(ClassicLanguageCodeForISO639(code), expected) << code;
}

TEST(MovieInspection, ReadsUserDataQuickTimeAndITunesItemsEachInItsOwnFormat) {
    auto userData = OpenMovie(makeMovie(
        "inspect-udta.mov", kSmall + "-t 0.2 " + kH264 + "-metadata title=Hello -metadata date=2009 -f mov"));
    ASSERT_TRUE(userData);
    EXPECT_EQ(ItemText(*userData, QTMetadataFormatQuickTimeUserData, QTMetadataQuickTimeUserDataKeyFullName),
              "Hello");
    EXPECT_EQ(
        ItemText(*userData, QTMetadataFormatQuickTimeUserData, QTMetadataQuickTimeUserDataKeyCreationDate),
        "2009");
    EXPECT_TRUE(ItemText(*userData, QTMetadataFormatQuickTimeUserData, QTMetadataQuickTimeUserDataKeySoftware)
                    ->starts_with("Lavf"));

    auto quickTime =
        OpenMovie(makeMovie("inspect-mdta.mov", kSmall + "-t 0.2 " + kH264 +
                                                    "-metadata com.apple.quicktime.creationdate="
                                                    "2009-07-14T18:30:05+0200 -movflags use_metadata_tags"));
    ASSERT_TRUE(quickTime);
    auto items = quickTime->metadataForFormat(QTMetadataFormatQuickTimeMetadata);
    auto creation = std::ranges::find_if(items, [](const QTMetadataItem& item) {
        return item.key() == QTMetadataQuickTimeMetadataKeyCreationDate;
    });
    ASSERT_NE(creation, items.end());
    ASSERT_TRUE(creation->dateValue());
    EXPECT_EQ(creation->dateValue()->timeIntervalSinceReferenceDate, 1247589005.0 - NSTimeIntervalSince1970);

    auto iTunesPath = makeMovie("inspect-ilst.mp4", kSmall + "-t 0.2 " + kH264 + "-metadata album=Sea");
    auto iTunes = OpenMovie(iTunesPath);
    ASSERT_TRUE(iTunes);
    EXPECT_EQ(iTunes->availableMetadataFormats(),
              std::vector<std::string>{std::string(QTMetadataFormatiTunesMetadata)});
    EXPECT_EQ(ItemText(*iTunes, QTMetadataFormatiTunesMetadata, QTMetadataiTunesMetadataKeyAlbum), "Sea");
    EXPECT_TRUE(ItemText(*iTunes, QTMetadataFormatiTunesMetadata, QTMetadataiTunesMetadataKeyEncodingTool));

    // User-data atoms written by hand beside the iTunes items come first, in their own format.
    auto bytes = readFile(iTunesPath);
    ASSERT_TRUE(AppendToMovieBox(
        bytes, Box("udta", Concat({Box("\xA9swr", UserDataText("Editor 2")), Box("\xA9"
                                                                                 "day",
                                                                                 UserDataText("1999"))}))));
    auto movie = OpenMovie(bytes);
    ASSERT_TRUE(movie);
    EXPECT_EQ(movie->availableMetadataFormats(),
              (std::vector<std::string>{std::string(QTMetadataFormatQuickTimeUserData),
                                        std::string(QTMetadataFormatiTunesMetadata)}));
    EXPECT_EQ(ItemText(*movie, QTMetadataFormatQuickTimeUserData, "@swr"), "Editor 2");
    EXPECT_EQ(ItemText(*movie, QTMetadataFormatQuickTimeUserData, "@day"), "1999");
}

TEST(MovieInspection, MapsOtherContainersTagsOntoQuickTimeKeys) {
    auto movie =
        OpenMovie(makeMovie("inspect-tags.mkv", kSmall + "-t 0.2 -c:v mpeg4 -metadata title=Walk "
                                                         "-metadata artist=Ann -metadata comment=none"));
    ASSERT_TRUE(movie);
    EXPECT_EQ(ItemText(*movie, QTMetadataFormatQuickTimeMetadata, QTMetadataQuickTimeMetadataKeyDisplayName),
              "Walk");
    EXPECT_EQ(ItemText(*movie, QTMetadataFormatQuickTimeMetadata, QTMetadataQuickTimeMetadataKeyArtist),
              "Ann");
    EXPECT_TRUE(ItemText(*movie, QTMetadataFormatQuickTimeMetadata, QTMetadataQuickTimeMetadataKeySoftware));
}

TEST(MovieInspection, ReadsISO8601DatesAndNothingElse) {
    const double july14 = 1247589005.0 - NSTimeIntervalSince1970; // 2009-07-14T16:30:05Z
    const std::pair<const char*, std::optional<double>> cases[] = {
        {"2009-07-14T16:30:05Z", july14},
        {"2009-07-14T18:30:05+0200", july14},
        {"2009-07-14T18:30:05+02:00", july14},
        {"2009-07-14T12:30:05-04", july14},
        {"2009-07-14 16:30:05", july14},
        {"2009-07-14T16:30:05.5Z", july14 + 0.5},
        {"2009-07-14", july14 - (16 * 3600 + 30 * 60 + 5)},
        {"2009-02-29", std::nullopt},
        {"2009-13-01", std::nullopt},
        {"2009", std::nullopt},
        {"2009:07:14 16:30:05", std::nullopt},
        {"2009-07-14T16:30:05Zjunk", std::nullopt},
    };
    for (const auto& [text, expected] : cases) {
        auto date = DateFromISO8601String(text);
        ASSERT_EQ(date.has_value(), expected.has_value()) << text;
        if (date) {
            EXPECT_DOUBLE_EQ(date->timeIntervalSinceReferenceDate, *expected) << text;
        }
    }
    EXPECT_EQ(ISO8601StringFromDate(NSDate{july14}), "2009-07-14T16:30:05Z");
    EXPECT_EQ(QTMetadataItem("f", "k", NSDate{july14}).stringValue(), "2009-07-14T16:30:05Z");
    EXPECT_FALSE(QTMetadataItem("f", "k", NSData::dataWithVector({1, 2})).stringValue());
}

} // namespace
} // namespace lxkit::test
