#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>

#include "movie/NSDate+LXDate.h"

namespace lxkit::test {
namespace {

/// Runs the body with a fixed time zone (TZ and ICU's default) and ICU locale, and puts
/// both back afterwards.
class DateScope {
public:
    DateScope(const char* zone, const char* locale) : m_savedLocale(icu::Locale::getDefault()) {
        m_savedZone.reset(icu::TimeZone::createDefault());
        if (const char* tz = std::getenv("TZ"))
            m_savedTZ = tz;
        setenv("TZ", zone, 1);
        icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone(zone));
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale(locale), status);
    }
    ~DateScope() {
        if (m_savedTZ.empty())
            unsetenv("TZ");
        else
            setenv("TZ", m_savedTZ.c_str(), 1);
        icu::TimeZone::adoptDefault(m_savedZone.release());
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(m_savedLocale, status);
    }

private:
    icu::Locale m_savedLocale;
    std::unique_ptr<icu::TimeZone> m_savedZone;
    std::string m_savedTZ;
};

constexpr double kJan1904 = -2082844800.0 - NSTimeIntervalSince1970;

UTCDateTime Record(uint64_t value) {
    UTCDateTime record;
    std::memcpy(&record, &value, sizeof record);
    return record;
}

uint64_t Number(UTCDateTime record) {
    uint64_t value;
    std::memcpy(&value, &record, sizeof value);
    return value;
}

/// A wall-clock time in UTC as a date.
NSDate UTC(int year, int month, int day, int hour, int minute, int second) {
    std::tm parts{};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    return NSDate{double(timegm(&parts)) - NSTimeIntervalSince1970};
}

TEST(LXDate, The1904Epoch) {
    EXPECT_EQ(LXDate::dateForJan1904().timeIntervalSinceReferenceDate, kJan1904);
    EXPECT_EQ(LXDate::dateForJan1904(), UTC(1904, 1, 1, 0, 0, 0));
}

TEST(LXDate, ClassicRecordsBothWays) {
    EXPECT_EQ(Number(LXDate::UTCDateTime(NSDate{kJan1904 + 1.5})), 98304u);
    EXPECT_EQ(LXDate::dateWithUTCDateTime(Record(98304))->timeIntervalSinceReferenceDate, kJan1904 + 1);
    EXPECT_EQ(LXDate::dateWithUTCDateTime(Record(65536)), UTC(1904, 1, 1, 0, 0, 1));
    EXPECT_FALSE(LXDate::dateWithUTCDateTime(Record(0)));
    EXPECT_EQ(Number(LXDate::UTCDateTime(LXDate::dateForJan1904())), 0u);

    // Whole seconds survive a round trip; the fraction does not.
    NSDate july14 = UTC(2009, 7, 14, 16, 30, 5);
    EXPECT_EQ(LXDate::dateWithUTCDateTime(
                  LXDate::UTCDateTime(NSDate{july14.timeIntervalSinceReferenceDate + 0.75})),
              july14);
    // The record is one native-order number, not the three named fields.
    uint64_t seconds = uint64_t(july14.timeIntervalSinceReferenceDate - kJan1904);
    EXPECT_EQ(Number(LXDate::UTCDateTime(july14)), seconds << 16);
    // Before 1904 the two's complement does not read back as the same date.
    auto early = LXDate::dateWithUTCDateTime(LXDate::UTCDateTime(NSDate{kJan1904 - 1}));
    ASSERT_TRUE(early);
    EXPECT_NE(early->timeIntervalSinceReferenceDate, kJan1904 - 1);
    EXPECT_EQ(Number(LXDate::UTCDateTime(NSDate{kJan1904 - 1})), uint64_t(-65536));
}

