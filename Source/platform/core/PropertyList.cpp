#include "platform/core/PropertyList.h"

#include "platform/core/NSStringReading.h"

const PropertyArray* PropertyValue::array() const { return mutableArray(); }
const PropertyDictionary* PropertyValue::dictionary() const { return mutableDictionary(); }

PropertyArray* PropertyValue::mutableArray() const {
    auto held = std::get_if<std::shared_ptr<PropertyArray>>(&m_value);
    return held ? held->get() : nullptr;
}

PropertyDictionary* PropertyValue::mutableDictionary() const {
    auto held = std::get_if<std::shared_ptr<PropertyDictionary>>(&m_value);
    return held ? held->get() : nullptr;
}

bool PropertyValue::sharesContainerWith(const PropertyValue& other) const {
    if (auto a = array())
        return a == other.array();
    if (auto d = dictionary())
        return d == other.dictionary();
    return false;
}

std::optional<int32_t> PropertyValue::intValue() const {
    if (auto n = number())
        return n->intValue();
    if (auto s = string())
        return NSStringIntValue(*s);
    return std::nullopt;
}

std::optional<int64_t> PropertyValue::longLongValue() const {
    if (auto n = number())
        return n->longLongValue();
    if (auto s = string())
        return NSStringLongLongValue(*s);
    return std::nullopt;
}

std::optional<double> PropertyValue::doubleValue() const {
    if (auto n = number())
        return n->doubleValue();
    if (auto s = string())
        return NSStringDoubleValue(*s);
    return std::nullopt;
}

std::optional<bool> PropertyValue::boolValue() const {
    if (auto n = number())
        return n->boolValue();
    if (auto s = string())
        return NSStringBoolValue(*s);
    return std::nullopt;
}

bool operator==(const PropertyValue& a, const PropertyValue& b) {
    if (a.kind() != b.kind())
        return false;
    switch (a.kind()) {
    case PropertyValue::Kind::None:
        return true;
    case PropertyValue::Kind::Data:
        return *a.data() == *b.data();
    case PropertyValue::Kind::String:
        return *a.string() == *b.string();
    case PropertyValue::Kind::Number:
        return *a.number() == *b.number();
    case PropertyValue::Kind::Date:
        return *a.date() == *b.date();
    case PropertyValue::Kind::Array:
        return *a.array() == *b.array();
    case PropertyValue::Kind::Dictionary:
        return *a.dictionary() == *b.dictionary();
    }
    return false;
}

const PropertyValue* PropertyValueForKey(const PropertyDictionary& dictionary, std::string_view key) {
    auto found = dictionary.find(key);
    return found == dictionary.end() ? nullptr : &found->second;
}
