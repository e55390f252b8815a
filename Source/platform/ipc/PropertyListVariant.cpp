#include "platform/ipc/PropertyListVariant.h"

#include <gio/gunixfdlist.h>
#include <unistd.h>

#include "platform/ipc/FileDescriptorData.h"

namespace {

PropertyValue dataFromByteArray(GVariant* value) {
    gsize length = 0;
    auto bytes = static_cast<const uint8_t*>(g_variant_get_fixed_array(value, &length, 1));
    // The message's own buffer backs the data; the reference keeps it alive.
    auto owner = std::shared_ptr<GVariant>(g_variant_ref(value), GVariantDeleter{});
    return NSData::dataWithOwner(owner, bytes, length);
}

PropertyValue dataFromHandle(GVariant* value, GUnixFDList* fds) {
    gint32 index = g_variant_get_handle(value);
    if (!fds || index < 0 || index >= g_unix_fd_list_get_length(fds))
        return {};
    // Borrow the list's descriptor: it stays open as long as the message does.
    const gint* descriptors = g_unix_fd_list_peek_fds(fds, nullptr);
    auto data = DataFromFileDescriptor(descriptors[index]);
    if (data.isError())
        return {};
    return data.releaseValue();
}

PropertyValue arrayFromVariants(GVariant* value, GUnixFDList* fds) {
    PropertyArray array;
    gsize count = g_variant_n_children(value);
    array.reserve(count);
    for (gsize i = 0; i < count; ++i) {
        auto child = AdoptVariant(g_variant_get_child_value(value, i));
        auto element = PropertyValueFromVariant(child.get(), fds);
        // An array cannot hold nothing; an element of an uncarried kind drops out.
        if (!element.isNone())
            array.push_back(std::move(element));
    }
    return array;
}

PropertyValue dictionaryFromEntries(GVariant* value, GUnixFDList* fds) {
    PropertyDictionary dictionary;
    GVariantIter iter;
    g_variant_iter_init(&iter, value);
    const char* key = nullptr;
    GVariant* raw = nullptr;
    while (g_variant_iter_next(&iter, "{&sv}", &key, &raw)) {
        auto held = AdoptVariant(raw);
        auto element = PropertyValueFromVariant(held.get(), fds);
        if (!element.isNone())
            dictionary.insert_or_assign(key, std::move(element));
    }
    return dictionary;
}

GVariant* numberVariant(const NSNumber& number) {
    using Kind = NSNumber::Kind;
    switch (number.kind()) {
    case Kind::Boolean:
        return g_variant_new_boolean(number.boolValue());
    case Kind::Byte:
        return g_variant_new_byte(static_cast<guchar>(number.longLongValue()));
    case Kind::Int16:
        return g_variant_new_int16(static_cast<gint16>(number.longLongValue()));
    case Kind::UInt16:
        return g_variant_new_uint16(static_cast<guint16>(number.longLongValue()));
    case Kind::Int32:
        return g_variant_new_int32(static_cast<gint32>(number.longLongValue()));
    case Kind::UInt32:
        return g_variant_new_uint32(static_cast<guint32>(number.longLongValue()));
    case Kind::Int64:
        return g_variant_new_int64(number.longLongValue());
    case Kind::UInt64:
        return g_variant_new_uint64(number.unsignedLongLongValue());
    case Kind::Double:
        return g_variant_new_double(number.doubleValue());
    }
    return nullptr;
}

GVariant* dataVariant(const NSData& data, GUnixFDList* fds) {
    // Data already in a file travels as that file (a file read in place, a sealed
    // memfd), which costs no copy; other bytes over the inline limit as a new memfd.
    if (fds &&
        (data.fileDescriptor() >= 0 || data.sealedDescriptor() >= 0 || data.length() > kInlineDataLimit)) {
        auto fd = CreateDescriptorToSend(data, "lxkit-data");
        if (!fd.isError()) {
            gint index = g_unix_fd_list_append(fds, fd.value(), nullptr);
            close(fd.value()); // The list holds its own duplicate.
            if (index >= 0)
                return g_variant_new_handle(index);
        }
    }
    // Zero-copy: the variant keeps a copy of the data handle, which keeps the bytes. A
    // file read in place has none in memory, so with nowhere to put a descriptor it is
    // read for the message.
    NSData inMemory = data;
    if (!data.isInMemory()) {
        std::vector<uint8_t> bytes(data.length());
        bytes.resize(data.readBytes(bytes.data(), bytes.size(), 0));
        inMemory = NSData::dataWithVector(std::move(bytes));
    }
    auto keeper = new NSData(std::move(inMemory));
    return g_variant_new_from_data(
        G_VARIANT_TYPE_BYTESTRING, keeper->bytes(), keeper->length(), TRUE,
        [](gpointer p) { delete static_cast<NSData*>(p); }, keeper);
}

} // namespace

