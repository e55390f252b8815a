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

/// Takes over the one reference the caller holds to a GVariant, whichever kind it is:
/// a floating one (from the `g_variant_new_*` constructors and builders) is sunk, a full
/// one (from `g_variant_get_child_value`, `g_variant_get_variant`, an iterator…) is kept
/// as it is. `g_variant_ref_sink` would add a second reference to a full one and leak
/// the value, and with it the message buffer it points into.
inline GVariantHandle AdoptVariant(GVariant* value) {
    return GVariantHandle(value ? g_variant_take_ref(value) : nullptr);
}

/// A string that GLib allocated, or "" for a null one.
inline std::string StringFromGChars(const GCharHandle& text) {
    return text ? std::string(text.get()) : std::string();
}
