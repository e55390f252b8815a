#include "platform/files/NSPathUtilities.h"

#include <glib.h>

#include "platform/core/GLibHandles.h"
#include "platform/core/GObjectRef.h"

namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    return path;
}

// Where the last component starts, trailing slashes already removed.
size_t lastComponentStart(std::string_view path) {
    const size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? 0 : slash + 1;
}

} // namespace

std::vector<std::string> NSPathComponents(std::string_view path) {
    std::vector<std::string> components;
    if (path.empty())
        return components;
    if (path.front() == '/')
        components.emplace_back("/");
    size_t start = 0;
    while (start < path.size()) {
        const size_t slash = path.find('/', start);
        const size_t end = slash == std::string_view::npos ? path.size() : slash;
        if (end > start)
            components.emplace_back(path.substr(start, end - start));
        start = end + 1;
    }
    if (path.size() > 1 && path.back() == '/')
        components.emplace_back("/");
    return components;
}

std::string NSPathWithComponents(const std::vector<std::string>& components) {
    std::string path;
    for (const std::string& component : components) {
        if (component == "/") {
            if (path.empty() || path.back() != '/')
                path += '/';
            continue;
        }
        if (!path.empty() && path.back() != '/')
            path += '/';
        path += component;
    }
    return path;
}

std::string NSLastPathComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    if (path == "/")
        return "/";
    return std::string(path.substr(lastComponentStart(path)));
}

std::string NSPathExtension(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const size_t start = lastComponentStart(path);
    const size_t point = path.rfind('.');
    if (point == std::string_view::npos || point <= start)
        return "";
    return std::string(path.substr(point + 1));
}

std::string NSStringByDeletingPathExtension(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const size_t start = lastComponentStart(path);
    const size_t point = path.rfind('.');
    if (point == std::string_view::npos || point <= start)
        return std::string(path);
    return std::string(path.substr(0, point));
}

std::string NSStringByDeletingLastPathComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    if (path == "/")
        return "/";
    const size_t slash = path.rfind('/');
    if (slash == std::string_view::npos)
        return "";
    if (slash == 0)
        return "/";
    return std::string(withoutTrailingSlashes(path.substr(0, slash)));
}

std::string NSStringByAppendingPathComponent(std::string_view path, std::string_view component) {
    while (!component.empty() && component.front() == '/')
        component.remove_prefix(1);
    std::string joined(path);
    if (joined.empty())
        return std::string(component);
    if (joined.back() != '/' && !component.empty())
        joined += '/';
    joined += component;
    return joined;
}

std::string NSHomeDirectory() {
    const char* home = g_getenv("HOME");
    if (home && home[0] == '/')
        return home;
    return g_get_home_dir();
}

std::string NSStringByExpandingTildeInPath(std::string_view path) {
    if (path.empty() || path.front() != '~' || (path.size() > 1 && path[1] != '/'))
        return std::string(path);
    std::string home = NSHomeDirectory();
    if (path.size() <= 2)
        return home;
    return NSStringByAppendingPathComponent(home, path.substr(2));
}

std::string NSStandardizedAbsolutePath(std::string_view path) {
    std::string absolute(path);
    if (absolute.empty() || absolute.front() != '/') {
        GCharHandle cwd(g_get_current_dir());
        absolute = NSStringByAppendingPathComponent(cwd.get(), path);
    }
    std::vector<std::string> kept;
    for (const std::string& component : NSPathComponents(absolute)) {
        if (component == "/" || component == ".")
            continue;
        if (component == "..") {
            if (!kept.empty())
                kept.pop_back();
            continue;
        }
        kept.push_back(component);
    }
    std::string result;
    for (const std::string& component : kept)
        result += "/" + component;
    return result.empty() ? "/" : result;
}

bool NSPathIsInside(std::string_view path, std::string_view folder) {
    folder = withoutTrailingSlashes(folder);
    if (folder == "/")
        return !path.empty() && path.front() == '/';
    if (path.substr(0, folder.size()) != folder)
        return false;
    return path.size() == folder.size() || path[folder.size()] == '/';
}

size_t NSStringCharacterCount(std::string_view text) {
    size_t count = 0;
    for (const char byte : text) {
        if ((static_cast<unsigned char>(byte) & 0xC0) != 0x80)
            ++count;
    }
    return count;
}

std::string NSStringLowercase(std::string_view text) {
    if (!g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) {
        std::string lowered(text);
        for (char& byte : lowered)
            byte = g_ascii_tolower(byte);
        return lowered;
    }
    GCharHandle lowered(g_utf8_strdown(text.data(), static_cast<gssize>(text.size())));
    return lowered.get();
}
