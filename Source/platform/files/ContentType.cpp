#include "platform/files/ContentType.h"

#include <array>
#include <cstdio>
#include <memory>

#include <gio/gio.h>

#include "platform/core/GLibHandles.h"
#include "platform/core/GObjectRef.h"
#include "platform/files/UTType.h"

namespace {

// The bytes shared-mime-info's magic rules look at, at most.
constexpr size_t kSniffLength = 4096;

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};

std::optional<std::string> sniffedMIMEType(const std::string& path) {
    std::unique_ptr<FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
    if (!file)
        return std::nullopt;
    std::array<unsigned char, kSniffLength> head{};
    const size_t length = std::fread(head.data(), 1, head.size(), file.get());
    if (std::ferror(file.get()))
        return std::nullopt;
    gboolean uncertain = FALSE;
    GCharHandle guessed(g_content_type_guess(nullptr, head.data(), length, &uncertain));
    if (!guessed)
        return std::string("application/octet-stream");
    return std::string(guessed.get());
}

} // namespace

std::optional<std::string> LSCopyItemContentType(const std::string& path) {
    auto file = GObjectRef<GFile>::adopt(g_vfs_get_file_for_path(g_vfs_get_local(), path.c_str()));
    auto info = GObjectRef<GFileInfo>::adopt(g_file_query_info(
        file.get(), G_FILE_ATTRIBUTE_STANDARD_FAST_CONTENT_TYPE, G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
    if (!info)
        return std::nullopt;
    const char* contentType =
        g_file_info_get_attribute_string(info.get(), G_FILE_ATTRIBUTE_STANDARD_FAST_CONTENT_TYPE);
    if (!contentType || g_content_type_is_unknown(contentType))
        return std::string(kUTTypeData);
    return UTTypeIdentifierForContentType(contentType);
}

std::optional<ImageSourceType> CGImageSourceTypeAtPath(const std::string& path) {
    const auto mimeType = sniffedMIMEType(path);
    if (!mimeType)
        return std::nullopt;
    const auto identifier = UTTypeIdentifierForContentType(*mimeType);
    const bool isImage =
        identifier && (UTTypeConformsTo(*identifier, kUTTypeImage) || mimeType->starts_with("image/"));
    return ImageSourceType{isImage ? identifier : std::nullopt};
}

std::optional<std::string> SniffedContentTypeAtPath(const std::string& path) {
    const auto mimeType = sniffedMIMEType(path);
    if (!mimeType)
        return std::nullopt;
    if (g_content_type_is_unknown(mimeType->c_str()))
        return std::string(kUTTypeData);
    return UTTypeIdentifierForContentType(*mimeType);
}
