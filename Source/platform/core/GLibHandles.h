#pragma once

#include <memory>
#include <string>

#include <gio/gio.h>

/// Owning handles for the GLib values that are not GObjects.
struct GVariantDeleter {
    void operator()(GVariant* value) const { g_variant_unref(value); }
};
struct GErrorDeleter {
    void operator()(GError* error) const { g_error_free(error); }
};
struct GFreeDeleter {
    void operator()(void* memory) const { g_free(memory); }
};
struct GMainContextDeleter {
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
};
struct GMainLoopDeleter {
    void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
};
struct GDBusNodeInfoDeleter {
    void operator()(GDBusNodeInfo* info) const { g_dbus_node_info_unref(info); }
};
using GVariantHandle = std::unique_ptr<GVariant, GVariantDeleter>;
using GErrorHandle = std::unique_ptr<GError, GErrorDeleter>;
using GCharHandle = std::unique_ptr<char, GFreeDeleter>;
using GMainContextHandle = std::unique_ptr<GMainContext, GMainContextDeleter>;
using GMainLoopHandle = std::unique_ptr<GMainLoop, GMainLoopDeleter>;
using GDBusNodeInfoHandle = std::unique_ptr<GDBusNodeInfo, GDBusNodeInfoDeleter>;

/// Takes ownership of a GVariant, sinking a floating reference.
inline GVariantHandle AdoptVariant(GVariant* value) {
    return GVariantHandle(value ? g_variant_ref_sink(value) : nullptr);
}

/// A string that GLib allocated, or "" for a null one.
inline std::string StringFromGChars(const GCharHandle& text) { return text ? std::string(text.get()) : std::string(); }
