#include <cmath>
#include <cstring>

#include "movie/NSDate+LXDate.h"
#include "platform/core/NSStringReading.h"
#include "platform/text/DateFormatting.h"
#include "platform/text/UnicodeText.h"

namespace {

/// Filled on first use; a race could only fill it twice with the same value.
std::optional<NSDate> g_jan1904;

constexpr double kTwoTo63 = 9223372036854775808.0;

} // namespace

namespace LXDate {

NSDate dateForJan1904() {
    if (!g_jan1904) {
        g_jan1904 = DateFromStringWithFormat("1904-01-01 00:00:00 +0000", "yyyy-MM-dd HH:mm:ss Z");
        // -2082844800 s from 1970, should the locale layer ever fail to read its own text.
        if (!g_jan1904)
            g_jan1904 = NSDate{-2082844800.0 - NSTimeIntervalSince1970};
    }
    return *g_jan1904;
}

std::optional<NSDate> dateWithUTCDateTime(::UTCDateTime record) {
    uint64_t value = 0;
    std::memcpy(&value, &record, sizeof value);
    if (value == 0)
        return std::nullopt;
    double seconds = double(value >> 16);
    return NSDate{dateForJan1904().timeIntervalSinceReferenceDate + seconds};
}

::UTCDateTime UTCDateTime(NSDate date) {
    double ticks =
        (date.timeIntervalSinceReferenceDate - dateForJan1904().timeIntervalSinceReferenceDate) * 65536.0;
    uint64_t value = 0;
    if (std::isnan(ticks) || std::isinf(ticks) || ticks >= 2 * kTwoTo63 || ticks <= -kTwoTo63)
        value = 0;
    else if (ticks >= kTwoTo63)
        value = uint64_t(ticks - kTwoTo63) | (uint64_t(1) << 63);
    else if (ticks < 0)
        value = uint64_t(int64_t(ticks)); // two's complement: dates before 1904 do not read back
    else
        value = uint64_t(ticks);
    ::UTCDateTime record{};
    std::memcpy(&record, &value, sizeof record);
    return record;
}

std::optional<NSDate> dateWithMetadataDateString(std::string_view text) {
    if (text == "0000:00:00 00:00:00")
        return std::nullopt;
    return DateFromStringWithFormat(text, "yyyy:MM:dd HH:mm:ss");
}

std::string descriptionForIPTCDateString(std::string_view text) {
    std::u32string characters = CodePointsFromUTF8(text);
    std::u32string datePart = characters;
    std::optional<int32_t> zoneOffset;
    if (characters.size() == 19) {
        datePart = characters.substr(0, 14);
        std::u32string zone = characters.substr(14);
        int32_t hours = NSStringIntValue(UTF8FromCodePoints(zone.substr(1, 2)));
        int32_t minutes = NSStringIntValue(UTF8FromCodePoints(zone.substr(3, 2)));
        int32_t offset = hours * 3600 + minutes * 60;
        // Only "-" turns the offset west; "+" and anything else count as east.
        zoneOffset = zone[0] == U'-' ? -offset : offset;
    }
    if (datePart.size() != 14)
        return std::string(text);
    // The wall-clock digits are shown as written; the zone only supplies the label.
    auto date = DateFromStringWithFormat(UTF8FromCodePoints(datePart), "yyyyMMddHHmmss");
    if (!date)
        return std::string(text);
    std::string description = descriptionWithMediumFormat(*date);
    if (zoneOffset)
        description += " " + TimeZoneAbbreviationForSecondsFromGMT(*zoneOffset, *date);
    return description;
}

std::string descriptionWithLongFormat(NSDate date) {
    return StringFromDateWithStyles(date, NSDateFormatterStyle::Long, NSDateFormatterStyle::Long);
}
std::string descriptionWithLongFormatDateOnly(NSDate date) {
    return StringFromDateWithStyles(date, NSDateFormatterStyle::Long, NSDateFormatterStyle::None);
}
std::string descriptionWithMediumFormat(NSDate date) {
    // A medium date with a short time, on purpose: seconds add nothing in a panel.
    return StringFromDateWithStyles(date, NSDateFormatterStyle::Medium, NSDateFormatterStyle::Short);
}
std::string descriptionWithMediumFormatTimeOnly(NSDate date) {
    return StringFromDateWithStyles(date, NSDateFormatterStyle::None, NSDateFormatterStyle::Medium);
}
std::string descriptionWithShortFormat(NSDate date) {
    return StringFromDateWithStyles(date, NSDateFormatterStyle::Short, NSDateFormatterStyle::Short);
}
std::string descriptionWithShortFormatDateOnly(NSDate date) {
    return StringFromDateWithStyles(date, NSDateFormatterStyle::Short, NSDateFormatterStyle::None);
}

} // namespace LXDate
