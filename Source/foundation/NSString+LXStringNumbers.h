#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/core/NSComparisonResult.h"
#include "platform/text/NSCharacterSet.h"

/// Short texts for numbers that the viewer's interface shows, and two string helpers
/// that sit beside them.
namespace LXString {

/// "2 minutes 5 seconds remaining" in the user's language: at most two units, seconds
/// dropped from an hour on; nothing for a duration that rounds to 0 seconds.
std::optional<std::string> stringWithTimeRemaining(double seconds);

/// Degrees, minutes and seconds: 12.5 gives 12° 30' 0". The seconds carry one decimal
/// when their fraction is at least 0.05.
std::string stringWithDecimalDegrees(double degrees);

/// The value as a whole number or a simple fraction ("3", "3/4", "1/125"), found as the
/// continued-fraction convergent with the largest denominator within a limit; "0" when
/// no fraction is close enough. Small values are shown with numerator 1. The argument
/// must be finite.
std::string stringWithDerivedFractionForDouble(double value);

/// Natural order for file names in the user's locale: runs of digits compare by value
/// ("img9" before "img10"), case is significant.
NSComparisonResult localizedNumericCompare(std::string_view receiver, std::string_view other);

/// The receiver without any character of the set.
std::string stringByRemovingCharactersInSet(std::string_view receiver, const NSCharacterSet& set);

} // namespace LXString
