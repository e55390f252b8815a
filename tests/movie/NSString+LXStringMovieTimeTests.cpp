#include <gtest/gtest.h>

#include "movie/NSString+LXStringMovieTime.h"

namespace {

struct FormatCase {
    int64_t value;
    int64_t scale;
    int32_t frameLength;
    const char* full;
    const char* abbreviated;
};

TEST(MovieTimeText, FormatsFullAndAbbreviated) {
    const FormatCase cases[] = {
        {-1830, 600, 0, "-00:00:03", "-0:03"},
        // 3724.278 s: 167 ticks into the second are 8.35 frames of 20 ticks.
        {2234567, 600, 20, "01:02:04.08", "1:02:04.08"},
        {2234567, 600, 0, "01:02:04", "1:02:04"},
        {45, 0, 20, "00:00:00.02", "0:00.02"}, // no scale reads as 600
        {90000, 600, 20, "00:02:30.00", "2:30.00"},
        {36000 * 600 + 599, 600, 0, "10:00:00", "10:00:00"}, // fraction without frame field
        {3600 * 600 * 123, 600, 0, "123:00:00", "123:00:00"},
        {61 * 600 + 300, 600, 25, "00:01:01.12", "1:01.12"},
        {-(61 * 600 + 300), 600, 25, "-00:01:01.12", "-1:01.12"},
        {5 * 30000 + 29999, 30000, 1001, "00:00:05.29", "0:05.29"},
        // T is taken as 32 bits: 2^32 + 5 seconds prints as 5 seconds.
        {(int64_t(1) << 32) + 5, 1, 0, "00:00:05", "0:05"},
        // A negative frame length gives a negative frame field.
        {650, 600, -20, "00:00:01.-02", "0:01.-02"},
    };
    for (const FormatCase& c : cases) {
        QTTime time = QTMakeTime(c.value, c.scale);
        EXPECT_EQ(LXString::stringWithMovieTime(time, c.frameLength), c.full) << c.value << "/" << c.scale;
        EXPECT_EQ(LXString::stringWithAbbreviatedMovieTime(time, c.frameLength), c.abbreviated)
            << c.value << "/" << c.scale;
    }
}

TEST(MovieTimeText, DisplayStringShortensAFullText) {
    const std::pair<const char*, const char*> cases[] = {
        {"00:00:05.12", "0:05.12"}, {"00:02:34", "2:34"}, {"00:12:34", "12:34"},
        {"01:02:03", "1:02:03"},    {"05", "0:05"},       {"00:00:00", "0:00"},
        {"00:00:00.00", "0:00.00"}, {"", "0:"},           {"00:00:00:07", "0:07"},
        {"10:00:00", "10:00:00"},
    };
    for (const auto& [text, display] : cases)
        EXPECT_EQ(LXString::displayStringForMovieTimeString(text), display) << text;
}

struct ParseCase {
    const char* text;
    int64_t scale;
    int32_t frameLength;
    int64_t value;
};

TEST(MovieTimeText, ParsesClockTextsAndBareDigits) {
    const ParseCase cases[] = {
        {"1:30.10", 600, 20, 90 * 600 + 10 * 20},
        {"45", 600, 0, 27000},
        {"1234567", 600, 0, 0},     // four fields after the separators go in
        {"12345678901", 600, 0, 0}, // five fields
        {"123456", 1, 0, 12 * 3600 + 34 * 60 + 56},
        {"12345", 1, 0, 1 * 3600 + 23 * 60 + 45},
        {"130.10", 600, 20, 90 * 600 + 200},
        {"30.10", 600, 20, 30 * 600 + 200}, // two characters before "." are left alone
        {"130", 1, 0, 90},
        {"01:02:03.04", 600, 20, 3723 * 600 + 80},
        {"01:02:03.04", 600, 0, 3723 * 600}, // no frame length, no frames
        {"1:2:3:4", 600, 0, 0},
        {"-01:02:03", 1, 0, -3600 + 120 + 3},
        {"-00:01:02", 1, 0, 62},
        {" 7: x:9", 10, 0, (7 * 3600 + 9) * 10},
        {"1:00.5.6", 600, 20, 60 * 600}, // three pieces after the split: no frames
        {"", 600, 20, 0},
        {"99:99", 0, 20, 0}, // a zero scale is kept
        {"0:00.05", 600, 20, 100},
        // Separators go between characters, not bytes: "é1:23:45", whose hours read as no number.
        {"é12345", 1, 0, 23 * 60 + 45},
    };
    for (const ParseCase& c : cases) {
        QTTime time = LXString::movieTimeValueWithScale(c.text, c.scale, c.frameLength);
        EXPECT_EQ(time.timeValue, c.value) << c.text;
        EXPECT_EQ(time.timeScale, c.scale) << c.text;
        EXPECT_EQ(time.flags, 0) << c.text;
    }
}

TEST(MovieTimeText, FullTextsReadBack) {
    const int64_t values[] = {0, 599, 600 * 59 + 40, 600 * 3600 * 5 + 600 * 7 + 20 * 13, 600 * 3599};
    for (int64_t value : values) {
        std::string text = LXString::stringWithMovieTime(QTMakeTime(value, 600), 20);
        // Whole frames survive the round trip, also through the shortened text; the ticks
        // between frames do not.
        for (const std::string& read : {text, LXString::displayStringForMovieTimeString(text)})
            EXPECT_EQ(LXString::movieTimeValueWithScale(read, 600, 20).timeValue, value - value % 20) << read;
    }
}

} // namespace