PropertyValue PropertyValueFromVariant(GVariant* value, GUnixFDList* fds) {
    if (!value)
        return {};
    const GVariantType* type = g_variant_get_type(value);
    switch (g_variant_classify(value)) {
    case G_VARIANT_CLASS_BOOLEAN:
        return NSNumber::numberWithBool(g_variant_get_boolean(value));
    case G_VARIANT_CLASS_BYTE:
        return NSNumber::numberWithKind(NSNumber::Kind::Byte, g_variant_get_byte(value));
    case G_VARIANT_CLASS_INT16:
        return NSNumber::numberWithKind(NSNumber::Kind::Int16, g_variant_get_int16(value));
    case G_VARIANT_CLASS_UINT16:
        return NSNumber::numberWithKind(NSNumber::Kind::UInt16, g_variant_get_uint16(value));
    case G_VARIANT_CLASS_INT32:
        return NSNumber::numberWithKind(NSNumber::Kind::Int32, g_variant_get_int32(value));
    case G_VARIANT_CLASS_UINT32:
        return NSNumber::numberWithKind(NSNumber::Kind::UInt32, g_variant_get_uint32(value));
    case G_VARIANT_CLASS_INT64:
        return NSNumber::numberWithKind(NSNumber::Kind::Int64, g_variant_get_int64(value));
    case G_VARIANT_CLASS_UINT64:
        return NSNumber::numberWithUnsignedLongLong(g_variant_get_uint64(value));
    case G_VARIANT_CLASS_DOUBLE:
        return NSNumber::numberWithDouble(g_variant_get_double(value));
    case G_VARIANT_CLASS_STRING:
        return std::string(g_variant_get_string(value, nullptr));
    case G_VARIANT_CLASS_HANDLE:
        return dataFromHandle(value, fds);
    case G_VARIANT_CLASS_VARIANT: {
        auto inner = AdoptVariant(g_variant_get_variant(value));
        return PropertyValueFromVariant(inner.get(), fds);
    }
    case G_VARIANT_CLASS_ARRAY:
        if (g_variant_type_equal(type, G_VARIANT_TYPE_BYTESTRING))
            return dataFromByteArray(value);
        if (g_variant_type_equal(type, G_VARIANT_TYPE("av")))
            return arrayFromVariants(value, fds);
        if (g_variant_type_equal(type, G_VARIANT_TYPE_VARDICT))
            return dictionaryFromEntries(value, fds);
        return {};
    default:
        return {};
    }
}

GVariant* VariantFromPropertyDictionary(const PropertyDictionary& dictionary, GUnixFDList* fds) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
    for (const auto& [key, element] : dictionary) {
        if (!g_utf8_validate(key.data(), static_cast<gssize>(key.size()), nullptr))
            continue;
        if (GVariant* variant = VariantFromPropertyValue(element, fds))
            g_variant_builder_add(&builder, "{sv}", key.c_str(), variant);
    }
    return g_variant_builder_end(&builder);
}

GVariant* VariantFromPropertyValue(const PropertyValue& value, GUnixFDList* fds) {
    switch (value.kind()) {
    case PropertyValue::Kind::None:
    case PropertyValue::Kind::Date:
        return nullptr;
    case PropertyValue::Kind::Data:
        return dataVariant(*value.data(), fds);
    case PropertyValue::Kind::String:
        // D-Bus strings are UTF-8; other bytes cannot go out as a string.
        if (!g_utf8_validate(value.string()->data(), static_cast<gssize>(value.string()->size()), nullptr))
            return nullptr;
        return g_variant_new_string(value.string()->c_str());
    case PropertyValue::Kind::Number:
        return numberVariant(*value.number());
    case PropertyValue::Kind::Array: {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("av"));
        for (const auto& element : *value.array()) {
            if (GVariant* variant = VariantFromPropertyValue(element, fds))
                g_variant_builder_add(&builder, "v", variant);
        }
        return g_variant_builder_end(&builder);
    }
    case PropertyValue::Kind::Dictionary:
        return VariantFromPropertyDictionary(*value.dictionary(), fds);
    }
    return nullptr;
}
