#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/core/NSDate.h"

/// Date texts through ICU (`NSDateFormatter`, `NSTimeZone`). "Default" means ICU's
/// default locale and time zone, which follow the environment (LANG, TZ) unless a
/// program sets them.

enum class NSDateFormatterStyle { None, Short, Medium, Long, Full };

/// Parses the whole text with a fixed pattern ("yyyy:MM:dd HH:mm:ss") in the default
/// time zone, independent of the user's locale; nothing when the text does not match.
std::optional<NSDate> DateFromStringWithFormat(std::string_view text, std::string_view pattern);

/// The date in the user's locale and the default time zone with the given date and time
/// styles; `None` leaves that part out.
std::string StringFromDateWithStyles(NSDate date, NSDateFormatterStyle dateStyle,
                                     NSDateFormatterStyle timeStyle);

/// The abbreviation of the fixed-offset zone `seconds` east of GMT at `date`, as the
/// locale writes it ("GMT+2").
std::string TimeZoneAbbreviationForSecondsFromGMT(int32_t seconds, NSDate date);
