#pragma once

#include "platform/core/PropertyList.h"

namespace LXDictionary {

/// A new dictionary holding the receiver's values, where each value that is a
/// dictionary is replaced by a new copy of it. Only that one level is copied: deeper
/// dictionaries, arrays and all other values stay shared with the receiver.
PropertyDictionary mutableCopyDeep(const PropertyDictionary& receiver);

} // namespace LXDictionary

/// True when some entry's key equals the object or its value (an array) contains it.
bool DictionaryContainsObject(const PropertyDictionary& dictionary, const PropertyValue& object);
