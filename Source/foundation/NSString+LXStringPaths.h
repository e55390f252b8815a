#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/files/FSRef.h"

/// Questions asked of the item at a path: where it lies, what it is, how large it is, and
/// how to name a new file beside it. Each asks the file system afresh.
namespace LXString {

/// Fills a reference to the item at the path; false when there is none.
bool getFSRef(const std::string& path, FSRef* ref);
/// The path of a reference; nothing for a null one.
std::optional<std::string> pathWithFSRef(const FSRef* ref);

/// True for paths holding "/.Trash" (also volumes' ".Trash-UID" folders) and paths in the
/// user's Trash folder; the disk is not consulted.
bool isFileAtPathInTrash(const std::string& path);
/// True when the item lies on a network volume.
bool isFilePathOnSharedVolume(const std::string& path);
/// True when a folder exists at the path (links followed).
bool isFolderPath(const std::string& path);
/// True when "Backups.backupdb" exists directly inside the path.
bool isTimeMachineVolumePath(const std::string& path);
/// False only for an item known to be hidden.
bool isVisibleFilePath(const std::string& path);
/// Whether the target (an application or folder) accepts the dropped item.
bool pathCanAcceptPath(const std::string& target, const std::string& item);
/// The relative path from the folder of `path` to `target`, or nothing for an empty
/// target or the path itself.
std::optional<std::string> relativePathTo(const std::string& path, const std::string& target);
/// The path a symbolic link leads to, or the path itself.
std::string resolvedPath(const std::string& path);
/// Bytes allocated on disk for the file; 0 for folders and failures.
uint64_t sizeOfFileAtPath(const std::string& path);
/// A name based on `name` that no item in `folder` has: name, name-1, name-2… with the
/// counter before the extension.
std::string uniqueNameForPath(const std::string& name, const std::string& folder);
/// The name of the volume holding the path.
std::string volumeNameForPath(const std::string& path);
/// The volume number of the item's file system, 0 when unknown.
int16_t volumeOfPath(const std::string& path);
/// The path of a standard directory (a directory code) for the user, or "".
std::string pathForStandardUserDirectory(unsigned directory);

} // namespace LXString
