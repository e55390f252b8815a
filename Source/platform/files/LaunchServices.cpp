#include "platform/files/LaunchServices.h"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <unistd.h>

#include "platform/files/FileManager.h"
#include "platform/core/GLibHandles.h"
#include "platform/core/GObjectRef.h"

namespace {

GObjectRef<GFileInfo> queryInfo(const std::string& path, const char* attributes, GFileQueryInfoFlags flags) {
    auto file = GObjectRef<GFile>::adopt(g_vfs_get_file_for_path(g_vfs_get_local(), path.c_str()));
    return GObjectRef<GFileInfo>::adopt(g_file_query_info(file.get(), attributes, flags, nullptr, nullptr));
}

std::optional<std::string> contentTypeOf(const std::string& path) {
    const auto info = queryInfo(path, G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE, G_FILE_QUERY_INFO_NONE);
    if (!info)
        return std::nullopt;
    const char* contentType = g_file_info_get_content_type(info.get());
    if (!contentType)
        return std::nullopt;
    return std::string(contentType);
}

bool applicationHandles(GAppInfo* application, const std::string& contentType) {
    const char* const* supported = g_app_info_get_supported_types(application);
    for (; supported && *supported; ++supported) {
        if (g_content_type_is_a(contentType.c_str(), *supported))
            return true;
    }
    return false;
}

} // namespace

std::optional<bool> LSItemIsInvisible(const std::string& path) {
    const auto info =
        queryInfo(path, G_FILE_ATTRIBUTE_STANDARD_IS_HIDDEN, G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS);
    if (!info)
        return std::nullopt;
    return static_cast<bool>(g_file_info_get_is_hidden(info.get()));
}

bool LSCanRefAcceptItem(const FSRef& item, const FSRef& target) {
    bool isFolder = false;
    if (!NSFileManager::fileExistsAtPath(target.path, &isFolder))
        return false;
    if (isFolder)
        return access(target.path.c_str(), W_OK) == 0;
    auto application =
        GObjectRef<GDesktopAppInfo>::adopt(g_desktop_app_info_new_from_filename(target.path.c_str()));
    if (!application)
        return false;
    const auto contentType = contentTypeOf(item.path);
    if (!contentType)
        return false;
    return applicationHandles(G_APP_INFO(application.get()), *contentType);
}
