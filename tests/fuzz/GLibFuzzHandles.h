#pragma once

#include <memory>

#include <gio/gio.h>

/// Owners for the GLib values the fuzz targets make: each holds one full reference.
struct VariantUnref {
    void operator()(GVariant* value) const { g_variant_unref(value); }
};
struct ObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct CharFree {
    void operator()(char* text) const { g_free(text); }
};
using OwnedVariant = std::unique_ptr<GVariant, VariantUnref>;
using OwnedMessage = std::unique_ptr<GDBusMessage, ObjectUnref>;
using OwnedText = std::unique_ptr<char, CharFree>;

/// A new method call or signal of the service's protocols carrying one `a{sv}` (sunk
/// here, so the message holds the only reference).
inline OwnedMessage MessageWithDictionary(const char* path, const char* interface, const char* member,
                                          GVariant* dictionary) {
    OwnedMessage message(g_dbus_message_new_method_call(nullptr, path, interface, member));
    if (dictionary)
        g_dbus_message_set_body(message.get(), g_variant_new_tuple(&dictionary, 1));
    return message;
}
