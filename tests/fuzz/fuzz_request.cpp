// The request reader on hostile message bytes: a D-Bus message as it arrives, its
// arguments as property-list values, the task's choice of job, and the parameters the
// jobs read from the request (frame size text, counts, transforms, token). The movie
// bytes are taken out (fuzz_movie covers them), so the job answers at once; the frame
// size and transforms are then applied to a blank frame as the frame job would. Every
// reply goes back over the wire and must carry the request's token in its own type.
#include <cstddef>
#include <cstdint>
#include <string>

#include "FuzzCheck.h"
#include "GLibFuzzHandles.h"
#include "imaging/NSImage+LXImageEncoding.h"
#include "platform/core/NSGeometry.h"
#include "platform/graphics/NSImage.h"
#include "platform/ipc/PropertyListVariant.h"
#include "service/LXVideoFrameJobs.h"
#include "service/LXVideoFrameProtocols.h"
#include "service/jobs/LXVideoFrameTransform.h"

namespace {

namespace Key = LXVideoFrameKey;

// A value as it would travel: its wire form, printed with types.
std::string WireText(const PropertyValue& value) {
    GVariant* variant = VariantFromPropertyValue(value, nullptr);
    if (!variant)
        return "(none)";
    OwnedVariant owned(g_variant_ref_sink(variant));
    return OwnedText(g_variant_print(owned.get(), TRUE)).get();
}

// The arguments of a message's body, read as the service reads them.
PropertyArray ArgumentsOfMessage(GDBusMessage* message) {
    PropertyArray arguments;
    GVariant* body = g_dbus_message_get_body(message);
    if (!body || !g_variant_is_container(body))
        return arguments;
    GUnixFDList* fds = g_dbus_message_get_unix_fd_list(message);
    gsize count = g_variant_n_children(body);
    for (gsize i = 0; i < count; ++i) {
        OwnedVariant child(g_variant_get_child_value(body, i));
        arguments.push_back(PropertyValueFromVariant(child.get(), fds));
    }
    return arguments;
}

OwnedMessage MessageFromBytes(const uint8_t* data, size_t size) {
    GError* error = nullptr;
    GDBusMessage* message = g_dbus_message_new_from_blob(const_cast<guchar*>(data), size,
                                                         G_DBUS_CAPABILITY_FLAGS_UNIX_FD_PASSING, &error);
    if (error)
        g_error_free(error);
    return OwnedMessage(message);
}

// Sends each reply through the wire form and reads it back, as the client would.
class WireHost final : public LXVideoFrameJobHost {
public:
    bool cancelled() const override { return false; }
    void setCancelled(bool) override {}
    void reply(const PropertyDictionary& request, const char* key, PropertyValue value) override {
        const PropertyValue* token = PropertyValueForKey(request, Key::token);
        FUZZ_CHECK(token != nullptr);
        PropertyDictionary reply{{Key::token, *token}, {key, std::move(value)}};
        const auto& client = LXVideoFrameClientInterface();
        GVariant* body = g_variant_ref_sink(VariantFromPropertyDictionary(reply, nullptr));
        auto message =
            MessageWithDictionary(client.objectPath().c_str(), client.name().c_str(), "ProcessReply", body);
        g_variant_unref(body);
        gsize length = 0;
        guchar* blob =
            g_dbus_message_to_blob(message.get(), &length, G_DBUS_CAPABILITY_FLAGS_UNIX_FD_PASSING, nullptr);
        FUZZ_CHECK(blob != nullptr);
        auto received = MessageFromBytes(blob, length);
        g_free(blob);
        FUZZ_CHECK(received != nullptr);
        PropertyArray arguments = ArgumentsOfMessage(received.get());
        FUZZ_CHECK(arguments.size() == 1 && arguments[0].dictionary());
        const PropertyValue* echoed = PropertyValueForKey(*arguments[0].dictionary(), Key::token);
        FUZZ_CHECK(echoed != nullptr);
        FUZZ_CHECK(WireText(*echoed) == WireText(*token));
        if (std::string_view(key) == Key::completed)
            completed = PropertyValueForKey(*arguments[0].dictionary(), key)->boolValue();
        ++replies;
    }

    int replies = 0;
    std::optional<bool> completed;
};

// What the frame job does with the frame size and transforms, on a blank frame: the
// size is capped here to keep one input cheap (PixelLimits caps the real job).
void applyFrameOptions(const PropertyDictionary& request) {
    const PropertyValue* sizeValue = PropertyValueForKey(request, Key::frameSize);
    NSSize frameSize = sizeValue && sizeValue->string() ? NSSizeFromString(*sizeValue->string()) : NSZeroSize;
    auto pixels = PixelSizeForPointSize(frameSize);
    if (!pixels || int64_t(pixels->width) * pixels->height > 64 * 64)
        return;
    auto bitmap = NSBitmapImageRep::bitmapWithPixelSize(*pixels);
    FUZZ_CHECK(bitmap.has_value());
    auto frame = NSImage::imageWithBitmap(std::move(*bitmap), frameSize);
    auto transform = TransformForFrameOptions(PropertyValueForKey(request, Key::transforms), frameSize);
    if (transform) {
        frame = LXImage::imageByApplyingAffineTransform(*frame, transform.get());
        if (!frame)
            return;
    }
    FUZZ_CHECK(LXImage::PNGRepresentation(*frame).has_value());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    auto message = MessageFromBytes(data, size);
    if (!message)
        return 0;
    const char* member = g_dbus_message_get_member(message.get());
    const NSXPCMessage* known = member ? LXVideoFrameServiceInterface().messageForMember(member) : nullptr;
    PropertyArray arguments = ArgumentsOfMessage(message.get());
    if (!known || known->selector != "processRequest" || arguments.empty() || !arguments[0].dictionary())
        return 0;
    PropertyDictionary request = *arguments[0].dictionary();
    // The task drops a request without a token: no reply may lack one.
    if (!PropertyValueForKey(request, Key::token))
        return 0;
    request.erase(Key::movieData);

    WireHost host;
    if (PropertyValueForKey(request, Key::wantsChapterFrames)) {
        LXVideoFrameBuiltInJobs.createChapterFramesWithOptions(host, request);
        // No movie, no chapters: all of none were visited.
        FUZZ_CHECK(host.replies == 1 && host.completed == true);
        return 0;
    }
    LXVideoFrameBuiltInJobs.createFramesWithOptions(host, request);
    // Without a movie no frame is answered, which completes only a request for none.
    const PropertyValue* count = PropertyValueForKey(request, Key::frameCount);
    bool asksForNone = !count || count->intValue().value_or(0) == 0;
    FUZZ_CHECK(host.replies == 1 && host.completed == asksForNone);
    applyFrameOptions(request);
    return 0;
}
