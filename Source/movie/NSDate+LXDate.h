#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/core/NSDate.h"
#include "platform/core/UTCDateTime.h"

/// Conversions between dates and the date forms of movie and image metadata, and the
/// fixed display styles of the information panels.
namespace LXDate {

/// 1904-01-01 00:00:00 UTC, the classic epoch; made once and kept.
NSDate dateForJan1904();

/// The date of a classic record read as one native-order 64-bit number of 48.16 fixed
/// point seconds since 1904 (the fraction is dropped); nothing for a zero record.
std::optional<NSDate> dateWithUTCDateTime(::UTCDateTime record);
/// The date as a classic record: seconds since 1904 × 65536, truncated, stored as one
/// native-order 64-bit number (so it reads back through `dateWithUTCDateTime`).
::UTCDateTime UTCDateTime(NSDate date);

/// "2009:07:14 18:30:05" in the local time zone; nothing for "0000:00:00 00:00:00" and
/// for texts of any other form.
std::optional<NSDate> dateWithMetadataDateString(std::string_view text);
/// An IPTC date "yyyyMMddHHmmss", optionally with a zone "+hhmm": the wall-clock time in
/// the medium style, with the zone's label appended; the text unchanged when it is not
/// of that form.
std::string descriptionForIPTCDateString(std::string_view text);

/// The date in the user's locale and time zone: long date and time, long date, medium
/// date with short time, medium time, short date and time, short date.
std::string descriptionWithLongFormat(NSDate date);
std::string descriptionWithLongFormatDateOnly(NSDate date);
std::string descriptionWithMediumFormat(NSDate date);
std::string descriptionWithMediumFormatTimeOnly(NSDate date);
std::string descriptionWithShortFormat(NSDate date);
std::string descriptionWithShortFormatDateOnly(NSDate date);

} // namespace LXDate
