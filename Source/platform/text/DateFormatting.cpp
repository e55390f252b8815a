#include "platform/text/DateFormatting.h"

#include <memory>

#include <unicode/datefmt.h>
#include <unicode/simpletz.h>
#include <unicode/smpdtfmt.h>

namespace {

constexpr double kMillisecondsPerSecond = 1000.0;

UDate ICUDate(NSDate date) {
    return (date.timeIntervalSinceReferenceDate + NSTimeIntervalSince1970) * kMillisecondsPerSecond;
}

NSDate DateFromICU(UDate date) {
    return NSDate{date / kMillisecondsPerSecond - NSTimeIntervalSince1970};
}

icu::DateFormat::EStyle ICUStyle(NSDateFormatterStyle style) {
    switch (style) {
    case NSDateFormatterStyle::Short:
        return icu::DateFormat::kShort;
    case NSDateFormatterStyle::Medium:
        return icu::DateFormat::kMedium;
    case NSDateFormatterStyle::Long:
        return icu::DateFormat::kLong;
    case NSDateFormatterStyle::Full:
        return icu::DateFormat::kFull;
    case NSDateFormatterStyle::None:
        break;
    }
    return icu::DateFormat::kNone;
}

std::string UTF8(const icu::UnicodeString& text) {
    std::string result;
    text.toUTF8String(result);
    return result;
}

} // namespace

std::optional<NSDate> DateFromStringWithFormat(std::string_view text, std::string_view pattern) {
    UErrorCode status = U_ZERO_ERROR;
    // A fixed pattern reads the same whatever the user's locale.
    icu::SimpleDateFormat format(
        icu::UnicodeString::fromUTF8(icu::StringPiece(pattern.data(), int32_t(pattern.size()))),
        icu::Locale("en_US_POSIX"), status);
    if (U_FAILURE(status))
        return std::nullopt;
    format.setLenient(false);
    auto input = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), int32_t(text.size())));
    icu::ParsePosition position(0);
    UDate parsed = format.parse(input, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != input.length())
        return std::nullopt;
    return DateFromICU(parsed);
}

std::string StringFromDateWithStyles(NSDate date, NSDateFormatterStyle dateStyle,
                                     NSDateFormatterStyle timeStyle) {
    std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createDateTimeInstance(
        ICUStyle(dateStyle), ICUStyle(timeStyle), icu::Locale::getDefault()));
    if (!format)
        return {};
    icu::UnicodeString text;
    format->format(ICUDate(date), text);
    return UTF8(text);
}

std::string TimeZoneAbbreviationForSecondsFromGMT(int32_t seconds, NSDate date) {
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat format(icu::UnicodeString(u"z"), icu::Locale::getDefault(), status);
    if (U_FAILURE(status))
        return {};
    format.adoptTimeZone(new icu::SimpleTimeZone(seconds * 1000, icu::UnicodeString(u"Etc/Unknown")));
    icu::UnicodeString text;
    format.format(ICUDate(date), text);
    return UTF8(text);
}
