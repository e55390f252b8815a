#include "foundation/PropertyKeyValueCoding.h"

PropertyValue ValueForKey(const PropertyValue& record, std::string_view key) {
    if (const PropertyDictionary* dictionary = record.dictionary()) {
        const PropertyValue* found = PropertyValueForKey(*dictionary, key);
        return found ? *found : PropertyValue();
    }
    if (const PropertyArray* array = record.array()) {
        PropertyArray values;
        values.reserve(array->size());
        for (const PropertyValue& element : *array)
            values.push_back(ValueForKey(element, key));
        return PropertyValue(std::move(values));
    }
    return PropertyValue();
}

PropertyValue ValueForKeyPath(const PropertyValue& record, std::string_view keyPath) {
    const size_t dot = keyPath.find('.');
    if (dot == std::string_view::npos)
        return ValueForKey(record, keyPath);
    return ValueForKeyPath(ValueForKey(record, keyPath.substr(0, dot)), keyPath.substr(dot + 1));
}
