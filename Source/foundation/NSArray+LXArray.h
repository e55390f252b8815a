#pragma once

#include <string_view>

#include "platform/core/PropertyList.h"

/// Set-like filtering, record look-ups by key and shuffling for arrays of property-list
/// values. Records are dictionaries; a key may be a dot-separated key path.
namespace LXArray {

/// Each distinct element once, in the order of a set of them (not the receiver's).
PropertyArray arrayByRemovingDuplicateObjects(const PropertyArray& receiver);
/// The receiver's distinct elements that also occur in `other`, in a set's order.
PropertyArray arrayByRemovingObjectsNotInArray(const PropertyArray& receiver, const PropertyArray& other);
/// The records whose value for the key is not one of `values`, in the receiver's order.
PropertyArray arrayByRemovingObjectsFromArray(const PropertyArray& receiver, const PropertyArray& values,
                                              std::string_view withKey);
/// Every record's value for the key path, in order (nothing for a record without one).
PropertyArray arrayWithObjectsForKey(const PropertyArray& receiver, std::string_view keyPath);
/// True when some record's value for the key equals `value`.
bool containsObject(const PropertyArray& receiver, const PropertyValue& value, std::string_view forKey);
/// The last record whose value for the key equals `value`, or null.
const PropertyValue* dictionaryContainingObject(const PropertyArray& receiver, const PropertyValue& value,
                                                std::string_view forKey);
/// A shuffled copy (see LXMutableArray::randomize).
PropertyArray randomizedArray(const PropertyArray& receiver);
PropertyArray randomizedMutableArray(const PropertyArray& receiver);

} // namespace LXArray
