#include "platform/ipc/DBusWireLimits.h"

#include "platform/core/GLibHandles.h"

namespace {

std::string mebibytes(size_t bytes) {
    char text[32];
    g_snprintf(text, sizeof text, "%.1f MiB", double(bytes) / (1024.0 * 1024.0));
    return text;
}

std::optional<std::string> arrayBreach(GVariant* value) {
    const GVariantType* type = g_variant_get_type(value);
    if (g_variant_type_is_basic(type))
        return std::nullopt;
    if (g_variant_type_is_array(type)) {
        size_t size = g_variant_get_size(value);
        if (size > kDBusMaximumArrayBytes)
            return "an array of " + mebibytes(size) + " (D-Bus allows " + mebibytes(kDBusMaximumArrayBytes) +
                   ")";
        // Arrays of plain values (bytes above all) hold no further arrays.
        if (g_variant_type_is_basic(g_variant_type_element(type)))
            return std::nullopt;
    }
    gsize count = g_variant_n_children(value);
    for (gsize i = 0; i < count; ++i) {
        auto child = AdoptVariant(g_variant_get_child_value(value, i));
        if (auto breach = arrayBreach(child.get()))
            return breach;
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> DBusWireLimitBreach(GVariant* body) {
    if (!body)
        return std::nullopt;
    size_t size = g_variant_get_size(body);
    if (size > kDBusMaximumMessageBytes - kDBusHeaderAllowance)
        return "a message of " + mebibytes(size) + " (D-Bus allows " + mebibytes(kDBusMaximumMessageBytes) +
               ")";
    return arrayBreach(body);
}
