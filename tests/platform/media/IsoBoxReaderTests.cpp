#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "BoxWriter.h"
#include "platform/media/IsoBoxReader.h"

namespace {

using namespace lxkit::test;

void PutZeros(Bytes& out, size_t count) {
    out.resize(out.size() + count, 0);
}

Bytes LargeBox(const std::string& type, const Bytes& payload) {
    Bytes out;
    PutBigEndian(out, 1, 4);
    out.insert(out.end(), type.begin(), type.end());
    PutBigEndian(out, payload.size() + 16, 8);
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

Bytes MovieHeaderV0(uint32_t scale, uint32_t duration, uint32_t poster) {
    Bytes out;
    PutBigEndian(out, 0, 4); // version 0, flags
    PutZeros(out, 8);        // creation, modification
    PutBigEndian(out, scale, 4);
    PutBigEndian(out, duration, 4);
    out.resize(out.size() + 4 + 2 + 10 + 36 + 4 + 4, 0);
    PutBigEndian(out, poster, 4);
    return out;
}

Bytes MovieHeaderV1(uint32_t scale, uint64_t duration) {
    Bytes out;
    PutBigEndian(out, 0x01000000, 4);
    PutZeros(out, 16);
    PutBigEndian(out, scale, 4);
    PutBigEndian(out, duration, 8);
    return out; // truncated after the duration: no poster time
}

Bytes TrackHeader(int version, uint32_t flags, uint32_t trackID) {
    Bytes out;
    PutBigEndian(out, (uint32_t(version) << 24) | flags, 4);
    PutZeros(out, version == 1 ? 16 : 8);
    PutBigEndian(out, trackID, 4);
    out.resize(out.size() + 60, 0);
    return out;
}

std::vector<uint32_t> Types(const std::vector<IsoBox>& boxes) {
    std::vector<uint32_t> types;
    for (const auto& box : boxes)
        types.push_back(box.type);
    return types;
}

TEST(IsoBoxReader, WalksBoxesOfEverySizeForm) {
    Bytes bytes = Concat({Box("ftyp", Bytes(4, 'a')), LargeBox("mdat", Bytes(20, 0)), Box("free", {})});
    // A last box of size 0 runs to the end of the buffer.
    Bytes tail = {0, 0, 0, 0, 'm', 'o', 'o', 'v', 1, 2, 3};
    bytes.insert(bytes.end(), tail.begin(), tail.end());

    auto boxes = IsoBoxReader(bytes).boxes();
    ASSERT_EQ(Types(boxes),
              (std::vector<uint32_t>{FourCC("ftyp"), FourCC("mdat"), FourCC("free"), FourCC("moov")}));
    EXPECT_EQ(boxes[1].payload.size(), 20u);
    EXPECT_EQ(boxes[1].payloadOffset, 12u + 16u);
    EXPECT_EQ(boxes[2].payload.size(), 0u);
    EXPECT_EQ(boxes[3].payload.size(), 3u);
    EXPECT_EQ(boxes[3].payload[2], 3);
}

TEST(IsoBoxReader, StopsAtBoxesThatDoNotFit) {
    struct Case {
        const char* name;
        Bytes bytes;
        size_t expectedBoxes;
    };
    Bytes good = Box("free", Bytes(4, 0));
    Bytes tooLarge = good;
    tooLarge[3] = 200; // claims more than is there
    Bytes tooSmall = good;
    tooSmall[3] = 7;                                                  // smaller than its own header
    Bytes largeTruncated = {0, 0, 0, 1, 'm', 'd', 'a', 't', 0, 0, 0}; // 64-bit size cut short
    Bytes largeHuge = {0, 0, 0, 1, 'm', 'd', 'a', 't', 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    Bytes uuidShort = Box("uuid", Bytes(8, 0)); // no room for the 16-byte user type
    const Case cases[] = {
        {"empty", {}, 0},
        {"header cut short", Bytes{0, 0, 0}, 0},
        {"size past the end", Concat({good, tooLarge}), 1},
        {"size below the header", Concat({good, tooSmall, good}), 1},
        {"64-bit size cut short", Concat({good, largeTruncated}), 1},
        {"64-bit size past the end", Concat({good, largeHuge}), 1},
        {"uuid without user type", uuidShort, 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(IsoBoxReader(c.bytes).boxes().size(), c.expectedBoxes) << c.name;
}

TEST(IsoBoxReader, FindsPathsAndFullBoxChildren) {
    Bytes meta = Concat({Bytes{0, 0, 0, 0}, Box("hdlr", Bytes(8, 1)), Box("ilst", Bytes(2, 2))});
    Bytes file = Concat({Box("ftyp", {}), Box("moov", Concat({Box("udta", Box("meta", meta))}))});
    IsoBoxReader reader(file);
    auto metaBox = reader.findPath({"moov", "udta", "meta"});
    ASSERT_TRUE(metaBox);
    EXPECT_FALSE(reader.findPath({"moov", "meta"}));
    EXPECT_FALSE(reader.findPath({}));
    // Read as a plain container, version and flags read as a size-0 box that swallows
    // the real children.
    EXPECT_FALSE(IsoBoxReader::childrenOf(*metaBox).find(FourCC("hdlr")));
    auto children = IsoBoxReader::childrenOf(*metaBox, 4).boxes();
    ASSERT_EQ(Types(children), (std::vector<uint32_t>{FourCC("hdlr"), FourCC("ilst")}));
    // Offsets count from the start of the file, also for nested boxes.
    EXPECT_EQ(children[1].offset, 8u + 8 + 8 + 8 + 4 + 16);
    EXPECT_EQ(file[children[1].offset + 4], 'i');
}

TEST(IsoBoxReader, RefusesPathsDeeperThanTheLimit) {
    Bytes nested = Box("free", {});
    for (int i = 0; i < 20; ++i)
        nested = Box("abcd", nested);
    IsoBoxReader reader(nested);
    EXPECT_TRUE(reader.findPath({"abcd", "abcd", "abcd"}));
    EXPECT_FALSE(reader.findPath({"abcd", "abcd", "abcd", "abcd", "abcd", "abcd", "abcd", "abcd", "abcd",
                                  "abcd", "abcd", "abcd", "abcd", "abcd", "abcd", "abcd", "abcd"}));
}

TEST(IsoBoxReader, ReadsMovieHeadersOfBothVersions) {
    using Fields = std::tuple<uint32_t, uint64_t, std::optional<int64_t>>;
    const std::pair<Bytes, Fields> cases[] = {
        {MovieHeaderV0(600, 6000, 1200), {600, 6000, 1200}},
        {MovieHeaderV1(90000, 0x1'0000'0000ull), {90000, 0x1'0000'0000ull, std::nullopt}},
        {MovieHeaderV0(1000, 0xFFFFFFFF, 0), {1000, 0, 0}}, // all ones: unknown duration
    };
    for (const auto& [bytes, fields] : cases) {
        auto header = ReadMovieHeader(bytes);
        ASSERT_TRUE(header);
        EXPECT_EQ(Fields(header->timeScale, header->duration, header->posterTime), fields);
    }

    Bytes cut = MovieHeaderV0(600, 6000, 0);
    cut.resize(19);
    EXPECT_FALSE(ReadMovieHeader(cut));
    Bytes version2 = MovieHeaderV0(600, 6000, 0);
    version2[0] = 2;
    EXPECT_FALSE(ReadMovieHeader(version2));
}

TEST(IsoBoxReader, SummarisesMovieAndTrackHeaders) {
    Bytes trak1 = Box("trak", Concat({Box("tkhd", TrackHeader(0, 0x3, 1)), Box("mdia", {})}));
    Bytes trak2 = Box("trak", Box("tkhd", TrackHeader(1, 0x2, 7)));
    Bytes brokenTrak = Box("trak", Box("tkhd", Bytes(6, 0)));
    Bytes file =
        Concat({Box("ftyp", {}), Box("mdat", Bytes(32, 0)),
                Box("moov", Concat({Box("mvhd", MovieHeaderV0(2997, 29970, 0)), trak1, brokenTrak, trak2}))});
    auto summary = ReadIsoMovieSummary(file);
    ASSERT_TRUE(summary);
    ASSERT_TRUE(summary->header);
    EXPECT_EQ(summary->header->timeScale, 2997u);
    ASSERT_EQ(summary->tracks.size(), 2u);
    EXPECT_EQ(summary->tracks[0].trackID, 1u);
    EXPECT_TRUE(summary->tracks[0].isEnabled());
    EXPECT_EQ(summary->tracks[1].trackID, 7u);
    EXPECT_FALSE(summary->tracks[1].isEnabled());
    EXPECT_EQ(summary->movieBox.type, FourCC("moov"));

    EXPECT_FALSE(ReadIsoMovieSummary(Box("ftyp", {})));
}

} // namespace
