#pragma once

#include <optional>
#include <string>
#include <vector>

/// The desktop's file manager answers (`NSFileManager`), from GIO and the file system.
namespace NSFileManager {

/// True when an item exists at the path, following symbolic links; `isDirectory` tells
/// whether it is a folder.
bool fileExistsAtPath(const std::string& path, bool* isDirectory = nullptr);

/// The name shown for an item: a volume's name for a mount point, the localised word
/// for the user's Trash, GIO's display name otherwise, and the last path component for
/// an item that does not exist.
std::string displayNameAtPath(const std::string& path);

/// The volume's display name followed by the display name of each folder down to the
/// item; nothing when there is no such item.
std::optional<std::vector<std::string>> componentsToDisplayForPath(const std::string& path);

/// The user's Trash folder (`URLForDirectory:` with the Trash code in the user's domain).
std::optional<std::string> URLForTrashDirectory();

} // namespace NSFileManager

/// Standard directory codes of `NSSearchPathForDirectoriesInDomains` that this system
/// has a place for.
enum NSSearchPathDirectory : unsigned {
    NSApplicationDirectory = 1,
    NSLibraryDirectory = 5,
    NSDocumentDirectory = 9,
    NSDesktopDirectory = 12,
    NSCachesDirectory = 13,
    NSApplicationSupportDirectory = 14,
    NSDownloadsDirectory = 15,
    NSMoviesDirectory = 17,
    NSMusicDirectory = 18,
    NSPicturesDirectory = 19,
    NSSharedPublicDirectory = 21,
    NSAllApplicationsDirectory = 100,
    NSAllLibrariesDirectory = 101,
    NSTrashDirectory = 102,
};

inline constexpr unsigned NSUserDomainMask = 1;

/// The folders for a directory code in the given domains: the user's domain maps to the
/// XDG user and base directories. Codes without a place here give an empty list.
std::vector<std::string> NSSearchPathForDirectoriesInDomains(unsigned directory, unsigned domainMask,
                                                             bool expandTilde);
