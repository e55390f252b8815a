#include "JsonWriter.h"

#include <cmath>
#include <cstdio>

#include "platform/media/QTMetadataItem.h"

namespace {

std::string Indent(int level) {
    return std::string(size_t(level) * 2, ' ');
}

std::string JsonNumber(const NSNumber& number) {
    char text[64];
    switch (number.kind()) {
    case NSNumber::Kind::Boolean:
        return number.boolValue() ? "true" : "false";
    case NSNumber::Kind::Double:
        if (!std::isfinite(number.doubleValue()))
            return "null";
        std::snprintf(text, sizeof text, "%.17g", number.doubleValue());
        return text;
    case NSNumber::Kind::UInt64:
        std::snprintf(text, sizeof text, "%llu",
                      static_cast<unsigned long long>(number.unsignedLongLongValue()));
        return text;
    default:
        std::snprintf(text, sizeof text, "%lld", static_cast<long long>(number.longLongValue()));
        return text;
    }
}

} // namespace

std::string JsonString(std::string_view text) {
    std::string result = "\"";
    for (char c : text) {
        switch (c) {
        case '"':
            result += "\\\"";
            break;
        case '\\':
            result += "\\\\";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\t':
            result += "\\t";
            break;
        case '\r':
            result += "\\r";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                result += escaped;
            } else {
                result.push_back(c);
            }
        }
    }
    return result + "\"";
}

std::string JsonValue(const PropertyValue& value, int indent) {
    if (auto text = value.string())
        return JsonString(*text);
    if (auto number = value.number())
        return JsonNumber(*number);
    if (auto date = value.date())
        return JsonString(ISO8601StringFromDate(*date));
    if (auto data = value.data())
        return std::to_string(data->length());
    if (auto array = value.array()) {
        if (array->empty())
            return "[]";
        std::string result = "[\n";
        for (size_t i = 0; i < array->size(); ++i)
            result += Indent(indent + 1) + JsonValue((*array)[i], indent + 1) +
                      (i + 1 < array->size() ? ",\n" : "\n");
        return result + Indent(indent) + "]";
    }
    if (auto dictionary = value.dictionary()) {
        if (dictionary->empty())
            return "{}";
        std::string result = "{\n";
        size_t i = 0;
        for (const auto& [key, entry] : *dictionary) {
            result += Indent(indent + 1) + JsonString(key) + ": " + JsonValue(entry, indent + 1) +
                      (++i < dictionary->size() ? ",\n" : "\n");
        }
        return result + Indent(indent) + "}";
    }
    return "null";
}
