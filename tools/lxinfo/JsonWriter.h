#pragma once

#include <string>
#include <string_view>

#include "platform/core/PropertyList.h"

/// A text in JSON quotes, with the characters JSON requires escaped.
std::string JsonString(std::string_view text);
/// A property-list value as JSON: dictionaries with their keys in sorted order, dates as
/// ISO 8601 texts in UTC, data as its length in bytes, so the same movie always gives
/// the same text.
std::string JsonValue(const PropertyValue& value, int indent = 0);
