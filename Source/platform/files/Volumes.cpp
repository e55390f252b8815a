#include "platform/files/Volumes.h"

#include <memory>
#include <mutex>
#include <vector>

#include <dirent.h>
#include <glib.h>
#include <stdlib.h>

#include "platform/core/GLibHandles.h"
#include "platform/core/GObjectRef.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/text/Localization.h"

namespace {

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};
struct MallocFree {
    void operator()(char* memory) const { free(memory); }
};

struct VolumeTable {
    std::mutex lock;
    // Index + 1 is the volume number; the entry is the last one seen for the mount point.
    std::vector<MountEntry> volumes;
};

VolumeTable& volumeTable() {
    static VolumeTable table;
    return table;
}

std::string unescapeURIPart(std::string_view text) {
    const std::string escaped(text);
    GCharHandle unescaped(g_uri_unescape_string(escaped.c_str(), nullptr));
    return unescaped ? std::string(unescaped.get()) : escaped;
}

// "scheme://[user@]host[:port]/path" split into its parts; nothing when there is no "://".
std::optional<VolumeURL> parseURL(std::string_view text) {
    const size_t separator = text.find("://");
    if (separator == std::string_view::npos || separator == 0)
        return std::nullopt;
    VolumeURL url{std::string(text.substr(0, separator)), "", "/"};
    std::string_view rest = text.substr(separator + 3);
    const size_t slash = rest.find('/');
    std::string_view authority = rest.substr(0, slash);
    if (slash != std::string_view::npos)
        url.path = std::string(rest.substr(slash));
    if (const size_t at = authority.rfind('@'); at != std::string_view::npos)
        authority.remove_prefix(at + 1);
    if (!authority.empty() && authority.front() == '[') {
        url.host = std::string(authority.substr(1, authority.find(']') - 1));
    } else {
        url.host = std::string(authority.substr(0, authority.find(':')));
    }
    return url;
}

// "host:path" sources of nfs and sshfs, with "[v6-address]:path" and "user@host:path".
VolumeURL hostColonPath(std::string scheme, std::string_view source) {
    if (const size_t at = source.find('@'); at != std::string_view::npos && at < source.find(':'))
        source.remove_prefix(at + 1);
    std::string host;
    std::string_view path;
    if (!source.empty() && source.front() == '[') {
        const size_t close = source.find(']');
        host = std::string(source.substr(1, close - 1));
        path = close == std::string_view::npos ? "" : source.substr(close + 1);
        if (!path.empty() && path.front() == ':')
            path.remove_prefix(1);
    } else {
        const size_t colon = source.find(':');
        host = std::string(source.substr(0, colon));
        path = colon == std::string_view::npos ? "" : source.substr(colon + 1);
    }
    std::string absolute = path.empty() || path.front() != '/' ? "/" + std::string(path) : std::string(path);
    return VolumeURL{std::move(scheme), std::move(host), std::move(absolute)};
}

// gvfs names a share "type:key=value,key=value" with URI escapes in the values.
std::optional<VolumeURL> gvfsShareURL(std::string_view name) {
    const size_t colon = name.find(':');
    if (colon == std::string_view::npos)
        return std::nullopt;
    const std::string_view type = name.substr(0, colon);
    std::string host;
    std::string share;
    bool secure = false;
    std::string_view rest = name.substr(colon + 1);
    while (!rest.empty()) {
        const size_t comma = rest.find(',');
        const std::string_view pair = rest.substr(0, comma);
        const size_t equals = pair.find('=');
        if (equals != std::string_view::npos) {
            const std::string_view key = pair.substr(0, equals);
            const std::string value = unescapeURIPart(pair.substr(equals + 1));
            if (key == "server" || key == "host")
                host = value;
            else if (key == "share" || key == "volume")
                share = value;
            else if (key == "ssl")
                secure = value == "true";
        }
        if (comma == std::string_view::npos)
            break;
        rest.remove_prefix(comma + 1);
    }
    std::string scheme(type.substr(0, type.find('-')));
    if (scheme == "dav" && secure)
        scheme = "davs";
    return VolumeURL{std::move(scheme), std::move(host), "/" + share};
}

bool isOneOf(const std::string& value, std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names) {
        if (value == name)
            return true;
    }
    return false;
}

