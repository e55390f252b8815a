#include <algorithm>

#include "foundation/NSArray+LXArray.h"
#include "foundation/NSMutableArray+LXMutableArray.h"
#include "foundation/PropertyKeyValueCoding.h"
#include "foundation/PropertyValueSet.h"

namespace {

// "%K == %@": the record's value for the key equals the given value. A record without
// the key matches only an absent value, as a nil comparison does.
bool keyEquals(const PropertyValue& record, std::string_view key, const PropertyValue& value) {
    return ValueForKeyPath(record, key) == value;
}

// "%K IN %@": an absent value is in no array.
bool keyIn(const PropertyValue& record, std::string_view key, const PropertyArray& values) {
    PropertyValue found = ValueForKeyPath(record, key);
    return !found.isNone() && std::find(values.begin(), values.end(), found) != values.end();
}

} // namespace

namespace LXArray {

PropertyArray arrayByRemovingDuplicateObjects(const PropertyArray& receiver) {
    PropertySet set(receiver.begin(), receiver.end());
    return PropertyArray(set.begin(), set.end());
}

PropertyArray arrayByRemovingObjectsNotInArray(const PropertyArray& receiver, const PropertyArray& other) {
    PropertySet set(receiver.begin(), receiver.end());
    const PropertySet otherSet(other.begin(), other.end());
    std::erase_if(set, [&](const PropertyValue& element) { return !otherSet.contains(element); });
    return PropertyArray(set.begin(), set.end());
}

PropertyArray arrayByRemovingObjectsFromArray(const PropertyArray& receiver, const PropertyArray& values,
                                              std::string_view withKey) {
    PropertyArray kept;
    for (const PropertyValue& record : receiver) {
        if (!keyIn(record, withKey, values))
            kept.push_back(record);
    }
    return kept;
}

PropertyArray arrayWithObjectsForKey(const PropertyArray& receiver, std::string_view keyPath) {
    PropertyArray values;
    values.reserve(receiver.size());
    for (const PropertyValue& record : receiver)
        values.push_back(ValueForKeyPath(record, keyPath));
    return values;
}

bool containsObject(const PropertyArray& receiver, const PropertyValue& value, std::string_view forKey) {
    return std::any_of(receiver.begin(), receiver.end(),
                       [&](const PropertyValue& record) { return keyEquals(record, forKey, value); });
}

const PropertyValue* dictionaryContainingObject(const PropertyArray& receiver, const PropertyValue& value,
                                                std::string_view forKey) {
    auto found = std::find_if(receiver.rbegin(), receiver.rend(),
                              [&](const PropertyValue& record) { return keyEquals(record, forKey, value); });
    return found == receiver.rend() ? nullptr : &*found;
}

PropertyArray randomizedArray(const PropertyArray& receiver) {
    PropertyArray shuffled = receiver;
    LXMutableArray::randomize(shuffled);
    return shuffled;
}

PropertyArray randomizedMutableArray(const PropertyArray& receiver) {
    return randomizedArray(receiver);
}

} // namespace LXArray
