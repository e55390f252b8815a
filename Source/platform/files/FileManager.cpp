#include "platform/files/FileManager.h"

#include <gio/gio.h>
#include <sys/stat.h>

#include "platform/files/FSRef.h"
#include "platform/core/GLibHandles.h"
#include "platform/core/GObjectRef.h"
#include "platform/files/MountTable.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/files/Places.h"
#include "platform/files/Volumes.h"
#include "platform/text/Localization.h"

namespace {

std::optional<std::string> gioDisplayName(const std::string& path) {
    auto file = GObjectRef<GFile>::adopt(g_vfs_get_file_for_path(g_vfs_get_local(), path.c_str()));
    auto info = GObjectRef<GFileInfo>::adopt(
        g_file_query_info(file.get(), G_FILE_ATTRIBUTE_STANDARD_DISPLAY_NAME,
                          G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr));
    if (!info)
        return std::nullopt;
    const char* name = g_file_info_get_display_name(info.get());
    if (!name || !*name)
        return std::nullopt;
    return std::string(name);
}

std::string displayNameOfResolved(const std::string& resolved) {
    if (resolved == NSStandardizedAbsolutePath(UserTrashFolder()))
        return LXLocalizedString("Trash");
    if (const auto entry = MountEntryForPath(resolved); entry && entry->mountPoint == resolved)
        return VolumeDisplayName(*entry);
    if (auto name = gioDisplayName(resolved))
        return *name;
    return NSLastPathComponent(resolved);
}

std::optional<std::string> userSpecialDirectory(GUserDirectory directory) {
    const char* path = g_get_user_special_dir(directory);
    if (!path || !*path)
        return std::nullopt;
    return std::string(path);
}

std::optional<std::string> userDirectory(unsigned directory) {
    switch (directory) {
    case NSApplicationDirectory:
    case NSAllApplicationsDirectory:
        return NSStringByAppendingPathComponent(g_get_user_data_dir(), "applications");
    case NSLibraryDirectory:
    case NSAllLibrariesDirectory:
    case NSApplicationSupportDirectory:
        return std::string(g_get_user_data_dir());
    case NSCachesDirectory:
        return std::string(g_get_user_cache_dir());
    case NSDocumentDirectory:
        return userSpecialDirectory(G_USER_DIRECTORY_DOCUMENTS);
    case NSDesktopDirectory:
        return userSpecialDirectory(G_USER_DIRECTORY_DESKTOP);
    case NSDownloadsDirectory:
        return userSpecialDirectory(G_USER_DIRECTORY_DOWNLOAD);
    case NSMoviesDirectory:
        return userSpecialDirectory(G_USER_DIRECTORY_VIDEOS);
    case NSMusicDirectory:
        return userSpecialDirectory(G_USER_DIRECTORY_MUSIC);
    case NSPicturesDirectory:
        return userSpecialDirectory(G_USER_DIRECTORY_PICTURES);
    case NSSharedPublicDirectory:
        return userSpecialDirectory(G_USER_DIRECTORY_PUBLIC_SHARE);
    case NSTrashDirectory:
        return UserTrashFolder();
    default:
        return std::nullopt;
    }
}

} // namespace

namespace NSFileManager {

bool fileExistsAtPath(const std::string& path, bool* isDirectory) {
    struct stat status {};
    if (path.empty() || stat(path.c_str(), &status) != 0)
        return false;
    if (isDirectory)
        *isDirectory = S_ISDIR(status.st_mode);
    return true;
}

std::string displayNameAtPath(const std::string& path) {
    FSRef ref;
    if (!FSPathMakeRef(path, &ref)) {
        const std::string absolute = NSStandardizedAbsolutePath(path);
        if (absolute == NSStandardizedAbsolutePath(UserTrashFolder()))
            return LXLocalizedString("Trash");
        return NSLastPathComponent(path);
    }
    return displayNameOfResolved(ref.path);
}

std::optional<std::vector<std::string>> componentsToDisplayForPath(const std::string& path) {
    FSRef ref;
    if (!FSPathMakeRef(path, &ref))
        return std::nullopt;
    const auto volume = MountEntryForPath(ref.path);
    if (!volume)
        return std::nullopt;
    std::vector<std::string> components{VolumeDisplayName(*volume)};
    std::string folder = volume->mountPoint;
    for (const std::string& name :
         NSPathComponents(std::string_view(ref.path).substr(volume->mountPoint.size()))) {
        if (name == "/")
            continue;
        folder = NSStringByAppendingPathComponent(folder, name);
        components.push_back(displayNameOfResolved(folder));
    }
    return components;
}

std::optional<std::string> URLForTrashDirectory() {
    return UserTrashFolder();
}

} // namespace NSFileManager

std::vector<std::string> NSSearchPathForDirectoriesInDomains(unsigned directory, unsigned domainMask,
                                                             bool expandTilde) {
    if (!(domainMask & NSUserDomainMask))
        return {};
    auto path = userDirectory(directory);
    if (!path)
        return {};
    // The XDG folders come absolute already; abbreviating is what "no expansion" means.
    if (!expandTilde) {
        const std::string home = NSHomeDirectory();
        if (NSPathIsInside(*path, home))
            path = "~" + path->substr(home.size());
    }
    return {*path};
}
