#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <glib.h>
#include <gtest/gtest.h>

#include "foundation/NSString+LXStringPathDisplay.h"
#include "platform/files/MountTable.h"
#include "platform/text/Localization.h"
#include "support/Fixtures.h"

namespace fs = std::filesystem;
using lxkit::test::TemporaryFolder;

namespace {

// The words as the user's language has them; the tests run in any locale.
const std::string kComputer = LXLocalizedString("Computer");
const std::string kTrash = LXLocalizedString("Trash");
const std::string kHost = "\u2002\u301C\u2002";
const std::string kSeparator = "\u2002\u3009";

// Points $HOME elsewhere for one test.
class ScopedHome {
  public:
    explicit ScopedHome(const std::string& home) {
        if (const char* old = std::getenv("HOME"))
            m_old = old;
        setenv("HOME", home.c_str(), 1);
    }
    ~ScopedHome() {
        if (m_old)
            setenv("HOME", m_old->c_str(), 1);
        else
            unsetenv("HOME");
    }

  private:
    std::optional<std::string> m_old;
};

// Every test sees the same machine: an unlabelled root (so the startup volume is named
// "Computer") and an SMB share mounted on a folder of the test's own.
class LXStringPathDisplay : public ::testing::Test {
  protected:
    void SetUp() override {
        m_root = fs::canonical(m_folder.path()).string();
        fs::create_directories(m_root + "/net/Pictures");
        std::ofstream(m_root + "/net/Pictures/a.jpg") << "x";
        const std::string share = m_root + "/net";
        SetMountTableProvider([share]() -> std::vector<MountEntry> {
            return {{"lxkit-no-such-device", "/", "ext4"}, {"//nas._smb._tcp.local/photos", share, "cifs"}};
        });
    }
    void TearDown() override { SetMountTableProvider(nullptr); }

    TemporaryFolder m_folder;
    std::string m_root;
};

TEST_F(LXStringPathDisplay, TrashShowsOnlyItsName) {
    EXPECT_EQ(LXString::localizedNameForTrash(), kTrash);
    EXPECT_EQ(LXString::displayPath("/Users/ann/.Trash/x"), kTrash);
    EXPECT_EQ(LXString::displayPathWithHost("/media/ann/USB/.Trash-1000/files/a", std::string("nas")),
              kTrash);
    EXPECT_EQ(LXString::displayStringForPath("/Users/ann/.Trash/x"), kTrash);
}

TEST_F(LXStringPathDisplay, LocalPathsStartWithTheStartupVolume) {
    EXPECT_EQ(LXString::displayPath("/"), kComputer);
    std::ofstream(m_root + "/local.txt") << "x";
    EXPECT_EQ(LXString::displayPath(m_root + "/local.txt"), kComputer + m_root + "/local.txt");
    // A path the file manager does not know is shown as it is.
    EXPECT_EQ(LXString::displayPath("/tmp/lxkit-none/x"), kComputer + "/tmp/lxkit-none/x");
    EXPECT_EQ(LXString::displayPathWithHost("/tmp/lxkit-none", std::string("server")),
              "server" + kHost + kComputer + "/tmp/lxkit-none");
}

TEST_F(LXStringPathDisplay, MountFoldersAreDroppedForMissingPaths) {
    const std::string user = g_get_user_name();
    EXPECT_EQ(LXString::displayPath("/Volumes/Backup/x"), "Backup/x");
    EXPECT_EQ(LXString::displayPath("/media/" + user + "/Stick/x"), "Stick/x");
    EXPECT_EQ(LXString::displayPath("/mnt/Disk/x"), "Disk/x");
    EXPECT_EQ(LXString::displayPathWithHost("/Volumes/Backup/x", std::string("nas")),
              "nas" + kHost + "Backup/x");
    EXPECT_EQ(LXString::displayPathWithHost("/Volumes/Backup/x", std::string()), "Backup/x");
}

TEST_F(LXStringPathDisplay, NetworkFilesShowTheirServer) {
    const std::string file = m_root + "/net/Pictures/a.jpg";
    EXPECT_EQ(LXString::hostNameForPath(file), "nas");
    EXPECT_EQ(LXString::hostNameForPath(m_root), std::nullopt);
    EXPECT_EQ(LXString::hostNameForPath(m_root + "/net/missing"), std::nullopt);
    EXPECT_EQ(LXString::displayPath(file), "nas" + kHost + "net/Pictures/a.jpg");
    // An existing file's own host wins over the one given, even when it has none.
    EXPECT_EQ(LXString::displayPathWithHost(file, std::string("other")),
              "nas" + kHost + "net/Pictures/a.jpg");
    std::ofstream(m_root + "/local.txt") << "x";
    EXPECT_EQ(LXString::displayPathWithHost(m_root + "/local.txt", std::string("other")),
              kComputer + m_root + "/local.txt");
    EXPECT_EQ(LXString::displayStringForPath(file),
              "nas" + kHost + "net" + kSeparator + "Pictures" + kSeparator + "a.jpg");
}

TEST_F(LXStringPathDisplay, HomeFolderShowsAsTheUsersName) {
    const std::string home = m_root + "/home/ann";
    fs::create_directories(home + "/Pictures");
    std::ofstream(home + "/Pictures/a.jpg") << "x";
    fs::create_directories(m_root + "/home/annabel");
    ScopedHome scoped(home);
    EXPECT_EQ(LXString::displayPath(home + "/Pictures/a.jpg"), "ann/Pictures/a.jpg");
    EXPECT_EQ(LXString::displayStringForPath(home + "/Pictures/a.jpg"),
              "ann" + kSeparator + "Pictures" + kSeparator + "a.jpg");
    // The home folder is matched as text, as a plain prefix test does.
    EXPECT_EQ(LXString::displayPath(m_root + "/home/annabel"), "annabel");
    // The folder of homes itself keeps its full path.
    EXPECT_EQ(LXString::displayPath(m_root + "/home"), kComputer + m_root + "/home");
}

TEST_F(LXStringPathDisplay, CloudDocumentsFolderIsHiddenOnce) {
    const std::string cloud = "/Library/Mobile Documents";
    fs::create_directories(m_root + cloud + "/x" + cloud);
    std::ofstream(m_root + cloud + "/x" + cloud + "/doc.txt") << "x";
    EXPECT_EQ(LXString::displayPath(m_root + cloud + "/x" + cloud + "/doc.txt"),
              kComputer + m_root + "/x" + cloud + "/doc.txt");
}

TEST(LXStringDisplayString, ReplacesEverySeparator) {
    EXPECT_EQ(LXString::displayStringForDisplayPath(""), "");
    EXPECT_EQ(LXString::displayStringForDisplayPath("/a/b/"),
              kSeparator + "a" + kSeparator + "b" + kSeparator);
    EXPECT_EQ(LXString::displayStringForDisplayPath("Disk"), "Disk");
}

} // namespace