// udev writes labels into /dev/disk/by-label with "\x20"-style escapes.
std::string unescapeUdevLabel(std::string_view label) {
    std::string text;
    for (size_t index = 0; index < label.size(); ++index) {
        if (label[index] == '\\' && index + 3 < label.size() && label[index + 1] == 'x' &&
            g_ascii_isxdigit(label[index + 2]) && g_ascii_isxdigit(label[index + 3])) {
            text += static_cast<char>(g_ascii_xdigit_value(label[index + 2]) * 16 +
                                      g_ascii_xdigit_value(label[index + 3]));
            index += 3;
            continue;
        }
        text += label[index];
    }
    return text;
}

std::optional<std::string> realPath(const std::string& path) {
    std::unique_ptr<char, MallocFree> resolved(realpath(path.c_str(), nullptr));
    if (!resolved)
        return std::nullopt;
    return std::string(resolved.get());
}

std::optional<std::string> deviceLabel(const std::string& device) {
    if (device.empty() || device.front() != '/')
        return std::nullopt;
    const auto target = realPath(device);
    if (!target)
        return std::nullopt;
    constexpr const char* kLabelFolder = "/dev/disk/by-label";
    std::unique_ptr<DIR, FolderCloser> folder(opendir(kLabelFolder));
    if (!folder)
        return std::nullopt;
    while (const dirent* item = readdir(folder.get())) {
        const std::string name = item->d_name;
        if (name == "." || name == "..")
            continue;
        if (realPath(std::string(kLabelFolder) + "/" + name) == target)
            return unescapeUdevLabel(name);
    }
    return std::nullopt;
}

} // namespace

std::string VolumeURL::string() const {
    std::string text = scheme + "://" + host;
    if (path.empty() || path.front() != '/')
        text += '/';
    return text + path;
}

int16_t VolumeNumberForResolvedPath(const std::string& resolvedPath) {
    const auto entry = MountEntryForPath(resolvedPath);
    if (!entry)
        return 0;
    VolumeTable& table = volumeTable();
    std::lock_guard lock(table.lock);
    for (size_t index = 0; index < table.volumes.size(); ++index) {
        if (table.volumes[index].mountPoint == entry->mountPoint) {
            table.volumes[index] = *entry;
            return static_cast<int16_t>(index + 1);
        }
    }
    if (table.volumes.size() >= INT16_MAX)
        return 0;
    table.volumes.push_back(*entry);
    return static_cast<int16_t>(table.volumes.size());
}

std::optional<VolumeURL> FSCopyURLForVolume(int16_t volume) {
    VolumeTable& table = volumeTable();
    std::lock_guard lock(table.lock);
    if (volume <= 0 || static_cast<size_t>(volume) > table.volumes.size())
        return std::nullopt;
    return VolumeURLForMount(table.volumes[static_cast<size_t>(volume) - 1]);
}

VolumeURL VolumeURLForMount(const MountEntry& entry) {
    const std::string& type = entry.fileSystemType;
    const std::string_view source = entry.source;
    if (isOneOf(type, {"cifs", "smb3", "smbfs"}) && source.starts_with("//")) {
        const std::string_view rest = source.substr(2);
        const size_t slash = rest.find('/');
        return VolumeURL{"smb", std::string(rest.substr(0, slash)),
                         slash == std::string_view::npos ? "/" : std::string(rest.substr(slash))};
    }
    if (isOneOf(type, {"nfs", "nfs4"}))
        return hostColonPath("nfs", source);
    if (isOneOf(type, {"fuse.sshfs", "sshfs"}))
        return hostColonPath("sftp", source);
    if (type == "gvfs") {
        if (auto url = gvfsShareURL(source))
            return *url;
    }
    // WebDAV, FTP and other FUSE file systems name their server by URL, some behind a
    // "program#" prefix.
    const size_t hash = source.find('#');
    if (auto url = parseURL(hash == std::string_view::npos ? source : source.substr(hash + 1)))
        return *url;
    return VolumeURL{"file", "", entry.mountPoint};
}

std::string VolumeDisplayName(const MountEntry& entry) {
    if (entry.mountPoint == "/")
        return StartupVolumeName();
    if (auto label = deviceLabel(entry.source))
        return *label;
    if (entry.fileSystemType == "gvfs") {
        const VolumeURL url = VolumeURLForMount(entry);
        const std::string share = NSLastPathComponent(url.path);
        return share == "/" || share.empty() ? url.host : share;
    }
    return NSLastPathComponent(entry.mountPoint);
}

std::string StartupVolumeName() {
    std::optional<MountEntry> root;
    for (MountEntry& entry : CurrentMountTable()) {
        if (entry.mountPoint == "/")
            root = std::move(entry);
    }
    if (root) {
        if (auto label = deviceLabel(root->source); label && !label->empty())
            return *label;
    }
    return LXLocalizedString("Computer");
}