TEST(LXDate, MetadataDateTextsReadInTheLocalZone) {
    for (const char* zone : {"Europe/Berlin", "America/New_York", "UTC"}) {
        DateScope scope(zone, "en_US");
        std::unique_ptr<icu::TimeZone> local(icu::TimeZone::createTimeZone(zone));
        UErrorCode status = U_ZERO_ERROR;
        int32_t raw = 0, dst = 0;
        NSDate utc = UTC(2009, 7, 14, 18, 30, 5);
        local->getOffset((utc.timeIntervalSinceReferenceDate + NSTimeIntervalSince1970) * 1000.0, true, raw,
                         dst, status);
        auto date = LXDate::dateWithMetadataDateString("2009:07:14 18:30:05");
        ASSERT_TRUE(date) << zone;
        EXPECT_EQ(date->timeIntervalSinceReferenceDate,
                  utc.timeIntervalSinceReferenceDate - (raw + dst) / 1000.0)
            << zone;
    }
    DateScope scope("Europe/Berlin", "en_US");
    EXPECT_EQ(LXDate::dateWithMetadataDateString("2009:07:14 18:30:05"), UTC(2009, 7, 14, 16, 30, 5));
    EXPECT_FALSE(LXDate::dateWithMetadataDateString("0000:00:00 00:00:00"));
    EXPECT_FALSE(LXDate::dateWithMetadataDateString("2009-07-14 18:30:05"));
    EXPECT_FALSE(LXDate::dateWithMetadataDateString("2009:07:14"));
    EXPECT_FALSE(LXDate::dateWithMetadataDateString(""));
}

TEST(LXDate, IPTCTextsKeepTheirWallClockAndAppendTheZone) {
    DateScope scope("America/New_York", "de_DE");
    EXPECT_EQ(LXDate::descriptionForIPTCDateString("20090714183005"), "14.07.2009, 18:30");
    EXPECT_EQ(LXDate::descriptionForIPTCDateString("20090714183005+0200"), "14.07.2009, 18:30 GMT+2");
    EXPECT_EQ(LXDate::descriptionForIPTCDateString("20090714183005-0530"), "14.07.2009, 18:30 GMT-5:30");
    // Any first character but "-" counts as east.
    EXPECT_EQ(LXDate::descriptionForIPTCDateString("20090714183005 0100"), "14.07.2009, 18:30 GMT+1");
    for (const char* unchanged : {"2009-07-14", "abcdefghijklmn+0200", "", "200907141830"})
        EXPECT_EQ(LXDate::descriptionForIPTCDateString(unchanged), unchanged);
}

TEST(LXDate, SixDisplayStylesInTheUsersLocale) {
    DateScope scope("Europe/Berlin", "de_DE");
    NSDate date = UTC(2009, 7, 14, 16, 30, 5); // 18:30:05 in Berlin
    EXPECT_EQ(LXDate::descriptionWithLongFormat(date), "14. Juli 2009 um 18:30:05 MESZ");
    EXPECT_EQ(LXDate::descriptionWithLongFormatDateOnly(date), "14. Juli 2009");
    EXPECT_EQ(LXDate::descriptionWithMediumFormat(date), "14.07.2009, 18:30");
    EXPECT_EQ(LXDate::descriptionWithMediumFormatTimeOnly(date), "18:30:05");
    EXPECT_EQ(LXDate::descriptionWithShortFormat(date), "14.07.09, 18:30");
    EXPECT_EQ(LXDate::descriptionWithShortFormatDateOnly(date), "14.07.09");

    DateScope english("Europe/Berlin", "en_US");
    EXPECT_EQ(LXDate::descriptionWithLongFormatDateOnly(date), "July 14, 2009");
    EXPECT_NE(LXDate::descriptionWithMediumFormat(date).find("Jul 14, 2009"), std::string::npos);
    EXPECT_NE(LXDate::descriptionWithMediumFormat(date).find("6:30"), std::string::npos);
    EXPECT_EQ(LXDate::descriptionWithShortFormatDateOnly(date), "7/14/09");
}

} // namespace
} // namespace lxkit::test
