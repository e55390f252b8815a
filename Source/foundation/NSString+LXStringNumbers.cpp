#include <cmath>
#include <cstdint>

#include "foundation/NSString+LXStringNumbers.h"
#include "platform/text/Localization.h"
#include "platform/text/NumericCollation.h"
#include "platform/text/StringWithFormat.h"
#include "platform/text/UnicodeText.h"

namespace {

// A double truncated toward zero into 32 bits; what does not fit (NaN included) gives
// the integer indefinite value, as the processor's conversion does.
int32_t truncateToInt32(double value) {
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return INT32_MIN;
    return static_cast<int32_t>(value);
}

int64_t truncateToInt64(double value) {
    if (!(value >= -9223372036854775808.0 && value < 9223372036854775808.0))
        return INT64_MIN;
    return static_cast<int64_t>(value);
}

// The fraction search may overflow for huge inputs; it then wraps instead of being
// undefined.
int64_t multiplyAdd(int64_t a, int64_t b, int64_t c) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b) +
                                static_cast<uint64_t>(c));
}

int32_t subtract32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
int32_t multiply32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

} // namespace

namespace LXString {

std::optional<std::string> stringWithTimeRemaining(double seconds) {
    const double rounded = std::round(seconds);
    if (rounded == 0)
        return std::nullopt;
    const int32_t hours = truncateToInt32(std::floor(rounded / 3600));
    const int32_t minutes = truncateToInt32(std::floor((rounded - hours * 3600.0) / 60));
    const int32_t secs =
        subtract32(subtract32(truncateToInt32(rounded), multiply32(hours, 3600)), multiply32(minutes, 60));

    // Zero takes the plural, as in "0 seconds".
    const std::string remaining = LXLocalizedString("remaining");
    const std::string hourWord = hours == 1 ? LXLocalizedString("hour") : LXLocalizedString("hours");
    const std::string minuteWord = minutes == 1 ? LXLocalizedString("minute") : LXLocalizedString("minutes");
    const std::string secondWord = secs == 1 ? LXLocalizedString("second") : LXLocalizedString("seconds");

    if (hours != 0) {
        if (minutes != 0)
            return StringWithFormat("%i %s %i %s %s", hours, hourWord.c_str(), minutes, minuteWord.c_str(),
                                    remaining.c_str());
        return StringWithFormat("%i %s %s", hours, hourWord.c_str(), remaining.c_str());
    }
    if (minutes == 0)
        return StringWithFormat("%i %s %s", secs, secondWord.c_str(), remaining.c_str());
    if (secs != 0)
        return StringWithFormat("%i %s %i %s %s", minutes, minuteWord.c_str(), secs, secondWord.c_str(),
                                remaining.c_str());
    return StringWithFormat("%i %s %s", minutes, minuteWord.c_str(), remaining.c_str());
}

std::string stringWithDecimalDegrees(double degrees) {
    double wholeDegrees = 0;
    const double fraction = std::modf(degrees, &wholeDegrees);
    double wholeMinutes = 0;
    const double minuteFraction = std::modf(fraction * 60, &wholeMinutes);
    const double seconds = minuteFraction * 60;
    double unused = 0;
    const int precision = std::modf(seconds, &unused) >= 0.05 ? 1 : 0;
    return StringWithFormat("%.0f\u00B0 %.0f' %.*f\"", wholeDegrees, wholeMinutes, precision, seconds);
}

std::string stringWithDerivedFractionForDouble(double value) {
    double x = value;
    int64_t p = 1, previousP = 0;
    int64_t q = 0, previousQ = 1;
    int64_t limit = 100;
    for (;;) {
        for (;;) {
            const int64_t a = truncateToInt64(x);
            const int64_t candidate = multiplyAdd(a, q, previousQ);
            if (candidate > limit)
                break;
            const int64_t nextP = multiplyAdd(a, p, previousP);
            previousP = p;
            p = nextP;
            previousQ = q;
            q = candidate;
            if (x == double(a)) {
                limit = 100000;
                break;
            }
            x = 1 / (x - double(a));
            if (x > 2147483647.0) {
                limit = 100000;
                break;
            }
        }
        if (p != 0)
            break;
        // Too small for any fraction within the limit: widen it step by step before
        // giving up.
        if (limit >= 99500)
            return "0";
        limit += 500;
    }
    if (q == 1)
        return StringWithFormat("%ld", long(p));
    if (p >= 2 && q / p >= 2) {
        // A value of at most one half reads best as one over something.
        q = std::lround(double(q) / double(p));
        p = 1;
    }
    return StringWithFormat("%ld/%ld", long(p), long(q));
}

NSComparisonResult localizedNumericCompare(std::string_view receiver, std::string_view other) {
    return CompareNumericallyInUserLocale(receiver, other);
}

std::string stringByRemovingCharactersInSet(std::string_view receiver, const NSCharacterSet& set) {
    // Removing the first member until none is left gives the same text as this single
    // pass over the characters.
    std::u32string characters = CodePointsFromUTF8(receiver);
    std::erase_if(characters, [&](char32_t c) { return set.longCharacterIsMember(c); });
    return UTF8FromCodePoints(characters);
}

} // namespace LXString
