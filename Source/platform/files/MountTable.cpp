#include "platform/files/MountTable.h"

#include <mutex>

#include <gio/gunixmounts.h>

#include "platform/files/NSPathUtilities.h"

namespace {

std::mutex g_providerLock;
MountTableProvider g_provider;

std::vector<MountEntry> kernelMountTable() {
    std::vector<MountEntry> entries;
    GList* mounts = g_unix_mounts_get(nullptr);
    for (GList* item = mounts; item; item = item->next) {
        auto* mount = static_cast<GUnixMountEntry*>(item->data);
        entries.push_back({g_unix_mount_get_device_path(mount), g_unix_mount_get_mount_path(mount),
                           g_unix_mount_get_fs_type(mount)});
    }
    g_list_free_full(mounts, reinterpret_cast<GDestroyNotify>(g_unix_mount_free));
    return entries;
}

constexpr std::string_view kGvfsFuseType = "fuse.gvfsd-fuse";

} // namespace

void SetMountTableProvider(MountTableProvider provider) {
    std::lock_guard lock(g_providerLock);
    g_provider = std::move(provider);
}

std::vector<MountEntry> CurrentMountTable() {
    MountTableProvider provider;
    {
        std::lock_guard lock(g_providerLock);
        provider = g_provider;
    }
    return provider ? provider() : kernelMountTable();
}

std::optional<MountEntry> MountEntryForPath(const std::string& resolvedPath) {
    std::optional<MountEntry> best;
    for (MountEntry& entry : CurrentMountTable()) {
        if (!NSPathIsInside(resolvedPath, entry.mountPoint))
            continue;
        if (!best || entry.mountPoint.size() >= best->mountPoint.size())
            best = std::move(entry);
    }
    if (!best || best->fileSystemType != kGvfsFuseType)
        return best;
    // gvfs shows every remote share as one folder below its FUSE mount, named after the
    // share ("smb-share:server=nas,share=photos").
    const auto below = NSPathComponents(std::string_view(resolvedPath).substr(best->mountPoint.size()));
    for (const std::string& component : below) {
        if (component == "/")
            continue;
        return MountEntry{component, NSStringByAppendingPathComponent(best->mountPoint, component), "gvfs"};
    }
    return best;
}
