#pragma once

#include <optional>
#include <string>

/// Paths shown to a person: volume names instead of mount points, the home folder
/// shortened to the user's name, the Trash by its name, and the server for files on
/// network volumes. A display path keeps "/" between its parts; a display string shows
/// them with an en space and a right angle bracket.
namespace LXString {

/// `displayPathWithHost` with no host.
std::string displayPath(const std::string& path);
/// The display path of an absolute path; a given host is put in front only for paths
/// that do not exist here (an existing file takes its own volume's host). Never null.
std::string displayPathWithHost(const std::string& path, const std::optional<std::string>& host);
/// Every "/" replaced by U+2002 U+3009.
std::string displayStringForDisplayPath(const std::string& displayPath);
std::string displayStringForPath(const std::string& path);
std::string displayStringForPathWithHost(const std::string& path, const std::optional<std::string>& host);
/// The server of the network volume holding the path, without any service-discovery
/// suffix ("nas._smb._tcp.local" gives "nas"); nothing for local volumes.
std::optional<std::string> hostNameForPath(const std::string& path);
/// The user's Trash folder as the file manager names it, or "".
std::string localizedNameForTrash();

} // namespace LXString
