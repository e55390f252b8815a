#include <gtest/gtest.h>

#include "platform/files/MountTable.h"
#include "platform/files/Volumes.h"

namespace {

// The URL as scheme://host/path: the host is what names a server to the user.
TEST(VolumeURLForMount, NamesServersOfNetworkFileSystems) {
    const std::pair<MountEntry, const char*> cases[] = {
        {{"//nas._smb._tcp.local/photos", "/mnt/photos", "cifs"}, "smb://nas._smb._tcp.local/photos"},
        {{"filer:/export/home", "/net/home", "nfs"}, "nfs://filer/export/home"},
        {{"[fd00::1]:/srv", "/net/v6", "nfs4"}, "nfs://fd00::1/srv"},
        {{"ann@box.example:/home/ann", "/home/ann/remote", "fuse.sshfs"}, "sftp://box.example/home/ann"},
        {{"box:", "/mnt/box", "fuse.sshfs"}, "sftp://box/"},
        {{"https://dav.example.org:8443/remote.php", "/mnt/dav", "davfs"},
         "https://dav.example.org/remote.php"},
        {{"curlftpfs#ftp://ftp.example.org/", "/mnt/ftp", "fuse.curlftpfs"}, "ftp://ftp.example.org/"},
        {{"smb-share:server=nas.local,share=my%20photos", "/run/user/0/gvfs/x", "gvfs"},
         "smb://nas.local/my photos"},
        {{"sftp:host=shell.example,user=ann", "/run/user/0/gvfs/y", "gvfs"}, "sftp://shell.example/"},
        {{"dav:host=cloud.example,ssl=true,prefix=%2Fdav", "/run/user/0/gvfs/z", "gvfs"},
         "davs://cloud.example/"},
        {{"/dev/sdb1", "/media/ann/USB", "vfat"}, "file:///media/ann/USB"},
    };
    for (const auto& [entry, url] : cases)
        EXPECT_EQ(VolumeURLForMount(entry).string(), url) << entry.source;
}

class ProvidedMountTable : public ::testing::Test {
protected:
    void use(std::vector<MountEntry> entries) {
        SetMountTableProvider([entries] { return entries; });
    }
    void TearDown() override { SetMountTableProvider(nullptr); }
};

TEST_F(ProvidedMountTable, FindsTheInnermostAndLatestMount) {
    use({{"/dev/sda1", "/", "ext4"},
         {"/dev/sdb1", "/data", "ext4"},
         {"/dev/sdc1", "/data", "xfs"},
         {"tmpfs", "/data/cache", "tmpfs"},
         {"gvfsd-fuse", "/run/user/0/gvfs", "fuse.gvfsd-fuse"}});
    EXPECT_EQ(MountEntryForPath("/etc/passwd")->mountPoint, "/");
    EXPECT_EQ(MountEntryForPath("/data/a")->fileSystemType, "xfs");
    EXPECT_EQ(MountEntryForPath("/data")->fileSystemType, "xfs");
    EXPECT_EQ(MountEntryForPath("/database")->mountPoint, "/");
    EXPECT_EQ(MountEntryForPath("/data/cache/x")->mountPoint, "/data/cache");

    const auto share = MountEntryForPath("/run/user/0/gvfs/smb-share:server=nas,share=pics/2024/a.jpg");
    ASSERT_TRUE(share);
    EXPECT_EQ(share->mountPoint, "/run/user/0/gvfs/smb-share:server=nas,share=pics");
    EXPECT_EQ(VolumeURLForMount(*share).host, "nas");
    EXPECT_EQ(VolumeDisplayName(*share), "pics");
    EXPECT_EQ(MountEntryForPath("/run/user/0/gvfs")->fileSystemType, "fuse.gvfsd-fuse");
}

TEST_F(ProvidedMountTable, NumbersVolumesByMountPointForTheProcess) {
    use({{"/dev/sda1", "/", "ext4"}, {"//nas/share", "/mnt/nas", "cifs"}});
    const int16_t root = VolumeNumberForResolvedPath("/usr/bin");
    const int16_t nas = VolumeNumberForResolvedPath("/mnt/nas/a/b");
    EXPECT_GT(root, 0);
    EXPECT_GT(nas, 0);
    EXPECT_NE(root, nas);
    EXPECT_EQ(VolumeNumberForResolvedPath("/"), root);
    EXPECT_EQ(VolumeNumberForResolvedPath("/mnt/nas"), nas);
    EXPECT_EQ(FSCopyURLForVolume(nas)->string(), "smb://nas/share");
    EXPECT_TRUE(FSCopyURLForVolume(root)->isFileURL());

    // The same mount point keeps its number when the table changes around it.
    use({{"//nas/share", "/mnt/nas", "cifs"}, {"/dev/sda1", "/", "ext4"}, {"/dev/sdd1", "/mnt/usb", "vfat"}});
    EXPECT_EQ(VolumeNumberForResolvedPath("/mnt/nas/c"), nas);
    EXPECT_NE(VolumeNumberForResolvedPath("/mnt/usb"), nas);

    EXPECT_EQ(FSCopyURLForVolume(0), std::nullopt);
    EXPECT_EQ(FSCopyURLForVolume(-3), std::nullopt);
    EXPECT_EQ(FSCopyURLForVolume(INT16_MAX), std::nullopt);

    use({});
    EXPECT_EQ(VolumeNumberForResolvedPath("/usr"), 0);
}

TEST(KernelMountTable, HoldsTheRoot) {
    const auto entries = CurrentMountTable();
    ASSERT_FALSE(entries.empty());
    EXPECT_EQ(MountEntryForPath("/")->mountPoint, "/");
    EXPECT_GT(VolumeNumberForResolvedPath("/"), 0);
}

} // namespace
