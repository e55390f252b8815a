#include "platform/files/Places.h"

#include <glib.h>

#include "platform/files/NSPathUtilities.h"

std::vector<std::string> MountedVolumeFolders() {
    const std::string user = g_get_user_name();
    return {"/Volumes/", "/media/" + user + "/", "/run/media/" + user + "/", "/mnt/"};
}

std::vector<std::string> UsersFolders() {
    std::vector<std::string> folders{"/Users/"};
    const std::string homes =
        NSStringByDeletingLastPathComponent(NSStandardizedAbsolutePath(NSHomeDirectory()));
    if (homes != "/" && !homes.empty() && homes + "/" != folders.front())
        folders.push_back(homes + "/");
    return folders;
}

std::string UserTrashFolder() {
    return NSStringByAppendingPathComponent(g_get_user_data_dir(), "Trash");
}
