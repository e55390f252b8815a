#include <algorithm>

#include "foundation/NSDictionary+LXDictionary.h"

namespace LXDictionary {

PropertyDictionary mutableCopyDeep(const PropertyDictionary& receiver) {
    PropertyDictionary copy = receiver;
    for (auto& [key, value] : copy) {
        if (const PropertyDictionary* nested = value.dictionary())
            value = PropertyValue(PropertyDictionary(*nested));
    }
    return copy;
}

} // namespace LXDictionary

bool DictionaryContainsObject(const PropertyDictionary& dictionary, const PropertyValue& object) {
    const std::string* objectAsKey = object.string();
    return std::any_of(dictionary.begin(), dictionary.end(), [&](const auto& entry) {
        if (objectAsKey && entry.first == *objectAsKey)
            return true;
        // Only collections can contain; any other value answers no.
        const PropertyArray* values = entry.second.array();
        return values && std::find(values->begin(), values->end(), object) != values->end();
    });
}
