#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>

#include <gtest/gtest.h>

#include "MovieFixtures.h"
#include "platform/media/QTMovie.h"

namespace lxkit::test {
namespace {

constexpr double kMinimumPSNR = 35.0;

/// Grabs `time` and compares it with the ffmpeg command line's frame. The command line
/// shows the first frame at or after a time, so it is asked for the start of the frame
/// on screen at `time` (25 fps movies here, so frame k starts at k / 25 s).
void ExpectFrameMatches(QTMovie& movie, const std::filesystem::path& path, QTTime time, PixelSize size,
                        std::map<int64_t, std::vector<uint8_t>>& references, const std::string& options = "",
                        std::vector<QTTime> upcoming = {}) {
    int64_t frame = time.timeValue * 25 / time.timeScale;
    auto& reference = references[frame];
    if (reference.empty())
        reference =
            ReferenceFrame(path, std::to_string(double(frame) / 25.0), size.width, size.height, options);
    auto image = movie.frameImageAtTime(time, {NSMakeSize(size.width, size.height), std::move(upcoming)});
    ASSERT_FALSE(image.isError()) << QTStringFromTime(time) << ": " << image.error().message;
    ASSERT_TRUE(image.value());
    EXPECT_EQ(image.value()->size(), NSMakeSize(size.width, size.height));
    ASSERT_EQ(image.value()->bitmap().pixelSize(), size);
    double quality = psnr(ImageRGB(*image.value()), reference);
    EXPECT_GE(quality, kMinimumPSNR) << path.filename() << " at " << QTStringFromTime(time) << " (frame "
                                     << frame << ")";
}

/// The times to check, in the movie's time scale: the start, just after it, frame
/// boundaries, a run of consecutive frames (so B-frames are among them), between
/// frames, the last frame, and just before the end.
std::vector<QTTime> TimesToCheck(const QTMovie& movie) {
    int64_t scale = movie.timeScale();
    int64_t duration = movie.duration().timeValue;
    std::vector<int64_t> values = {0, scale / 50, scale, scale + scale / 25 - 1};
    for (int k = 0; k < 6; ++k)
        values.push_back(scale * (40 + k) / 25);
    values.push_back(scale * 74 / 25);
    values.push_back(duration - 6);
    values.push_back(duration - 1);
    std::vector<QTTime> times;
    for (int64_t value : values)
        times.push_back(QTMakeTime(value, scale));
    return times;
}

TEST(FrameImage, MatchesTheCommandLineAtEveryKindOfTime) {
    const std::filesystem::path movies[] = {BFrameMovie(12), BFrameMovie(250), BFrameMovie(12, "mkv")};
    for (const auto& path : movies) {
        auto movie = OpenMovie(path);
        ASSERT_TRUE(movie);
        std::map<int64_t, std::vector<uint8_t>> references;
        auto ascending = TimesToCheck(*movie);
        auto descending = ascending;
        std::reverse(descending.begin(), descending.end());
        auto shuffled = ascending;
        std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
        // Ascending grabs decode on; descending and shuffled ones seek back. Told what
        // comes next, the decoder stops after a frame when the next needs a seek; told
        // wrongly, it must still be exact.
        struct Order {
            const std::vector<QTTime>& times;
            const std::vector<QTTime>* hints;
        };
        const Order orders[] = {{ascending, nullptr},     {descending, nullptr},     {shuffled, nullptr},
                                {ascending, &ascending},  {descending, &descending}, {shuffled, &shuffled},
                                {ascending, &descending}, {shuffled, &ascending}};
        for (const Order& order : orders) {
            for (size_t i = 0; i < order.times.size(); ++i) {
                std::vector<QTTime> upcoming;
                for (size_t ahead = i + 1; order.hints && ahead < order.hints->size() && ahead <= i + 2;
                     ++ahead)
                    upcoming.push_back((*order.hints)[ahead]);
                ExpectFrameMatches(*movie, path, order.times[i], {320, 240}, references, "", upcoming);
            }
        }
        const auto& times = shuffled;
        // A fresh movie whose first grab lies deep inside.
        auto fresh = OpenMovie(path);
        ExpectFrameMatches(*fresh, path, times.front(), {320, 240}, references);
    }
}

TEST(FrameImage, ScalesToExactlyTheRequestedSize) {
    auto path = BFrameMovie(12);
    auto movie = OpenMovie(path);
    ASSERT_TRUE(movie);
    std::map<int64_t, std::vector<uint8_t>> small, stretched;
    ExpectFrameMatches(*movie, path, QTMakeTime(1400, 1000), {160, 120}, small);
    ExpectFrameMatches(*movie, path, QTMakeTime(1400, 1000), {400, 100}, stretched);
    // Point sizes with fractions round to whole pixels, and the image keeps the points.
    auto image = movie->frameImageAtTime(QTMakeTime(1400, 1000), {NSMakeSize(99.6, 50.2)});
    ASSERT_FALSE(image.isError());
    EXPECT_EQ(image.value()->bitmap().pixelSize(), (PixelSize{100, 50}));
    EXPECT_EQ(image.value()->size(), NSMakeSize(99.6, 50.2));
    // Without a size, the movie's current size.
    movie->setCurrentSize(NSMakeSize(64, 48));
    image = movie->frameImageAtTime(QTMakeTime(0, 1000), {});
    ASSERT_FALSE(image.isError());
    EXPECT_EQ(image.value()->bitmap().pixelSize(), (PixelSize{64, 48}));
}

TEST(FrameImage, GivesNothingOutsideTheMovieOrWithoutPixels) {
    auto movie = OpenMovie(BFrameMovie(12));
    ASSERT_TRUE(movie);
    QTTime duration = movie->duration();
    struct Case {
        const char* name;
        QTTime time;
        NSSize size;
    };
    const Case cases[] = {
        {"at the end", duration, NSMakeSize(32, 24)},
        {"past the end", QTMakeTime(duration.timeValue + 6, duration.timeScale), NSMakeSize(32, 24)},
        {"at the end in another scale", QTMakeTime(1800, 600), NSMakeSize(32, 24)},
        {"before the start", QTMakeTime(-1, 1000), NSMakeSize(32, 24)},
        {"a time without scale", QTMakeTime(5, 0), NSMakeSize(32, 24)},
        {"zero size", QTMakeTime(0, 1000), NSMakeSize(0, 0)},
        {"no height", QTMakeTime(0, 1000), NSMakeSize(32, 0.4)},
        {"negative size", QTMakeTime(0, 1000), NSMakeSize(-32, -24)},
        {"over the cap", QTMakeTime(0, 1000), NSMakeSize(20000, 20)},
    };
    for (const auto& c : cases) {
        auto image = movie->frameImageAtTime(c.time, {c.size});
        EXPECT_TRUE(image.isError()) << c.name;
    }
    // Just inside the end, in a finer scale, there is still a picture; the all-zero
    // time is the start.
    EXPECT_FALSE(movie->frameImageAtTime(QTMakeTime(2999999, 1000000), {NSMakeSize(32, 24)}).isError());
    EXPECT_FALSE(movie->frameImageAtTime(QTZeroTime, {NSMakeSize(32, 24)}).isError());

    auto sound = OpenMovie(makeMovie("sound.m4a", "-f lavfi -i sine=frequency=440 -t 1 -c:a aac"));
    ASSERT_TRUE(sound);
    EXPECT_TRUE(sound->frameImageAtTime(QTMakeTime(0, sound->timeScale()), {NSMakeSize(32, 24)}).isError());
}

TEST(FrameImage, TurnsAndStretchesLikeThePlayer) {
    struct Case {
        std::filesystem::path movie;
        std::optional<NSSize> shown; // the track's bounds and the movie's first size
        PixelSize size;
    };
    const Case cases[] = {
        {RotatedMovie(90), NSMakeSize(240, 320), {240, 320}},
        {RotatedMovie(270), NSMakeSize(240, 320), {120, 160}},
        {RotatedMovie(180), NSMakeSize(320, 240), {320, 240}},
        {makeMovie("anamorphic.mp4", kTestSource + "-t 1 -vf setsar=2 " + kH264),
         NSMakeSize(640, 240),
         {640, 240}},
        {makeMovie("anamorphic-narrow.mkv", kTestSource + "-t 1 -vf setsar=1/2 " + kH264),
         NSMakeSize(160, 240),
         {160, 240}},
        // 4:2:2 changes shape under a quarter turn, so it is made 4:4:4 first. The
        // rotation is set on a copy: ffmpeg drops it when it encodes in the same run.
        {makeMovie(
             "rotated422.mov",
             "-i '" +
                 makeMovie("prores422.mov", kTestSource + "-t 1 -c:v prores -pix_fmt yuv422p10le").string() +
                 "' -c copy -metadata:s:v:0 rotate=270"),
         NSMakeSize(240, 320),
         {240, 320}},
    };
    for (const auto& c : cases) {
        auto movie = OpenMovie(c.movie);
        ASSERT_TRUE(movie);
        if (c.shown) {
            EXPECT_EQ(movie->tracks()[0]->bounds(), NSMakeRect(0, 0, c.shown->width, c.shown->height))
                << c.movie;
            EXPECT_EQ(movie->currentSize(), c.shown) << c.movie;
        }
        std::map<int64_t, std::vector<uint8_t>> references;
        ExpectFrameMatches(*movie, c.movie, QTMakeTime(480, 1000), c.size, references);
    }
}

/// Every pixel of `image` opaque and within a few levels of `colour` (RGB): a solid movie
/// gives a solid frame at any size (up to the scaler's ringing on steep reductions, which
/// the command line shows too), and a pixel the scaler never wrote stands out.
void ExpectSolid(const NSImage& image, const std::vector<uint8_t>& colour, const std::string& what) {
    const NSBitmapImageRep& bitmap = image.bitmap();
    for (int y = 0; y < bitmap.pixelsHigh(); ++y) {
        auto row =
            reinterpret_cast<const uint32_t*>(bitmap.bitmapData() + size_t(y) * size_t(bitmap.bytesPerRow()));
        for (int x = 0; x < bitmap.pixelsWide(); ++x) {
            uint32_t pixel = row[x];
            int channels[4] = {int(pixel >> 24), int(pixel >> 16 & 0xFF), int(pixel >> 8 & 0xFF),
                               int(pixel & 0xFF)};
            bool near = channels[0] == 255;
            for (int c = 0; c < 3; ++c)
                near = near && std::abs(channels[c + 1] - int(colour[size_t(c)])) <= 10;
            if (!near) {
                ADD_FAILURE() << what << ": pixel (" << x << ", " << y << ") is ARGB " << std::hex << pixel;
                return;
            }
        }
    }
}

// The scaler writes whole vectors at a time: into a bitmap laid out only for the pixels
// asked for, narrow frames (2 x 5, 2 x 3…) overran the end of the buffer.
TEST(FrameImage, EverySmallAndExtremeSizeIsExactAndStaysInItsBitmap) {
    const std::string solid = "-f lavfi -i color=c=0x3070C0:size=64x48:rate=25 -t 0.2 " + kH264;
    auto plain = makeMovie("solid.mp4", solid);
    auto colour = ReferenceFrame(plain, "0", 1, 1);
    ASSERT_EQ(colour.size(), 3u);
    std::vector<PixelSize> sizes;
    for (int width = 1; width <= 17; ++width)
        for (int height = 1; height <= 17; ++height)
            sizes.push_back({width, height});
    for (PixelSize extreme : {PixelSize{1, 4000}, PixelSize{4000, 1}, PixelSize{2, 4001}, PixelSize{4001, 2},
                              PixelSize{3, 16384}, PixelSize{16384, 3}})
        sizes.push_back(extreme);
    for (int degrees : {0, 90, 180, 270}) {
        auto path = degrees == 0
                        ? plain
                        : makeMovie("solid" + std::to_string(degrees) + ".mp4",
                                    "-i '" + plain.string() +
                                        "' -c copy -metadata:s:v:0 rotate=" + std::to_string(degrees));
        auto movie = OpenMovie(path);
        ASSERT_TRUE(movie);
        for (PixelSize size : sizes) {
            auto image = movie->frameImageAtTime(QTMakeTime(0, 1000), {NSMakeSize(size.width, size.height)});
            std::string what = std::to_string(size.width) + "x" + std::to_string(size.height) + " turned " +
                               std::to_string(degrees);
            ASSERT_FALSE(image.isError()) << what << ": " << image.error().message;
            ASSERT_EQ(image.value()->bitmap().pixelSize(), size) << what;
            ExpectSolid(*image.value(), colour, what);
        }
    }
    // Odd sizes of a detailed picture still match the command line's own scaling.
    auto path = BFrameMovie(12);
    auto movie = OpenMovie(path);
    ASSERT_TRUE(movie);
    for (PixelSize size : {PixelSize{2, 5}, PixelSize{2, 3}, PixelSize{17, 13}, PixelSize{5, 2}}) {
        std::map<int64_t, std::vector<uint8_t>> references;
        ExpectFrameMatches(*movie, path, QTMakeTime(1400, 1000), size, references);
    }
}

TEST(FrameImage, UsesTheFirstEnabledVideoTrack) {
    auto path = makeMovie("two-one-enabled.mp4", TwoPictureTracks());
    auto movie = OpenMovie(path);
    ASSERT_TRUE(movie);
    ASSERT_EQ(movie->tracks().size(), 2u);
    std::map<int64_t, std::vector<uint8_t>> first, second;
    ExpectFrameMatches(*movie, path, QTMakeTime(400, 1000), {160, 120}, first, "-map 0:v:0");
    movie->tracks()[0]->setEnabled(false);
    movie->tracks()[1]->setEnabled(true);
    ExpectFrameMatches(*movie, path, QTMakeTime(400, 1000), {80, 240}, second, "-map 0:v:1");
    movie->tracks()[1]->setEnabled(false);
    EXPECT_TRUE(movie->frameImageAtTime(QTMakeTime(400, 1000), {NSMakeSize(80, 240)}).isError());
}

TEST(FrameImage, SurvivesHostileBytes) {
    const std::string tiny = "-f lavfi -i testsrc2=size=64x48:rate=25 -t 1 " + kH264 + "-bf 2 -g 8";
    auto original = readFile(makeMovie("tiny.mp4", tiny));
    auto mkv = readFile(makeMovie("tiny.mkv", tiny));
    std::mt19937 random(20240611);
    int opened = 0, grabbed = 0;
    for (int round = 0; round < 160; ++round) {
        auto bytes = round % 2 ? original : mkv;
        std::uniform_int_distribution<size_t> position(0, bytes.size() - 1);
        switch (round % 4) {
        case 0:
            bytes.resize(position(random));
            break;
        case 1:
        case 2:
            for (int flips = 1 + int(random() % 8); flips > 0; --flips)
                bytes[position(random)] ^= uint8_t(1u << (random() % 8));
            break;
        default:
            for (int flips = 1 + int(random() % 4); flips > 0; --flips)
                bytes[position(random)] = uint8_t(random());
            bytes.resize(bytes.size() - random() % (bytes.size() / 4));
            break;
        }
        auto movie = QTMovie::movieWithData(NSData::dataWithVector(bytes));
        if (movie.isError()) {
            EXPECT_FALSE(movie.error().message.empty());
            continue;
        }
        ++opened;
        auto& m = *movie.value();
        for (int64_t value :
             {int64_t(0), m.duration().timeValue / 2, m.duration().timeValue - 1, int64_t(0)}) {
            auto image = m.frameImageAtTime(QTMakeTime(value, m.timeScale()), {NSMakeSize(32, 24)});
            if (!image.isError()) {
                ++grabbed;
                EXPECT_EQ(image.value()->bitmap().pixelSize(), (PixelSize{32, 24}));
            }
        }
    }
    // Most damage leaves the movie readable, so the grabbing paths ran on damaged data.
    EXPECT_GT(opened, 40);
    EXPECT_GT(grabbed, 40);
}

} // namespace
} // namespace lxkit::test
