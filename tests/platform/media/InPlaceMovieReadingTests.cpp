// A movie read in place must tell exactly what the same bytes in memory tell: the ISO
// summary found by walking the file's box headers, and every fact and frame of the
// movie opened from it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "BoxWriter.h"
#include "MovieFixtures.h"
#include "platform/media/IsoBoxReader.h"
#include "platform/media/QTMovie.h"

namespace lxkit::test {
namespace {

NSData InPlace(const std::filesystem::path& path) {
    auto data = NSData::dataWithContentsOfFile(path.string());
    EXPECT_FALSE(data.isError()) << path << ": " << (data.isError() ? data.error().message : "");
    EXPECT_FALSE(data.isError() || data.value().isInMemory()) << path;
    return data.isError() ? NSData() : data.releaseValue();
}

void ExpectSameSummary(const std::optional<IsoMovieSummary>& memory,
                       const std::optional<IsoMovieSummary>& file, const std::string& name) {
    ASSERT_EQ(memory.has_value(), file.has_value()) << name;
    if (!memory)
        return;
    ASSERT_EQ(memory->header.has_value(), file->header.has_value()) << name;
    if (memory->header) {
        EXPECT_EQ(memory->header->timeScale, file->header->timeScale) << name;
        EXPECT_EQ(memory->header->duration, file->header->duration) << name;
        EXPECT_EQ(memory->header->posterTime, file->header->posterTime) << name;
    }
    ASSERT_EQ(memory->tracks.size(), file->tracks.size()) << name;
    for (size_t i = 0; i < memory->tracks.size(); ++i) {
        EXPECT_EQ(memory->tracks[i].trackID, file->tracks[i].trackID) << name;
        EXPECT_EQ(memory->tracks[i].flags, file->tracks[i].flags) << name;
    }
    ASSERT_EQ(memory->trackMedia.size(), file->trackMedia.size()) << name;
    for (size_t i = 0; i < memory->trackMedia.size(); ++i) {
        EXPECT_EQ(memory->trackMedia[i].handlerType, file->trackMedia[i].handlerType) << name;
        EXPECT_EQ(memory->trackMedia[i].sampleCount, file->trackMedia[i].sampleCount) << name;
        EXPECT_EQ(memory->trackMedia[i].duration, file->trackMedia[i].duration) << name;
        EXPECT_EQ(memory->trackMedia[i].name, file->trackMedia[i].name) << name;
    }
    EXPECT_EQ(memory->movieBox.offset, file->movieBox.offset) << name;
    EXPECT_EQ(memory->movieBox.payloadOffset, file->movieBox.payloadOffset) << name;
    EXPECT_TRUE(std::ranges::equal(memory->movieBox.payload, file->movieBox.payload)) << name;
}

TEST(InPlaceMovieReading, TheBoxWalkOverAFileFindsWhatTheWalkOverMemoryFinds) {
    auto plain = readFile(BFrameMovie(12));
    auto faststart =
        readFile(makeMovie("faststart.mp4", kTestSource + "-t 1 " + kH264 + "-movflags +faststart"));
    auto quickTime = readFile(makeMovie("inplace.mov", kTestSource + "-t 1 " + kH264));
    auto movieBox = IsoBoxReader(plain).find(FourCC("moov"));
    ASSERT_TRUE(movieBox);
    Bytes moovOnly(plain.begin() + ptrdiff_t(movieBox->offset),
                   plain.begin() + ptrdiff_t(movieBox->payloadOffset + movieBox->payload.size()));
    // Thousands of small boxes before the index: the walk crosses many read windows.
    Bytes manySmall;
    for (int i = 0; i < 20000; ++i) {
        Bytes box = Box("free", Bytes(size_t(i % 7), 0));
        manySmall.insert(manySmall.end(), box.begin(), box.end());
    }
    Bytes largeSize = {0, 0, 0, 1, 'f', 'r', 'e', 'e'};
    PutBigEndian(largeSize, 16 + 3, 8);
    largeSize.insert(largeSize.end(), {1, 2, 3});
    Bytes uuid = Concat({{0, 0, 0, 24 + 5, 'u', 'u', 'i', 'd'}, Bytes(16, 0xAB), Bytes(5, 1)});
    Bytes toTheEnd = Concat({Box("ftyp", {'i', 's', 'o', 'm'}), {0, 0, 0, 0, 'm', 'o', 'o', 'v'}});
    toTheEnd.insert(toTheEnd.end(), moovOnly.begin() + 8, moovOnly.end());

    const std::pair<const char*, Bytes> cases[] = {
        {"mp4, index at the end", plain},
        {"mp4, index first", faststart},
        {"QuickTime", quickTime},
        {"many small boxes first", Concat({manySmall, moovOnly})},
        {"64-bit size and uuid boxes first", Concat({largeSize, uuid, moovOnly})},
        {"index box sized to the end", toTheEnd},
        {"index cut short", Bytes(plain.begin(), plain.end() - 100)},
        {"a box larger than the file first", Concat({{0x7F, 0, 0, 0, 'm', 'd', 'a', 't'}, moovOnly})},
        {"fewer than eight bytes", {0, 0, 0}},
        {"no index", Box("ftyp", {'i', 's', 'o', 'm'})},
    };
    TemporaryFolder folder;
    for (const auto& [name, bytes] : cases) {
        auto path = folder / "movie.bin";
        writeFile(path, bytes);
        auto memory = ReadIsoMovieSummary(NSData::dataWithVector(bytes));
        auto file = ReadIsoMovieSummary(InPlace(path));
        ExpectSameSummary(memory, file, name);
        ExpectSameSummary(ReadIsoMovieSummary(std::span<const uint8_t>(bytes)), file, name);
    }
}

TEST(InPlaceMovieReading, AMovieOpenedInPlaceTellsAndShowsWhatItsBytesDo) {
    const std::pair<const char*, std::filesystem::path> movies[] = {
        {"mp4 with B-frames", BFrameMovie(12)},
        {"mkv", BFrameMovie(12, "mkv")},
        {"rotated", RotatedMovie(90)},
        {"sample with chapters and metadata", sampleMovie()},
    };
    for (const auto& [name, path] : movies) {
        auto fromMemory = OpenMovie(path);
        auto opened = QTMovie::movieWithData(InPlace(path));
        ASSERT_FALSE(opened.isError()) << name << ": " << opened.error().message;
        auto fromFile = opened.releaseValue();
        ASSERT_TRUE(fromMemory);
        EXPECT_EQ(fromFile->timeScale(), fromMemory->timeScale()) << name;
        EXPECT_EQ(fromFile->duration(), fromMemory->duration()) << name;
        EXPECT_EQ(fromFile->posterTime(), fromMemory->posterTime()) << name;
        EXPECT_EQ(fromFile->chapters().size(), fromMemory->chapters().size()) << name;
        EXPECT_EQ(fromFile->availableMetadataFormats(), fromMemory->availableMetadataFormats()) << name;
        ASSERT_EQ(fromFile->tracks().size(), fromMemory->tracks().size()) << name;
        for (size_t i = 0; i < fromFile->tracks().size(); ++i)
            EXPECT_EQ(fromFile->tracks()[i]->isEnabled(), fromMemory->tracks()[i]->isEnabled()) << name;
        for (int64_t ticks :
             {int64_t(0), fromMemory->duration().timeValue / 3, fromMemory->duration().timeValue - 1}) {
            QTTime time = QTMakeTime(ticks, fromMemory->timeScale());
            auto a = fromMemory->frameImageAtTime(time, QTFrameImageAttributes(NSMakeSize(160, 120)));
            auto b = fromFile->frameImageAtTime(time, QTFrameImageAttributes(NSMakeSize(160, 120)));
            ASSERT_EQ(a.isError(), b.isError()) << name << " at " << ticks;
            if (!a.isError()) {
                EXPECT_EQ(ImageRGB(*a.value()), ImageRGB(*b.value())) << name << " at " << ticks;
            }
        }
    }
}

} // namespace
} // namespace lxkit::test
