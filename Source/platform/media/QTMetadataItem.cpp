#include "platform/media/QTMetadataItem.h"

#include <cmath>
#include <cstdio>

namespace {

/// Days from 1970-01-01 to the given proleptic Gregorian date (Howard Hinnant's method).
int64_t DaysFromCivil(int64_t year, unsigned month, unsigned day) {
    year -= month <= 2;
    int64_t era = (year >= 0 ? year : year - 399) / 400;
    auto yearOfEra = unsigned(year - era * 400);
    unsigned dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + int64_t(dayOfEra) - 719468;
}

bool IsLeapYear(int64_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

unsigned DaysInMonth(int64_t year, unsigned month) {
    static constexpr unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : days[month - 1];
}

/// A cursor that reads fixed runs of digits and single characters.
class Scanner {
public:
    explicit Scanner(std::string_view text) : m_text(text) {}
    std::optional<int> digits(size_t count) {
        if (m_position + count > m_text.size())
            return std::nullopt;
        int value = 0;
        for (size_t i = 0; i < count; ++i) {
            char c = m_text[m_position + i];
            if (c < '0' || c > '9')
                return std::nullopt;
            value = value * 10 + (c - '0');
        }
        m_position += count;
        return value;
    }
    bool accept(char c) {
        if (m_position < m_text.size() && m_text[m_position] == c) {
            ++m_position;
            return true;
        }
        return false;
    }
    std::optional<char> peek() const {
        return m_position < m_text.size() ? std::optional(m_text[m_position]) : std::nullopt;
    }
    bool atEnd() const { return m_position == m_text.size(); }

private:
    std::string_view m_text;
    size_t m_position = 0;
};

} // namespace

std::optional<NSDate> DateFromISO8601String(std::string_view text) {
    Scanner scan(text);
    auto year = scan.digits(4);
    if (!year || !scan.accept('-'))
        return std::nullopt;
    auto month = scan.digits(2);
    if (!month || !scan.accept('-'))
        return std::nullopt;
    auto day = scan.digits(2);
    if (!day || *month < 1 || *month > 12 || *day < 1 ||
        unsigned(*day) > DaysInMonth(*year, unsigned(*month)))
        return std::nullopt;
    double seconds = double(DaysFromCivil(*year, unsigned(*month), unsigned(*day))) * 86400.0;
    if (!scan.atEnd()) {
        if (!scan.accept('T') && !scan.accept(' '))
            return std::nullopt;
        auto hour = scan.digits(2);
        if (!hour || !scan.accept(':'))
            return std::nullopt;
        auto minute = scan.digits(2);
        if (!minute || *hour > 23 || *minute > 59)
            return std::nullopt;
        double timeOfDay = *hour * 3600.0 + *minute * 60.0;
        if (scan.accept(':')) {
            auto second = scan.digits(2);
            if (!second || *second > 60)
                return std::nullopt;
            timeOfDay += *second;
            if (scan.accept('.') || scan.accept(',')) {
                double scale = 0.1;
                bool any = false;
                while (auto digit = scan.digits(1)) {
                    timeOfDay += *digit * scale;
                    scale /= 10;
                    any = true;
                }
                if (!any)
                    return std::nullopt;
            }
        }
        seconds += timeOfDay;
        if (scan.accept('Z')) {
            // UTC as it stands.
        } else if (auto sign = scan.peek(); sign == '+' || sign == '-') {
            scan.accept(*sign);
            auto zoneHours = scan.digits(2);
            if (!zoneHours)
                return std::nullopt;
            int zoneMinutes = 0;
            if (!scan.atEnd()) {
                scan.accept(':');
                auto minutes = scan.digits(2);
                if (!minutes)
                    return std::nullopt;
                zoneMinutes = *minutes;
            }
            double offset = *zoneHours * 3600.0 + zoneMinutes * 60.0;
            seconds -= *sign == '+' ? offset : -offset;
        }
    }
    if (!scan.atEnd())
        return std::nullopt;
    return NSDate{seconds - NSTimeIntervalSince1970};
}

std::string ISO8601StringFromDate(NSDate date) {
    double unixSeconds = std::floor(date.timeIntervalSinceReferenceDate + NSTimeIntervalSince1970);
    auto whole = int64_t(unixSeconds);
    int64_t days = whole >= 0 ? whole / 86400 : (whole - 86399) / 86400;
    int64_t secondOfDay = whole - days * 86400;
    // Civil date from days since 1970 (the inverse of DaysFromCivil).
    int64_t z = days + 719468;
    int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    auto dayOfEra = unsigned(z - era * 146097);
    unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    unsigned mp = (5 * dayOfYear + 2) / 153;
    unsigned day = dayOfYear - (153 * mp + 2) / 5 + 1;
    unsigned month = mp < 10 ? mp + 3 : mp - 9;
    int64_t year = int64_t(yearOfEra) + era * 400 + (month <= 2);
    char text[64];
    std::snprintf(text, sizeof text, "%04lld-%02u-%02uT%02lld:%02lld:%02lldZ", static_cast<long long>(year),
                  month, day, static_cast<long long>(secondOfDay / 3600),
                  static_cast<long long>(secondOfDay / 60 % 60), static_cast<long long>(secondOfDay % 60));
    return text;
}

std::optional<NSDate> QTMetadataItem::dateValue() const {
    if (auto date = std::get_if<NSDate>(&m_value))
        return *date;
    if (auto text = std::get_if<std::string>(&m_value))
        return DateFromISO8601String(*text);
    return std::nullopt;
}

std::optional<std::string> QTMetadataItem::stringValue() const {
    if (auto text = std::get_if<std::string>(&m_value))
        return *text;
    if (auto date = std::get_if<NSDate>(&m_value))
        return ISO8601StringFromDate(*date);
    return std::nullopt;
}
