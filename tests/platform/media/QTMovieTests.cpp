#include <cctype>
#include <fstream>

#include <gtest/gtest.h>

#include "MovieFixtures.h"
#include "platform/media/IsoBoxReader.h"
#include "platform/media/QTMovie.h"

namespace lxkit::test {
namespace {

std::vector<bool> EnabledFlags(const QTMovie& movie) {
    std::vector<bool> flags;
    for (const auto& track : movie.tracks())
        flags.push_back(track->isEnabled());
    return flags;
}

TEST(QTMovie, TakesTimeScaleAndDurationFromTheMovieHeader) {
    struct Case {
        const char* name;
        std::filesystem::path movie;
        int64_t timeScale;
        int64_t duration;
    };
    const Case cases[] = {
        {"mp4", BFrameMovie(12), 1000, 3000},
        {"mov at 600", makeMovie("scale600.mov", kTestSource + "-t 2 " + kH264 + "-movie_timescale 600"), 600,
         1200},
        {"mov at 2997", makeMovie("scale2997.mov", kTestSource + "-t 2 " + kH264 + "-movie_timescale 2997"),
         2997, 5994},
        {"mkv", BFrameMovie(12, "mkv"), 600, 1800},
        {"avi", makeMovie("plain.avi", kTestSource + "-t 2 -c:v mpeg4"), 600, 1200},
    };
    for (const auto& c : cases) {
        auto movie = OpenMovie(c.movie);
        ASSERT_TRUE(movie) << c.name;
        EXPECT_EQ(movie->timeScale(), c.timeScale) << c.name;
        EXPECT_EQ(movie->duration(), QTMakeTime(c.duration, c.timeScale)) << c.name;
    }
}

TEST(QTMovie, ListsChaptersInOrderWithTitles) {
    TemporaryFolder folder;
    auto metadata = folder / "chapters.txt";
    std::ofstream(metadata) << ";FFMETADATA1\n"
                               "[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=1500\ntitle=Opening\n"
                               "[CHAPTER]\nTIMEBASE=1/1000\nSTART=1500\nEND=2250\ntitle=Middle\n"
                               "[CHAPTER]\nTIMEBASE=1/100\nSTART=225\nEND=300\ntitle=Ünd\n";
    for (const char* extension : {"mp4", "mkv"}) {
        auto path = makeMovie(std::string("chapters.") + extension,
                              kTestSource + "-f ffmetadata -i '" + metadata.string() +
                                  "' -map 0:v -map_chapters 1 -t 3 " + kH264);
        auto movie = OpenMovie(path);
        ASSERT_TRUE(movie);
        int64_t scale = movie->timeScale();
        auto chapters = movie->chapters();
        ASSERT_EQ(chapters.size(), 3u) << extension;
        const std::pair<int64_t, const char*> expected[] = {{0, "Opening"}, {1500, "Middle"}, {2250, "Ünd"}};
        for (size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(chapters[i].startTime, QTMakeTime(scale * expected[i].first / 1000, scale))
                << extension;
            EXPECT_EQ(chapters[i].name, expected[i].second) << extension;
        }
    }
    EXPECT_TRUE(OpenMovie(BFrameMovie(12))->chapters().empty());
}

TEST(QTMovie, TakesTrackEnabledFlagsFromTrackHeaders) {
    auto oneEnabled = makeMovie("two-one-enabled.mp4", TwoPictureTracks());
    auto bothEnabled = makeMovie("two-both-enabled.mp4",
                                 TwoPictureTracks() + "-disposition:v:0 default -disposition:v:1 default");

    // The track headers as written, read independently of FFmpeg's view.
    auto headers = ReadIsoMovieSummary(readFile(oneEnabled));
    ASSERT_TRUE(headers);
    ASSERT_EQ(headers->tracks.size(), 2u);
    EXPECT_TRUE(headers->tracks[0].isEnabled());
    EXPECT_FALSE(headers->tracks[1].isEnabled());

    auto movie = OpenMovie(oneEnabled);
    ASSERT_TRUE(movie);
    EXPECT_EQ(EnabledFlags(*movie), (std::vector<bool>{true, false}));
    EXPECT_EQ(movie->tracks()[1]->bounds(), NSMakeRect(0, 0, 160, 480));
    EXPECT_EQ(movie->currentSize(), NSMakeSize(320, 240));

    movie = OpenMovie(bothEnabled);
    ASSERT_TRUE(movie);
    EXPECT_EQ(EnabledFlags(*movie), (std::vector<bool>{true, true}));
    EXPECT_EQ(movie->currentSize(), NSMakeSize(320, 240));
}

TEST(QTMovie, RefusesBytesThatAreNoMovie) {
    auto whole = readFile(BFrameMovie(12));
    std::vector<uint8_t> garbage(4096);
    for (size_t i = 0; i < garbage.size(); ++i)
        garbage[i] = uint8_t((i * 7919 + 13) >> 3);
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
    };
    const Case cases[] = {
        {"empty", {}},
        {"garbage", garbage},
        {"one byte", {0}},
        // The movie header of a file from ffmpeg comes after the media data.
        {"cut before the movie header",
         std::vector<uint8_t>(whole.begin(), whole.begin() + whole.size() / 2)},
        {"file type box only", std::vector<uint8_t>(whole.begin(), whole.begin() + 32)},
    };
    for (const auto& c : cases) {
        auto movie = QTMovie::movieWithData(NSData::dataWithVector(c.bytes));
        ASSERT_TRUE(movie.isError()) << c.name;
        const std::string& message = movie.error().message;
        ASSERT_FALSE(message.empty()) << c.name;
        EXPECT_TRUE(std::islower(static_cast<unsigned char>(message[0]))) << c.name << ": " << message;
    }
}

TEST(QTMovie, KeepsItsBytesAlive) {
    std::shared_ptr<QTMovie> movie;
    {
        auto bytes = readFile(BFrameMovie(12));
        auto opened = QTMovie::movieWithData(NSData::dataWithBytes(bytes.data(), bytes.size()));
        ASSERT_FALSE(opened.isError());
        movie = opened.releaseValue();
        std::fill(bytes.begin(), bytes.end(), 0);
    }
    auto image = movie->frameImageAtTime(QTMakeTime(1500, 1000), {NSMakeSize(32, 24)});
    EXPECT_FALSE(image.isError());
}

} // namespace
} // namespace lxkit::test
