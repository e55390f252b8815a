#pragma once

#include <cstddef>
#include <unordered_set>

#include "platform/core/PropertyList.h"

/// A hash that agrees with PropertyValue's equality: numbers that compare equal across
/// kinds (1, 1.0, true) hash alike.
struct PropertyValueHash {
    size_t operator()(const PropertyValue& value) const;
};

/// An unordered set of values, the stand-in for NSSet: its iteration order is its own,
/// not the order the values were added in.
using PropertySet = std::unordered_set<PropertyValue, PropertyValueHash>;
