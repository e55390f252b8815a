#include <bit>
#include <chrono>
#include <cstdint>
#include <cstdlib>
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
    return std::bit_cast<UTCDateTime>(value);
}
uint64_t Number(UTCDateTime record) {
    return std::bit_cast<uint64_t>(record);
}

/// A wall-clock time in UTC as a date.
NSDate UTC(int year, int month, int day, int hour, int minute, int second) {
    std::chrono::sys_days date{std::chrono::year(year) / month / day};
    return NSDate{double(date.time_since_epoch().count()) * 86400 + hour * 3600 + minute * 60 + second -
                  NSTimeIntervalSince1970};
}

TEST(LXDate, ClassicRecordsBothWaysFromThe1904Epoch) {
    EXPECT_EQ(LXDate::dateForJan1904(), UTC(1904, 1, 1, 0, 0, 0));
    EXPECT_EQ(Number(LXDate::UTCDateTime(NSDate{kJan1904 + 1.5})), 98304u);
    EXPECT_EQ(LXDate::dateWithUTCDateTime(Record(98304))->timeIntervalSinceReferenceDate, kJan1904 + 1);
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
    const std::pair<const char*, int> zones[] = {
        {"Europe/Berlin", 16}, {"America/New_York", 22}, {"UTC", 18}};
    for (const auto& [zone, utcHour] : zones) {
        DateScope scope(zone, "en_US");
        EXPECT_EQ(LXDate::dateWithMetadataDateString("2009:07:14 18:30:05"), UTC(2009, 7, 14, utcHour, 30, 5))
            << zone;
    }
    DateScope scope("Europe/Berlin", "en_US");
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
    EXPECT_EQ(LXDate::descriptionWithShortFormatDateOnly(date), "7/14/09");
}

} // namespace
} // namespace lxkit::test
