#pragma once

#include <compare>

/// A point in time, as seconds since the reference date 2001-01-01 00:00:00 UTC.
struct NSDate {
    double timeIntervalSinceReferenceDate = 0;
    friend auto operator<=>(const NSDate&, const NSDate&) = default;
};

/// Seconds between 1970-01-01 and 2001-01-01, both UTC.
inline constexpr double NSTimeIntervalSince1970 = 978307200.0;
