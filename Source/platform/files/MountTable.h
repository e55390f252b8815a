#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// One mounted file system as the kernel lists it.
struct MountEntry {
    /// What is mounted: a device ("/dev/sda1"), a share ("//nas/photos", "server:/export",
    /// "user@host:/path"), a URL, or a gvfs share name.
    std::string source;
    std::string mountPoint;
    /// The kernel's type name ("ext4", "cifs", "nfs4", "fuse.sshfs", "fuse.gvfsd-fuse"…).
    std::string fileSystemType;
};

using MountTableProvider = std::function<std::vector<MountEntry>()>;

/// Replaces where the mount table comes from (tests give their own); an empty provider
/// restores the kernel's table, read through GIO's unix mounts.
void SetMountTableProvider(MountTableProvider provider);

/// The mount table now, in mount order.
std::vector<MountEntry> CurrentMountTable();

/// The file system holding an absolute path whose folders are already resolved: the
/// entry with the longest mount point above it, the later one where two share a mount
/// point. Below gvfs's FUSE folder each share is a file system of its own.
std::optional<MountEntry> MountEntryForPath(const std::string& resolvedPath);
