#include <filesystem>
#include <fstream>

#include <glib.h>
#include <gtest/gtest.h>

#include "LanguageScope.h"
#include "foundation/NSString+LXStringPathDisplay.h"
#include "foundation/NSString+LXStringPaths.h"
#include "platform/files/MountTable.h"
#include "platform/text/Localization.h"
#include "support/Fixtures.h"

namespace fs = std::filesystem;
using namespace std::string_literals;
using lxkit::test::TemporaryFolder;

namespace {

// The words as the user's language has them; the tests run in any locale.
const std::string kComputer = LXLocalizedString("Computer");
const std::string kTrash = LXLocalizedString("Trash");
const std::string kHost = "\u2002\u301C\u2002";
const std::string kSeparator = "\u2002\u3009";
// A cloud documents folder inside another.
const std::string kCloud = "/Library/Mobile Documents";
const std::string kCloudFolder = kCloud + "/x" + kCloud;

// Every test sees the same machine: an unlabelled root (so the startup volume is named
// "Computer") and an SMB share mounted on a folder of the test's own.
class LXStringPathDisplay : public ::testing::Test {
protected:
    void SetUp() override {
        m_root = fs::canonical(m_folder.path()).string();
        for (const std::string& folder :
             {"/net/Pictures"s, "/home/ann/Pictures"s, "/home/annabel"s, kCloudFolder})
            fs::create_directories(m_root + folder);
        for (const std::string& file :
             {"/net/Pictures/a.jpg"s, "/local.txt"s, "/home/ann/Pictures/a.jpg"s, kCloudFolder + "/doc.txt"})
            std::ofstream(m_root + file) << "x";
        const std::string share = m_root + "/net";
        SetMountTableProvider([share]() -> std::vector<MountEntry> {
            return {{"lxkit-no-such-device", "/", "ext4"}, {"//nas._smb._tcp.local/photos", share, "cifs"}};
        });
    }
    void TearDown() override { SetMountTableProvider(nullptr); }

    TemporaryFolder m_folder;
    std::string m_root;
};

TEST_F(LXStringPathDisplay, DisplayPaths) {
    lxkit::test::EnvironmentScope home("HOME", (m_root + "/home/ann").c_str());
    const std::string user = g_get_user_name();
    const std::string network = m_root + "/net/Pictures/a.jpg";
    const std::string local = m_root + "/local.txt";
    const struct {
        std::string path;
        std::optional<std::string> host;
        std::string expected;
    } cases[] = {
        // The Trash shows only its name, even with a host.
        {"/Users/ann/.Trash/x", std::nullopt, kTrash},
        {"/media/ann/USB/.Trash-1000/files/a", "nas", kTrash},
        // Local paths start with the startup volume; one the file manager does not know is
        // shown as it is.
        {"/", std::nullopt, kComputer},
        {"/tmp/lxkit-none/x", std::nullopt, kComputer + "/tmp/lxkit-none/x"},
        {"/tmp/lxkit-none", "server", "server" + kHost + kComputer + "/tmp/lxkit-none"},
        // Mount folders are dropped for missing paths.
        {"/Volumes/Backup/x", std::nullopt, "Backup/x"},
        {"/media/" + user + "/Stick/x", std::nullopt, "Stick/x"},
        {"/mnt/Disk/x", std::nullopt, "Disk/x"},
        {"/Volumes/Backup/x", "nas", "nas" + kHost + "Backup/x"},
        {"/Volumes/Backup/x", "", "Backup/x"},
        // An existing file's own host wins over the one given, even when it has none.
        {network, std::nullopt, "nas" + kHost + "net/Pictures/a.jpg"},
        {network, "other", "nas" + kHost + "net/Pictures/a.jpg"},
        {local, "other", kComputer + local},
        // The home folder shows as the user's name, matched as a plain text prefix; the
        // folder of homes itself keeps its full path.
        {m_root + "/home/ann/Pictures/a.jpg", std::nullopt, "ann/Pictures/a.jpg"},
        {m_root + "/home/annabel", std::nullopt, "annabel"},
        {m_root + "/home", std::nullopt, kComputer + m_root + "/home"},
        // Only the first cloud documents folder is hidden.
        {m_root + kCloudFolder + "/doc.txt", std::nullopt, kComputer + m_root + "/x" + kCloud + "/doc.txt"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(LXString::displayPathWithHost(c.path, c.host), c.expected) << c.path;
    EXPECT_EQ(LXString::displayStringForPath(network),
              "nas" + kHost + "net" + kSeparator + "Pictures" + kSeparator + "a.jpg");
}

TEST_F(LXStringPathDisplay, TellsNetworkVolumesApart) {
    const std::string network = m_root + "/net";
    const int16_t root = LXString::volumeOfPath("/");
    const int16_t share = LXString::volumeOfPath(network + "/Pictures/a.jpg");
    EXPECT_NE(root, 0);
    EXPECT_NE(share, 0);
    EXPECT_NE(root, share);
    EXPECT_EQ(LXString::volumeOfPath(network), share);
    EXPECT_EQ(LXString::volumeOfPath(m_root), root);
    EXPECT_EQ(LXString::volumeOfPath(network + "/missing"), 0);
    EXPECT_EQ(LXString::hostNameForPath(network + "/missing"), std::nullopt);

    EXPECT_TRUE(LXString::isFilePathOnSharedVolume(network + "/Pictures"));
    EXPECT_FALSE(LXString::isFilePathOnSharedVolume(m_root));
    EXPECT_FALSE(LXString::isFilePathOnSharedVolume(network + "/missing"));
}

TEST_F(LXStringPathDisplay, NamesVolumesByMountFolderElseTheStartupVolume) {
    const std::string user = g_get_user_name();
    const std::pair<std::string, std::string> cases[] = {
        {"/Volumes/Backup/x", "Backup"},
        {"/Volumes/Backup", "Backup"},
        {"/media/" + user + "/Stick/a.jpg", "Stick"},
        {"/run/media/" + user + "/Card", "Card"},
        {"/mnt/Disk/x", "Disk"},
        {"/Volumes", kComputer},
        {"/mnt", kComputer},
        {"/", kComputer},
        {"/home/x", kComputer},
    };
    for (const auto& [path, name] : cases)
        EXPECT_EQ(LXString::volumeNameForPath(path), name) << path;
}

TEST(LXStringDisplayString, ReplacesEverySeparator) {
    EXPECT_EQ(LXString::displayStringForDisplayPath(""), "");
    EXPECT_EQ(LXString::displayStringForDisplayPath("/a/b/"),
              kSeparator + "a" + kSeparator + "b" + kSeparator);
    EXPECT_EQ(LXString::displayStringForDisplayPath("Disk"), "Disk");
}

} // namespace
