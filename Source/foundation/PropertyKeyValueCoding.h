#pragma once

#include <string_view>

#include "platform/core/PropertyList.h"

/// Key-value lookups on property-list records. A dictionary answers a key with its
/// entry; an array answers with the array of every element's answer (nothing where an
/// element has none, so the positions stay); other values have no keys.
PropertyValue ValueForKey(const PropertyValue& record, std::string_view key);
/// The dot-separated path followed key by key.
PropertyValue ValueForKeyPath(const PropertyValue& record, std::string_view keyPath);
