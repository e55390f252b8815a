#include <filesystem>
#include <fstream>
#include <tuple>

#include <gtest/gtest.h>

#include "foundation/NSString+LXStringFileTypes.h"
#include "platform/files/UTType.h"
#include "support/Fixtures.h"

namespace fs = std::filesystem;
using lxkit::test::TemporaryFolder;

namespace {

constexpr uint32_t kTEXT = 0x54455854;

TEST(LXStringFileTypes, CodeFormIsDecidedByLengthAndOpeningApostrophe) {
    const std::pair<const char*, uint32_t> cases[] = {
        {"'TEXT'", kTEXT},
        {"", 0},
        {"'TEXT", 0},      // five characters
        {"'TEXTX'", 0},    // seven characters
        {"'TEXTX", kTEXT}, // the closing apostrophe is not checked
        {"TEXT..", 0},
        {"'PDF '", 0x50444620},
        {"'\u00E9abc'", 0xE9616263}, // six characters in seven bytes
        {"'\u20ACabc'", 0},          // U+20AC does not fit a code byte
    };
    for (const auto& [typeString, code] : cases)
        EXPECT_EQ(LXString::OSType(typeString), code) << typeString;

    EXPECT_EQ(LXString::typeStringWithOSType(kTEXT), "'TEXT'");
    EXPECT_EQ(LXString::typeStringWithOSType(0), std::nullopt);
    EXPECT_EQ(LXString::OSType(*LXString::typeStringWithOSType(0x3867A9FF)), 0x3867A9FFu);
}

TEST(LXStringFileTypes, CodeFormConvertsOnlyThroughItsDynamicIdentifier) {
    EXPECT_EQ(LXString::fileTypeTag("'TEXT'"), "'TEXT'");
    EXPECT_EQ(LXString::fileTypeExtension("'TEXT'"), std::nullopt);
    // The whole quoted string is the tag, so even a known code stays dynamic.
    const std::string identifier = LXString::fileTypeIdentifier("'TEXT'").value_or("");
    EXPECT_TRUE(identifier.starts_with("dyn.")) << identifier;
    EXPECT_EQ(UTTypeCopyPreferredTagWithClass(identifier, UTTagClass::OSType), "'TEXT'");
    EXPECT_TRUE(LXString::fileTypeIdentifier("'x.y'")->starts_with("dyn."));
}

TEST(LXStringFileTypes, ConvertsBetweenIdentifiersExtensionsAndTags) {
    using Text = std::optional<std::string>;
    // type string, identifier, extension, tag
    const std::tuple<const char*, Text, Text, Text> cases[] = {
        {"", std::nullopt, std::nullopt, std::nullopt},
        {"public.jpeg", "public.jpeg", "jpg", "jpg"},
        {"JPEG", "public.jpeg", "JPEG", "jpg"},
        {"jpeg", "public.jpeg", "jpeg", "jpg"},
        {"PNG", "public.png", "PNG", "png"},
        {"public.tiff", "public.tiff", "tiff", "tiff"},
        {"public.folder", "public.folder", std::nullopt, "fold"}, // no extension: the bare code
        {"public.item", "public.item", std::nullopt, std::nullopt},
        {"my.file", "my.file", std::nullopt, std::nullopt}, // a point makes an identifier
    };
    for (const auto& [typeString, identifier, extension, tag] : cases) {
        SCOPED_TRACE(typeString);
        EXPECT_EQ(LXString::fileTypeIdentifier(typeString), identifier);
        EXPECT_EQ(LXString::fileTypeExtension(typeString), extension);
        EXPECT_EQ(LXString::fileTypeTag(typeString), tag);
    }
    // An unknown extension goes out and comes back through its dynamic identifier.
    const std::string dynamic = LXString::fileTypeIdentifier("LXK").value_or("");
    EXPECT_TRUE(dynamic.starts_with("dyn.")) << dynamic;
    EXPECT_EQ(LXString::fileTypeExtension(dynamic), "LXK");
    EXPECT_EQ(LXString::fileTypeTag(dynamic), "lxk");
}

TEST(LXStringFileTypes, DescribesThroughTheIdentifier) {
    const auto png = LXString::fileTypeDescription("png");
    ASSERT_TRUE(png);
    EXPECT_EQ(png, LXString::fileTypeDescription("public.png"));
    EXPECT_NE(png, LXString::fileTypeDescription("public.jpeg"));
    EXPECT_EQ(LXString::fileTypeDescription("my.file"), std::nullopt);
    EXPECT_EQ(LXString::fileTypeDescription(""), std::nullopt);
}

TEST(LXStringFileTypes, PathExtensionOrTypeGivesTheExtensionEvenWhenEmpty) {
    EXPECT_EQ(LXString::pathExtensionOrType("/a/photo.JPG"), "JPG");
    EXPECT_EQ(LXString::pathExtensionOrType("/a.d/photo"), "");
    EXPECT_EQ(LXString::pathExtensionOrType(""), "");
}

class LXStringFileContent : public ::testing::Test {
protected:
    void SetUp() override {
        for (const auto& [name, frames] : {std::pair{"photo.GIF", 1}, std::pair{"anim.gifx", 3}})
            ASSERT_EQ(lxkit::test::runCommand("ffmpeg -nostdin -loglevel error -y -f lavfi -i "
                                              "testsrc=size=16x16:rate=5 -f gif -frames:v " +
                                              std::to_string(frames) + " '" + path(name) + "'"),
                      0);
    }
    std::string copyAs(const std::string& source, const std::string& name) {
        fs::copy_file(m_folder / source, m_folder / name);
        return (m_folder / name).string();
    }
    std::string path(const std::string& name) const { return (m_folder / name).string(); }
    TemporaryFolder m_folder;
};

TEST_F(LXStringFileContent, AnimatedGIFsNeedTheLettersAndFrames) {
    EXPECT_FALSE(LXString::isAnimatedGIFAtPath(path("photo.GIF")));
    EXPECT_TRUE(LXString::isAnimatedGIFAtPath(path("anim.gifx")));
    EXPECT_TRUE(LXString::isAnimatedGIFAtPath(copyAs("anim.gifx", "anim.GIF")));
    EXPECT_FALSE(LXString::isAnimatedGIFAtPath(copyAs("anim.gifx", "anim.png")));
    EXPECT_FALSE(LXString::isAnimatedGIFAtPath(copyAs("anim.gifx", "anim")));
    std::ofstream(m_folder / "text.gif") << "words";
    EXPECT_FALSE(LXString::isAnimatedGIFAtPath(path("text.gif")));
    EXPECT_FALSE(LXString::isAnimatedGIFAtPath(path("missing.gif")));
}

TEST_F(LXStringFileContent, SniffsOnlyNamelessUnknownFiles) {
    EXPECT_EQ(LXString::fileContentIdentifier(path("photo.GIF")), "com.compuserve.gif");
    EXPECT_EQ(LXString::fileContentIdentifier(copyAs("photo.GIF", "data.bin")), "public.data");
    EXPECT_EQ(LXString::fileContentIdentifier(copyAs("photo.GIF", "data")), "com.compuserve.gif");
    EXPECT_EQ(LXString::fileContentIdentifier(copyAs("photo.GIF", "ends-in-point.")), "com.compuserve.gif");
    EXPECT_EQ(LXString::fileContentIdentifier(m_folder.path().string()), "public.folder");
    EXPECT_EQ(LXString::fileContentIdentifier(path("missing")), std::nullopt);

    // A nameless file that is no image: a readable movie has no extension to name it by,
    // and other content is unknown.
    std::ofstream(m_folder / "notes") << "plain words\n";
    EXPECT_EQ(LXString::fileContentIdentifier(path("notes")), std::nullopt);
    const fs::path movie = lxkit::test::makeMovie(
        "content.mp4", "-f lavfi -i testsrc=size=32x32:rate=10:duration=0.5 -pix_fmt yuv420p");
    fs::copy_file(movie, m_folder / "movie");
    EXPECT_EQ(LXString::fileContentIdentifier(path("movie")), std::nullopt);
    EXPECT_EQ(LXString::fileContentIdentifier(movie.string()), "public.mpeg-4");
}

} // namespace
