#include <mutex>
#include <vector>

#include "foundation/NSString+LXStringPathDisplay.h"
#include "foundation/NSString+LXStringPaths.h"
#include "platform/files/FileManager.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/files/Places.h"
#include "platform/files/Volumes.h"

namespace {

// U+2002 EN SPACE, U+301C WAVE DASH, U+2002 EN SPACE.
constexpr std::string_view kHostSeparator = "\u2002\u301C\u2002";
// U+2002 EN SPACE, U+3009 RIGHT ANGLE BRACKET.
constexpr std::string_view kDisplaySeparator = "\u2002\u3009";
constexpr std::string_view kCloudDocuments = "/Library/Mobile Documents";

std::string joined(const std::vector<std::string>& components, std::string_view separator) {
    std::string text;
    for (size_t index = 0; index < components.size(); ++index) {
        if (index > 0)
            text += separator;
        text += components[index];
    }
    return text;
}

std::string replacingAll(const std::string& text, char from, std::string_view to) {
    std::string replaced;
    for (const char character : text) {
        if (character == from)
            replaced += to;
        else
            replaced += character;
    }
    return replaced;
}

std::string displayPathFromComponents(const std::string& path) {
    auto components = NSFileManager::componentsToDisplayForPath(path);
    if (!components || components->empty()) {
        for (const std::string& folder : MountedVolumeFolders()) {
            if (path.starts_with(folder))
                return path.substr(folder.size());
        }
        return path;
    }
    if (components->size() >= 2 && LXString::volumeOfPath(path) == LXString::volumeOfPath("/")) {
        (*components)[0] = "/";
        return NSStringByAppendingPathComponent("/", joined(*components, "/"));
    }
    return joined(*components, "/");
}

std::string withoutHomeFolders(const std::string& displayPath) {
    const std::string home = NSStringByExpandingTildeInPath("~/");
    if (!displayPath.starts_with(home))
        return displayPath;
    for (const std::string& users : UsersFolders()) {
        if (displayPath.starts_with(users))
            return displayPath.substr(users.size());
    }
    return displayPath;
}

} // namespace

namespace LXString {

std::string displayPath(const std::string& path) {
    return displayPathWithHost(path, std::nullopt);
}

std::string displayPathWithHost(const std::string& path, const std::optional<std::string>& host) {
    if (isFileAtPathInTrash(path))
        return localizedNameForTrash();
    std::string display = withoutHomeFolders(displayPathFromComponents(path));
    if (display.starts_with('/'))
        display = volumeNameForPath("/") + display;
    if (const size_t cloud = display.find(kCloudDocuments); cloud != std::string::npos)
        display.erase(cloud, kCloudDocuments.size());
    std::optional<std::string> shownHost = host;
    if (NSFileManager::fileExistsAtPath(path))
        shownHost = hostNameForPath(path);
    if (shownHost && !shownHost->empty())
        display = *shownHost + std::string(kHostSeparator) + display;
    return display;
}

std::string displayStringForDisplayPath(const std::string& displayPath) {
    return replacingAll(displayPath, '/', kDisplaySeparator);
}

std::string displayStringForPath(const std::string& path) {
    return displayStringForPathWithHost(path, std::nullopt);
}

std::string displayStringForPathWithHost(const std::string& path, const std::optional<std::string>& host) {
    return displayStringForDisplayPath(displayPathWithHost(path, host));
}

std::optional<std::string> hostNameForPath(const std::string& path) {
    const int16_t volume = volumeOfPath(path);
    if (volume == 0)
        return std::nullopt;
    const auto url = FSCopyURLForVolume(volume);
    if (!url || url->isFileURL())
        return std::nullopt;
    std::string host = url->host;
    if (const size_t serviceSuffix = host.find("._"); serviceSuffix != std::string::npos)
        host.erase(serviceSuffix);
    return host;
}

std::string localizedNameForTrash() {
    static std::mutex lock;
    static std::optional<std::string> cachedName;
    std::lock_guard guard(lock);
    if (!cachedName) {
        if (const auto trash = NSFileManager::URLForTrashDirectory())
            cachedName = NSFileManager::displayNameAtPath(*trash);
    }
    return cachedName.value_or("");
}

} // namespace LXString
