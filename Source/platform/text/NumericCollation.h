#pragma once

#include <string_view>

#include "platform/core/NSComparisonResult.h"

/// Compares two UTF-8 texts as the user's locale orders them, with runs of digits
/// compared by their numeric value ("img9" before "img10") and case kept significant.
/// The user's locale is the process's (LC_ALL, LC_COLLATE, LANG); a POSIX locale
/// collates by the root order of Unicode.
NSComparisonResult CompareNumericallyInUserLocale(std::string_view a, std::string_view b);

/// The same in a named ICU locale ("de", "sv_SE"…); the empty name is the root order.
NSComparisonResult CompareNumerically(std::string_view a, std::string_view b, const char* localeName);
