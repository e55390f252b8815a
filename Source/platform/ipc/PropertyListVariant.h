#pragma once

#include <cstddef>

#include <gio/gio.h>

#include "platform/core/GLibHandles.h"
#include "platform/core/PropertyList.h"

/// Data longer than this travels as a sealed memfd (`h`) instead of an `ay` inside the
/// message: a D-Bus array holds at most 64 MiB, and big messages are slow to marshal.
inline constexpr size_t kInlineDataLimit = 4 * 1024 * 1024;

/// Reads a D-Bus value as a property-list value: `ay` is data, `s` a string, the
/// integer kinds, `b` and `d` numbers (remembering their kind), `av` an array, `a{sv}` a
/// dictionary, `v` what it holds, and `h` the whole content of that descriptor of
/// `fds` as data. Values of any other type read as nothing, and dictionary entries
/// whose value reads as nothing are left out.
PropertyValue PropertyValueFromVariant(GVariant* value, GUnixFDList* fds);

/// Writes a property-list value as a D-Bus value (floating). Numbers keep the kind they
/// came in, so a value read from a message goes back out in exactly its type. When
/// `fds` is given, data in a file (read in place, or a sealed memfd) goes into it as a
/// duplicate of that file, other data over kInlineDataLimit as a new sealed memfd.
/// Nothing and dates are not carried: as a dictionary value they are left out; at the top level
/// they give null.
GVariant* VariantFromPropertyValue(const PropertyValue& value, GUnixFDList* fds);

/// The `a{sv}` form of a dictionary (floating).
GVariant* VariantFromPropertyDictionary(const PropertyDictionary& dictionary, GUnixFDList* fds);
