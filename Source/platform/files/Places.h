#pragma once

#include <string>
#include <vector>

/// The folders that play a role the desktop gives a name to. Each list keeps the classic
/// place first and adds where this system keeps the same thing. Folder paths end in "/".

/// Where removable and other volumes are mounted: "/Volumes/", then "/media/USER/",
/// "/run/media/USER/" and "/mnt/".
std::vector<std::string> MountedVolumeFolders();

/// Where users' home folders live: "/Users/", then the folder that holds the user's home
/// folder (usually "/home/") unless that is the root.
std::vector<std::string> UsersFolders();

/// The user's Trash folder ($XDG_DATA_HOME/Trash).
std::string UserTrashFolder();
