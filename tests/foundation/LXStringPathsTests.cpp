#include <filesystem>
#include <fstream>

#include <glib.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "foundation/NSString+LXStringPaths.h"
#include "platform/files/Places.h"
#include "support/Fixtures.h"

namespace fs = std::filesystem;
using lxkit::test::TemporaryFolder;

namespace {

void touch(const fs::path& path, const std::string& text = "x") {
    std::ofstream(path) << text;
}

TEST(LXStringPaths, RelativePathCountsStepsFromTheReceiversFolder) {
    const std::tuple<const char*, const char*, std::optional<std::string>> cases[] = {
        {"/a/b/file.txt", "/a/b/other.txt", "./other.txt"},
        {"/a/b/file.txt", "/a/c/x.txt", "../c/x.txt"},
        {"/a/b/file.txt", "/a/b/c/d.txt", "./c/d.txt"},
        {"/a/b/file.txt", "/z/y", "../../z/y"},
        {"/a/b", "/a/b/c", "c"},
        {"/a/b/file.txt", "/a/b/file.txt", std::nullopt},
        {"/a/b/file.txt", "", std::nullopt},
        {"a/b/file.txt", "/a/b/x", "/a/b/x"},
        {"", "/a", "/a"},
    };
    for (const auto& [from, to, expected] : cases)
        EXPECT_EQ(LXString::relativePathTo(from, to), expected) << from << " -> " << to;
}

TEST(LXStringPaths, TrashIsAStringTest) {
    EXPECT_TRUE(LXString::isFileAtPathInTrash("/Users/ann/.Trash/x"));
    EXPECT_TRUE(LXString::isFileAtPathInTrash("/media/ann/USB/.Trash-1000/files/a.jpg"));
    EXPECT_TRUE(LXString::isFileAtPathInTrash(UserTrashFolder() + "/files/a.jpg"));
    EXPECT_FALSE(LXString::isFileAtPathInTrash("/home/ann/Trash/a.jpg"));
    EXPECT_FALSE(LXString::isFileAtPathInTrash(".Trash/a"));
}

TEST(LXStringPaths, UniqueNamesCountBeforeTheExtension) {
    TemporaryFolder folder;
    const std::string at = folder.path().string();
    EXPECT_EQ(LXString::uniqueNameForPath("photo.jpg", at), "photo.jpg");
    touch(folder / "photo.jpg");
    EXPECT_EQ(LXString::uniqueNameForPath("photo.jpg", at), "photo-1.jpg");
    touch(folder / "photo-1.jpg");
    fs::create_directory(folder / "photo-2.jpg");
    EXPECT_EQ(LXString::uniqueNameForPath("photo.jpg", at), "photo-3.jpg");
    touch(folder / "notes");
    EXPECT_EQ(LXString::uniqueNameForPath("notes", at), "notes-1");
    touch(folder / "name.");
    EXPECT_EQ(LXString::uniqueNameForPath("name.", at), "name.-1");
}

TEST(LXStringPaths, AnswersWhatAnItemIs) {
    TemporaryFolder folder;
    fs::create_directory(folder / "sub");
    touch(folder / "sub" / "inside.txt", std::string(10000, 'x'));
    touch(folder / "file.txt");
    fs::create_directory_symlink(folder / "sub", folder / "sub-link");
    fs::create_symlink(folder / "file.txt", folder / "alias1");
    fs::create_symlink(folder / "alias1", folder / "alias2");
    fs::create_symlink(folder / "nowhere", folder / "dangling");
    const auto at = [&](const char* name) { return (folder / name).string(); };

    EXPECT_TRUE(LXString::isFolderPath(at("sub")));
    EXPECT_TRUE(LXString::isFolderPath(at("sub-link")));
    EXPECT_FALSE(LXString::isFolderPath(at("file.txt")));
    EXPECT_FALSE(LXString::isFolderPath(at("missing")));

    EXPECT_EQ(LXString::resolvedPath(at("alias2")), fs::canonical(folder / "file.txt").string());
    EXPECT_EQ(LXString::resolvedPath(at("file.txt")), at("file.txt"));
    EXPECT_EQ(LXString::resolvedPath(at("dangling")), at("dangling"));
    EXPECT_EQ(LXString::resolvedPath(at("missing")), at("missing"));

    EXPECT_EQ(LXString::sizeOfFileAtPath(at("sub")), 0u);
    EXPECT_EQ(LXString::sizeOfFileAtPath(at("missing")), 0u);
    EXPECT_GE(LXString::sizeOfFileAtPath(at("sub/inside.txt")), 10000u);
    // Allocated space, not length: a sparse file of 64 MiB occupies almost nothing.
    fs::resize_file(folder / "file.txt", 64 << 20);
    EXPECT_LT(LXString::sizeOfFileAtPath(at("file.txt")), 1u << 20);

    EXPECT_FALSE(LXString::isTimeMachineVolumePath(folder.path().string()));
    touch(folder / "Backups.backupdb");
    EXPECT_TRUE(LXString::isTimeMachineVolumePath(folder.path().string()));

    EXPECT_EQ(LXString::pathWithFSRef(nullptr), std::nullopt);
}

TEST(LXStringPaths, HiddenItemsAreInvisible) {
    TemporaryFolder folder;
    for (const char* name : {"shown.txt", ".dotted", "listed.txt"})
        touch(folder / name);
    touch(folder / ".hidden", "listed.txt\n");
    for (const auto& [name, visible] : {std::pair{"shown.txt", true}, std::pair{".dotted", false},
                                        std::pair{"listed.txt", false}, std::pair{"missing", true}})
        EXPECT_EQ(LXString::isVisibleFilePath((folder / name).string()), visible) << name;
    EXPECT_TRUE(LXString::isVisibleFilePath(""));
}

TEST(LXStringPaths, TargetsAcceptWhatTheyHandle) {
    TemporaryFolder folder;
    touch(folder / "picture.png");
    touch(folder / "notes.txt");
    touch(folder / "viewer.desktop", "[Desktop Entry]\nType=Application\nName=Viewer\nExec=true %f\n"
                                     "MimeType=image/png;image/jpeg;\n");
    const auto at = [&](const char* name) { return (folder / name).string(); };
    EXPECT_TRUE(LXString::pathCanAcceptPath(at("viewer.desktop"), at("picture.png")));
    EXPECT_FALSE(LXString::pathCanAcceptPath(at("viewer.desktop"), at("notes.txt")));
    EXPECT_TRUE(LXString::pathCanAcceptPath(folder.path().string(), at("notes.txt")));
    EXPECT_FALSE(LXString::pathCanAcceptPath(at("notes.txt"), at("picture.png")));
    EXPECT_FALSE(LXString::pathCanAcceptPath(at("viewer.desktop"), at("missing.png")));
    EXPECT_FALSE(LXString::pathCanAcceptPath(at("missing"), at("picture.png")));
    if (geteuid() != 0) {
        fs::create_directory(folder / "locked");
        fs::permissions(folder / "locked", fs::perms::owner_read | fs::perms::owner_exec);
        EXPECT_FALSE(LXString::pathCanAcceptPath(at("locked"), at("notes.txt")));
    }
}

TEST(LXStringPaths, StandardDirectoriesAreTheXDGOnes) {
    EXPECT_EQ(LXString::pathForStandardUserDirectory(13), g_get_user_cache_dir());
    EXPECT_EQ(LXString::pathForStandardUserDirectory(14), g_get_user_data_dir());
    EXPECT_EQ(LXString::pathForStandardUserDirectory(102), UserTrashFolder());
    const char* pictures = g_get_user_special_dir(G_USER_DIRECTORY_PICTURES);
    EXPECT_EQ(LXString::pathForStandardUserDirectory(19), pictures ? pictures : "");
    EXPECT_EQ(LXString::pathForStandardUserDirectory(7), "");
    EXPECT_EQ(LXString::pathForStandardUserDirectory(0), "");
}

} // namespace
