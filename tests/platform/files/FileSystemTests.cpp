#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "platform/files/ContentType.h"
#include "platform/files/FSRef.h"
#include "platform/files/GIFImage.h"
#include "platform/files/MovieProbe.h"
#include "platform/files/NSPathUtilities.h"
#include "support/Fixtures.h"

namespace fs = std::filesystem;
using lxkit::test::TemporaryFolder;

namespace {

void writeText(const fs::path& path, const std::string& text) {
    std::ofstream(path) << text;
}

TEST(NSPathUtilities, SplitsAndJoinsLikeFoundation) {
    using Components = std::vector<std::string>;
    EXPECT_EQ(NSPathComponents("a//b/"), (Components{"a", "b", "/"}));
    EXPECT_EQ(NSPathComponents("/"), (Components{"/"}));
    EXPECT_EQ(NSPathComponents(""), Components{});

    const std::tuple<const char*, const char*, const char*, const char*> names[] = {
        // path, extension, without extension, last component
        {"archive.tar.gz", "gz", "archive.tar", "archive.tar.gz"},
        {"/a/.hidden", "", "/a/.hidden", ".hidden"},
        {"/a/b.txt/", "txt", "/a/b", "b.txt"},
        {"/", "", "/", "/"},
    };
    for (const auto& [path, extension, stem, last] : names) {
        SCOPED_TRACE(path);
        EXPECT_EQ(NSPathExtension(path), extension);
        EXPECT_EQ(NSStringByDeletingPathExtension(path), stem);
        EXPECT_EQ(NSLastPathComponent(path), last);
    }
    EXPECT_EQ(NSStringByDeletingLastPathComponent("/a/b"), "/a");
    EXPECT_EQ(NSStringByDeletingLastPathComponent("/a"), "/");
    EXPECT_EQ(NSStringByDeletingLastPathComponent("a"), "");
    EXPECT_EQ(NSStringByAppendingPathComponent("/", "x"), "/x");
    EXPECT_EQ(NSStringByAppendingPathComponent("/a/", "/x"), "/a/x");
    EXPECT_EQ(NSStandardizedAbsolutePath("/a/./b/../c//d/"), "/a/c/d");
    EXPECT_TRUE(NSPathIsInside("/data", "/data/"));
    EXPECT_EQ(NSStringCharacterCount("\u2002\u3009a"), 3u);
    EXPECT_EQ(NSStringLowercase("JPEG\xC3\x89"), "jpeg\xC3\xA9");
}

TEST(FSRef, NamesExistingItemsWithResolvedFolders) {
    TemporaryFolder folder;
    fs::create_directories(folder / "real");
    writeText(folder / "real" / "file.txt", "x");
    fs::create_directory_symlink(folder / "real", folder / "linked-folder");
    fs::create_symlink(folder / "real" / "file.txt", folder / "link");
    fs::create_symlink(folder / "gone", folder / "dangling");

    const std::string realFolder = fs::canonical(folder.path()).string();
    FSRef ref;
    ASSERT_TRUE(FSPathMakeRef((folder / "linked-folder" / "file.txt").string(), &ref));
    EXPECT_EQ(ref.path, realFolder + "/real/file.txt");
    ASSERT_TRUE(FSPathMakeRef((folder / "link").string(), &ref));
    EXPECT_EQ(ref.path, realFolder + "/link") << "a reference to a link names the link";
    EXPECT_TRUE(FSPathMakeRef((folder / "dangling").string(), &ref));
    EXPECT_FALSE(FSPathMakeRef((folder / "missing").string(), &ref));
    EXPECT_FALSE(FSPathMakeRef("", &ref));
}

TEST(FSRef, CatalogInfoGivesAllocatedSpace) {
    TemporaryFolder folder;
    writeText(folder / "one-byte", "x");
    FSRef ref;
    ASSERT_TRUE(FSPathMakeRef((folder / "one-byte").string(), &ref));
    const auto info = FSGetCatalogInfo(ref);
    ASSERT_TRUE(info);
    EXPECT_GT(info->volume, 0);
    // One byte occupies at least a whole block on any disk file system; tmpfs has pages.
    EXPECT_GE(info->physicalSize, 512u);
    EXPECT_EQ(info->physicalSize % 512, 0u);
    fs::remove(folder / "one-byte");
    EXPECT_EQ(FSGetCatalogInfo(ref), std::nullopt);
}

TEST(GIFImageCount, CountsFramesWithoutDecoding) {
    TemporaryFolder folder;
    const fs::path three = folder / "three.gif";
    ASSERT_EQ(lxkit::test::runCommand("ffmpeg -nostdin -loglevel error -f lavfi -i testsrc=size=16x16:rate=5 "
                                      "-frames:v 3 '" +
                                      three.string() + "'"),
              0);
    EXPECT_EQ(GIFImageCount(three.string(), SIZE_MAX), 3u);
    EXPECT_EQ(GIFImageCount(three.string(), 2), 2u);
    writeText(folder / "text.gif", "plain text, not an image");
    EXPECT_EQ(GIFImageCount((folder / "text.gif").string(), SIZE_MAX), std::nullopt);
}

TEST(ContentTypes, NameDecidesUnlessSniffed) {
    TemporaryFolder folder;
    writeText(folder / "notes", "plain words, nothing else\n");
    // The name alone decides: the bytes are looked at only when asked to sniff.
    EXPECT_EQ(LSCopyItemContentType((folder / "notes").string()), "public.data");
    const auto text = CGImageSourceTypeAtPath((folder / "notes").string());
    ASSERT_TRUE(text) << "a readable file opens";
    EXPECT_EQ(text->type, std::nullopt);
    EXPECT_EQ(CGImageSourceTypeAtPath((folder / "missing").string()), std::nullopt);
    EXPECT_EQ(SniffedContentTypeAtPath((folder / "notes").string()), "public.plain-text");
}

TEST(MovieProbe, OpensMoviesOnly) {
    const fs::path movie = lxkit::test::makeMovie(
        "probe.mp4", "-f lavfi -i testsrc=size=32x32:rate=10:duration=0.5 -pix_fmt yuv420p");
    EXPECT_TRUE(QTMovieCanInitWithPath(movie.string()));
    TemporaryFolder folder;
    fs::copy_file(movie, folder / "movie");
    EXPECT_TRUE(QTMovieCanInitWithPath((folder / "movie").string())) << "judged by content, not name";
    writeText(folder / "notes.mp4", "plain words, nothing else\n");
    EXPECT_FALSE(QTMovieCanInitWithPath((folder / "notes.mp4").string()));
}

} // namespace
