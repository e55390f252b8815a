#include <vector>

#include "foundation/NSString+LXStringPaths.h"
#include "platform/files/FileManager.h"
#include "platform/files/LaunchServices.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/files/Places.h"
#include "platform/files/Volumes.h"

namespace LXString {

bool getFSRef(const std::string& path, FSRef* ref) {
    return FSPathMakeRef(path, ref);
}

std::optional<std::string> pathWithFSRef(const FSRef* ref) {
    return FSRefMakePath(ref);
}

bool isFileAtPathInTrash(const std::string& path) {
    return path.find("/.Trash") != std::string::npos || NSPathIsInside(path, UserTrashFolder());
}

bool isFilePathOnSharedVolume(const std::string& path) {
    const int16_t volume = volumeOfPath(path);
    if (volume == 0)
        return false;
    const auto url = FSCopyURLForVolume(volume);
    return url && !url->isFileURL();
}

bool isFolderPath(const std::string& path) {
    bool isDirectory = false;
    return NSFileManager::fileExistsAtPath(path, &isDirectory) && isDirectory;
}

bool isTimeMachineVolumePath(const std::string& path) {
    return NSFileManager::fileExistsAtPath(NSStringByAppendingPathComponent(path, "Backups.backupdb"));
}

bool isVisibleFilePath(const std::string& path) {
    if (path.empty())
        return true;
    const auto invisible = LSItemIsInvisible(NSStandardizedAbsolutePath(path));
    return !invisible || !*invisible;
}

bool pathCanAcceptPath(const std::string& target, const std::string& item) {
    FSRef targetRef;
    FSRef itemRef;
    if (!getFSRef(target, &targetRef) || !getFSRef(item, &itemRef))
        return false;
    return LSCanRefAcceptItem(itemRef, targetRef);
}

std::optional<std::string> relativePathTo(const std::string& path, const std::string& target) {
    if (target.empty() || target == path)
        return std::nullopt;
    const std::vector<std::string> from = NSPathComponents(path);
    const std::vector<std::string> to = NSPathComponents(target);
    size_t common = 0;
    while (common < from.size() && common < to.size() && from[common] == to[common])
        ++common;
    if (common == 0)
        return NSPathWithComponents(to);
    std::vector<std::string> relative;
    const size_t stepsUp = from.size() - common;
    if (stepsUp == 1)
        relative.emplace_back(".");
    for (size_t step = 1; step < stepsUp; ++step)
        relative.emplace_back("..");
    relative.insert(relative.end(), to.begin() + static_cast<std::ptrdiff_t>(common), to.end());
    return NSPathWithComponents(relative);
}

std::string resolvedPath(const std::string& path) {
    FSRef ref;
    if (!getFSRef(path, &ref))
        return path;
    const auto resolved = FSResolveAliasFile(ref);
    if (!resolved || !resolved->wasAliased)
        return path;
    return pathWithFSRef(&resolved->target).value_or(path);
}

uint64_t sizeOfFileAtPath(const std::string& path) {
    if (isFolderPath(path))
        return 0;
    FSRef ref;
    if (!getFSRef(path, &ref))
        return 0;
    const auto info = FSGetCatalogInfo(ref);
    return info ? info->physicalSize : 0;
}

std::string uniqueNameForPath(const std::string& name, const std::string& folder) {
    const std::string extension = NSPathExtension(name);
    const std::string stem = NSStringByDeletingPathExtension(name);
    std::string candidate = name;
    for (int32_t counter = 1;
         NSFileManager::fileExistsAtPath(NSStringByAppendingPathComponent(folder, candidate)); ++counter) {
        candidate = extension.empty() ? name + "-" + std::to_string(counter)
                                      : stem + "-" + std::to_string(counter) + "." + extension;
    }
    return candidate;
}

std::string volumeNameForPath(const std::string& path) {
    // A folder where volumes are mounted names each volume by its mount point's folder.
    const std::vector<std::string> components = NSPathComponents(path);
    for (const std::string& folder : MountedVolumeFolders()) {
        const std::vector<std::string> prefix = NSPathComponents(folder.substr(0, folder.size() - 1));
        if (components.size() <= prefix.size())
            continue;
        if (std::equal(prefix.begin(), prefix.end(), components.begin()) && components[prefix.size()] != "/")
            return components[prefix.size()];
    }
    return NSFileManager::displayNameAtPath("/");
}

int16_t volumeOfPath(const std::string& path) {
    FSRef ref;
    if (!getFSRef(path, &ref))
        return 0;
    const auto info = FSGetCatalogInfo(ref);
    return info ? info->volume : 0;
}

std::string pathForStandardUserDirectory(unsigned directory) {
    const auto paths = NSSearchPathForDirectoriesInDomains(directory, NSUserDomainMask, true);
    return paths.empty() ? std::string() : paths.front();
}

} // namespace LXString
