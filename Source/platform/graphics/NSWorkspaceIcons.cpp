#include "platform/graphics/NSWorkspaceIcons.h"

#include <cstdlib>
#include <filesystem>
#include <optional>

#include <gio/gio.h>
#include <librsvg/rsvg.h>

#include "platform/core/GObjectRef.h"
#include "platform/graphics/PngReader.h"

namespace {

constexpr int kIconPixels = 512;

std::vector<std::filesystem::path> IconBaseFolders() {
    std::vector<std::filesystem::path> folders;
    if (const char* home = std::getenv("XDG_DATA_HOME"); home && *home)
        folders.emplace_back(std::filesystem::path(home) / "icons");
    else if (const char* user = std::getenv("HOME"); user && *user)
        folders.emplace_back(std::filesystem::path(user) / ".local/share/icons");
    std::string dirs = std::getenv("XDG_DATA_DIRS") && *std::getenv("XDG_DATA_DIRS") ? std::getenv("XDG_DATA_DIRS")
                                                                                       : "/usr/local/share:/usr/share";
    size_t start = 0;
    while (start <= dirs.size()) {
        size_t end = dirs.find(':', start);
        std::string dir = dirs.substr(start, end == std::string::npos ? std::string::npos : end - start);
        if (!dir.empty())
            folders.emplace_back(std::filesystem::path(dir) / "icons");
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return folders;
}

// The pixel size a theme folder holds ("512x512" → 512, "scalable" → unlimited).
std::optional<int> FolderPixels(const std::string& name) {
    if (name == "scalable")
        return 1 << 20;
    size_t x = name.find('x');
    if (x == std::string::npos || x == 0)
        return std::nullopt;
    int size = std::atoi(name.substr(0, x).c_str());
    return size > 0 ? std::optional(size) : std::nullopt;
}

std::shared_ptr<NSImage> LoadSvg(const std::filesystem::path& path) {
    GError* error = nullptr;
    GObjectRef<RsvgHandle> handle = GObjectRef<RsvgHandle>::adopt(rsvg_handle_new_from_file(path.c_str(), &error));
    if (error)
        g_error_free(error);
    if (!handle)
        return nullptr;
    auto bitmap = NSBitmapImageRep::bitmapWithPixelSize({kIconPixels, kIconPixels});
    if (!bitmap)
        return nullptr;
    CairoContext cairo(cairo_create(bitmap->surface()));
    RsvgRectangle viewport{0, 0, kIconPixels, kIconPixels};
    bool drawn = rsvg_handle_render_document(handle.get(), cairo.get(), &viewport, &error);
    if (error)
        g_error_free(error);
    if (!drawn)
        return nullptr;
    cairo_surface_flush(bitmap->surface());
    return NSImage::imageWithBitmap(std::move(*bitmap));
}

std::shared_ptr<NSImage> LoadPng(const std::filesystem::path& path) {
    gchar* contents = nullptr;
    gsize length = 0;
    if (!g_file_get_contents(path.c_str(), &contents, &length, nullptr))
        return nullptr;
    NSData data = NSData::dataWithBytes(contents, length);
    g_free(contents);
    CairoSurface surface = DecodePng(data);
    if (!surface)
        return nullptr;
    auto bitmap = NSBitmapImageRep::bitmapWithSurface(std::move(surface));
    return bitmap ? NSImage::imageWithBitmap(std::move(*bitmap)) : nullptr;
}

// The largest picture of the name in one theme: theme/<size>/<context>/name.{png,svg}.
std::optional<std::filesystem::path> FindInTheme(const std::filesystem::path& theme, const std::string& name) {
    std::error_code error;
    std::optional<std::filesystem::path> best;
    int bestPixels = 0;
    for (const auto& sizeFolder : std::filesystem::directory_iterator(theme, error)) {
        std::optional<int> pixels = FolderPixels(sizeFolder.path().filename().string());
        if (!pixels || *pixels <= bestPixels)
            continue;
        std::error_code inner;
        for (const auto& contextFolder : std::filesystem::directory_iterator(sizeFolder.path(), inner)) {
            for (const char* extension : {".png", ".svg"}) {
                std::filesystem::path candidate = contextFolder.path() / (name + extension);
                if (std::filesystem::is_regular_file(candidate, inner)) {
                    best = candidate;
                    bestPixels = *pixels;
                }
            }
        }
    }
    return best;
}

} // namespace

std::shared_ptr<NSImage> IconForNames(const std::vector<std::string>& names) {
    std::vector<std::filesystem::path> bases = IconBaseFolders();
    for (const std::string& name : names) {
        for (const char* theme : {"Adwaita", "hicolor"}) {
            for (const auto& base : bases) {
                std::optional<std::filesystem::path> path = FindInTheme(base / theme, name);
                if (!path)
                    continue;
                std::shared_ptr<NSImage> image = path->extension() == ".svg" ? LoadSvg(*path) : LoadPng(*path);
                if (image)
                    return image;
            }
        }
    }
    return nullptr;
}

std::shared_ptr<NSImage> IconForContentType(const std::string& contentType) {
    if (contentType.empty())
        return nullptr;
    GObjectRef<GIcon> icon = GObjectRef<GIcon>::adopt(g_content_type_get_icon(contentType.c_str()));
    if (!icon || !G_IS_THEMED_ICON(icon.get()))
        return nullptr;
    std::vector<std::string> names;
    for (const gchar* const* name = g_themed_icon_get_names(G_THEMED_ICON(icon.get())); name && *name; ++name) {
        // Symbolic icons are monochrome glyphs for small sizes, not document pictures.
        std::string text = *name;
        if (text.find("-symbolic") == std::string::npos)
            names.push_back(text);
    }
    return IconForNames(names);
}

std::shared_ptr<NSImage> GenericDocumentIcon() {
    return IconForNames({"application-x-generic", "text-x-generic"});
}
