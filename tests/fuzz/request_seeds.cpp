// Writes request messages, serialised as they go over the wire, from real request
// dictionaries: the seeds of fuzz_request. Usage: fuzz_request_seeds FOLDER
#include <cstdio>
#include <fstream>
#include <string>

#include "GLibFuzzHandles.h"
#include "platform/ipc/PropertyListVariant.h"
#include "service/LXVideoFrameProtocols.h"

namespace {

namespace Key = LXVideoFrameKey;

NSData bytes(const char* text) {
    return NSData::dataWithBytes(text, std::char_traits<char>::length(text));
}

bool write(const std::string& folder, const std::string& name, GDBusMessage* message) {
    gsize length = 0;
    GError* error = nullptr;
    guchar* blob = g_dbus_message_to_blob(message, &length, G_DBUS_CAPABILITY_FLAGS_UNIX_FD_PASSING, &error);
    if (!blob) {
        std::fprintf(stderr, "fuzz_request_seeds: %s: %s\n", name.c_str(), error->message);
        g_error_free(error);
        return false;
    }
    std::ofstream(folder + "/" + name, std::ios::binary).write(reinterpret_cast<const char*>(blob), length);
    g_free(blob);
    return true;
}

bool writeRequest(const std::string& folder, const std::string& name, const PropertyDictionary& request,
                  const char* member = "ProcessRequest") {
    const auto& service = LXVideoFrameServiceInterface();
    GVariant* body = g_variant_ref_sink(VariantFromPropertyDictionary(request, nullptr));
    auto message = MessageWithDictionary(service.objectPath().c_str(), service.name().c_str(), member, body);
    g_variant_unref(body);
    return write(folder, name, message.get());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_request_seeds FOLDER\n");
        return 2;
    }
    std::string folder = argv[1];
    PropertyDictionary turn{{Key::rotation, PropertyValue::number(90)},
                            {Key::flipHorizontal, PropertyValue::boolean(true)}};
    PropertyDictionary odd{{Key::rotation, NSNumber::numberWithDouble(45.5)},
                           {Key::flipVertical, std::string("yes")},
                           {Key::flipHorizontal, NSNumber::numberWithKind(NSNumber::Kind::Byte, 1)}};
    PropertyArray nested{std::string("a"),
                         PropertyValue(PropertyDictionary{{"b", PropertyValue::number(-1)}}),
                         bytes("\x01\x02")};
    bool written = true;
    written &= writeRequest(folder, "frames",
                            {{Key::token, std::string("request-1")},
                             {Key::movieData, bytes("movie bytes")},
                             {Key::frameSize, std::string("{64, 48}")},
                             {Key::frameCount, PropertyValue::number(3)},
                             {Key::interval, NSNumber::numberWithKind(NSNumber::Kind::Int64, 600)},
                             {Key::transforms, PropertyValue(turn)},
                             {Key::requiresAllFrames, PropertyValue::boolean(true)}});
    written &= writeRequest(folder, "frames-odd",
                            {{Key::token, PropertyValue(nested)},
                             {Key::frameSize, std::string("{1.5, 2.5}")},
                             {Key::frameCount, std::string("10")},
                             {Key::interval, NSNumber::numberWithDouble(-1e300)},
                             {Key::transforms, PropertyValue(odd)}});
    written &= writeRequest(folder, "frames-tiny",
                            {{Key::token, NSNumber::numberWithUnsignedLongLong(~0ull)},
                             {Key::frameSize, std::string("{2, 5}")},
                             {Key::frameCount, PropertyValue::number(2)}});
    written &= writeRequest(folder, "chapters",
                            {{Key::token, NSNumber::numberWithKind(NSNumber::Kind::Int16, 7)},
                             {Key::wantsChapterFrames, PropertyValue::boolean(true)},
                             {Key::movieData, bytes("movie bytes")}});
    written &= writeRequest(
        folder, "no-token",
        {{Key::frameSize, std::string("{16000, 16000}")}, {Key::frameCount, PropertyValue::number(1000000)}});
    written &= writeRequest(folder, "cancel", {}, "CancelRequest");
    return written ? 0 : 1;
}
