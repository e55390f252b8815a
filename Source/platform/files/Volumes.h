#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/files/MountTable.h"

/// Where a volume lives: "file" with the mount point for a local file system; for a
/// network file system the protocol's scheme with the server as host.
struct VolumeURL {
    std::string scheme;
    std::string host;
    std::string path;

    bool isFileURL() const { return scheme == "file"; }
    std::string string() const;
};

/// The volume number of the file system holding an absolute path whose folders are
/// resolved: a small non-zero number that stays the same for that mount point for the
/// life of the process; 0 when no mounted file system holds the path.
int16_t VolumeNumberForResolvedPath(const std::string& resolvedPath);

/// The URL of a volume seen before through its number (`FSCopyURLForVolume`); nothing
/// for an unknown number.
std::optional<VolumeURL> FSCopyURLForVolume(int16_t volume);

/// How a mount table entry is reached: network file systems (cifs, nfs, sshfs, WebDAV,
/// gvfs shares) give their protocol and server, everything else a file URL.
VolumeURL VolumeURLForMount(const MountEntry& entry);

/// The name a file manager shows for a mounted file system: its label, else the last
/// component of its mount point (the share for gvfs).
std::string VolumeDisplayName(const MountEntry& entry);

/// The startup volume's name: the root file system's label, else the localised word
/// "Computer".
std::string StartupVolumeName();
