// A received message's buffer must be freed once the values read from it are gone: a
// reference kept by mistake keeps every message's bytes (a whole movie) for good.

#include <cstring>

#include <gtest/gtest.h>

#include "platform/core/GLibHandles.h"
#include "platform/ipc/PropertyListVariant.h"

namespace {

/// A serialized message body in a buffer of its own that reports when GLib frees it,
/// as a received D-Bus message's body is.
struct TrackedBody {
    GVariantHandle body;
    bool freed = false;

    explicit TrackedBody(GVariant* floating) {
        auto built = AdoptVariant(floating);
        gsize size = g_variant_get_size(built.get());
        void* copy = g_malloc(size);
        std::memcpy(copy, g_variant_get_data(built.get()), size);
        struct Release {
            void* bytes;
            bool* freed;
        };
        auto release = new Release{copy, &freed};
        body = AdoptVariant(g_variant_new_from_data(
            g_variant_get_type(built.get()), copy, size, TRUE,
            [](gpointer data) {
                auto release = static_cast<Release*>(data);
                g_free(release->bytes);
                *release->freed = true;
                delete release;
            },
            release));
    }
};

GVariant* byteArray(size_t length, uint8_t fill) {
    auto bytes = static_cast<uint8_t*>(g_malloc(length));
    std::memset(bytes, fill, length);
    return g_variant_new_from_data(G_VARIANT_TYPE_BYTESTRING, bytes, length, TRUE, g_free, bytes);
}

TEST(VariantOwnership, AdoptingAFullReferenceKeepsNoExtraOne) {
    TrackedBody tracked(g_variant_new_parsed("(%@ay, 7)", byteArray(64, 1)));
    {
        // g_variant_get_child_value hands out a full reference, not a floating one.
        auto child = AdoptVariant(g_variant_get_child_value(tracked.body.get(), 0));
        ASSERT_FALSE(g_variant_is_floating(child.get()));
        auto inner = AdoptVariant(g_variant_new_variant(child.get()));
        auto unwrapped = AdoptVariant(g_variant_get_variant(inner.get()));
        EXPECT_EQ(g_variant_get_size(unwrapped.get()), 64u);
    }
    tracked.body.reset();
    EXPECT_TRUE(tracked.freed) << "a child value kept the message's buffer";
}

// Every way in which the reader takes values out of a body: the tuple's arguments, the
// dictionary's entries, variants, arrays of variants and byte arrays.
TEST(VariantOwnership, ReadingARequestFreesTheMessageOnceTheValuesAreGone) {
    const char* shapes[] = {
        "({'movieData': <%@ay>, 'token': <'a'>},)",
        "({'list': <[<%@ay>, <'x'>, <[<{'deep': <<1>>}>]>]>},)",
        "({'nested': <{'inner': <<%@ay>>}>},)",
    };
    for (const char* shape : shapes) {
        TrackedBody tracked(g_variant_new_parsed(shape, byteArray(4096, 0x5a)));
        PropertyValue request;
        {
            auto argument = AdoptVariant(g_variant_get_child_value(tracked.body.get(), 0));
            request = PropertyValueFromVariant(argument.get(), nullptr);
        }
        ASSERT_NE(request.dictionary(), nullptr) << shape;
        tracked.body.reset();
        // Data read from the message points into its buffer, which it keeps alive.
        EXPECT_FALSE(tracked.freed) << shape;
        request = {};
        EXPECT_TRUE(tracked.freed) << "the message's buffer outlived its values: " << shape;
    }
}

} // namespace
