#include <algorithm>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "LanguageScope.h"
#include "foundation/NSString+LXStringNumbers.h"

namespace {

using lxkit::test::LanguageScope;

struct RemainingCase {
    double seconds;
    std::optional<std::string> english;
    std::optional<std::string> german;
};

TEST(TimeRemaining, PhrasesInEnglishAndInTheShippedTranslation) {
    const RemainingCase cases[] = {
        {0.4, std::nullopt, std::nullopt},
        {-0.4, std::nullopt, std::nullopt},
        {0.5, "1 second remaining", "1 Sekunde verbleibend"},
        {59.4, "59 seconds remaining", "59 Sekunden verbleibend"},
        {59.5, "1 minute remaining", "1 Minute verbleibend"},
        {61, "1 minute 1 second remaining", "1 Minute 1 Sekunde verbleibend"},
        {125, "2 minutes 5 seconds remaining", "2 Minuten 5 Sekunden verbleibend"},
        {3600, "1 hour remaining", "1 Stunde verbleibend"},
        {3725, "1 hour 2 minutes remaining", "1 Stunde 2 Minuten verbleibend"},
        {7200, "2 hours remaining", "2 Stunden verbleibend"},
        // Negative durations are not guarded: hours -1, minutes 59, seconds 55.
        {-5, "-1 hours 59 minutes remaining", "-1 Stunden 59 Minuten verbleibend"},
    };
    // French has no catalogue, so it shows the English words.
    for (const std::string language : {"", "fr", "de"}) {
        LanguageScope scope(language.empty() ? nullptr : language.c_str());
        for (const RemainingCase& c : cases)
            EXPECT_EQ(LXString::stringWithTimeRemaining(c.seconds), language == "de" ? c.german : c.english)
                << language << " " << c.seconds;
    }
}

TEST(DecimalDegrees, PrintfExactWithOneDecimalOnlyWhenItShows) {
    const std::pair<double, const char*> cases[] = {
        {12.5, "12\u00B0 30' 0\""},
        {48.858222, "48\u00B0 51' 29.6\""},
        {0, "0\u00B0 0' 0\""},
        // Seconds of 59.97 print as 60.0; nothing carries into the minutes.
        {1 + 59.0 / 60 + 59.97 / 3600, "1\u00B0 59' 60.0\""},
        // Every part keeps the sign; negative seconds never get a decimal.
        {-12.5, "-12\u00B0 -30' -0\""},
        {-12.51, "-12\u00B0 -30' -36\""},
        {2.0 / 7, "0\u00B0 17' 8.6\""},
    };
    for (const auto& [degrees, text] : cases)
        EXPECT_EQ(LXString::stringWithDecimalDegrees(degrees), text) << degrees;
}

TEST(DerivedFraction, ContinuedFractionTable) {
    const std::pair<double, const char*> cases[] = {
        {0, "0"},
        {0.5, "1/2"},
        {0.333, "1/3"},
        {0.004, "1/250"}, // after the limit has grown to 600
        {0.008, "1/125"},
        {3.0, "3"},
        {0.75, "3/4"},
        {0.66, "33/50"},
        {1e-7, "0"},
        {1.25, "5/4"},    // improper fractions stay
        {0.3, "1/3"},     // 3/10 shown with numerator 1
        {2.0 / 7, "1/4"}, // 2/7, and 3.5 rounds away from zero
        {0.0001, "1/10000"},
        {1.0 / 99000, "1/99000"}, // the limit has grown to 99100
        {1.0 / 99999, "0"},       // beyond the last limit of 99600
        {-0.5, "1/-2"},
    };
    for (const auto& [value, text] : cases)
        EXPECT_EQ(LXString::stringWithDerivedFractionForDouble(value), text) << value;
}

TEST(NaturalOrder, FileNamesSortByTheirNumbers) {
    LanguageScope locale(nullptr);
    const std::vector<std::string> expected = {
        "a.png",    "B.png",    "file 2.png", "file 10.png", "img1.png", "img2.png",
        "Img2.png", "img9.png", "img10.png",  "x1.9",        "x1.10",
    };
    std::vector<std::string> names(expected.rbegin(), expected.rend());
    std::rotate(names.begin(), names.begin() + 4, names.end());
    std::stable_sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
        return LXString::localizedNumericCompare(a, b) == NSComparisonResult::OrderedAscending;
    });
    EXPECT_EQ(names, expected);
    EXPECT_EQ(LXString::localizedNumericCompare("img10", "img10"), NSComparisonResult::OrderedSame);
    EXPECT_EQ(LXString::localizedNumericCompare("img10", "img9"), NSComparisonResult::OrderedDescending);
    EXPECT_NE(LXString::localizedNumericCompare("photo", "Photo"), NSComparisonResult::OrderedSame)
        << "case is significant";
}

TEST(RemovingCharacters, EverySetMemberGoes) {
    const NSCharacterSet digits = NSCharacterSet::decimalDigitCharacterSet();
    const std::tuple<const char*, NSCharacterSet, const char*> cases[] = {
        {"IMG_0042 (1).jpg", NSCharacterSet(), "IMG_0042 (1).jpg"},
        {"IMG_0042 (1).jpg", digits, "IMG_ ().jpg"},
        // Digits of other scripts are decimal digits too; the rest is kept whole.
        {"Bild ٣ – Größe 12", digits, "Bild  – Größe "},
        {" a\tb\u00A0c ", NSCharacterSet::whitespaceCharacterSet(), "abc"},
        {"a😀b😀", NSCharacterSet::characterSetWithCharactersInString("😀"), "ab"},
    };
    for (const auto& [text, set, expected] : cases)
        EXPECT_EQ(LXString::stringByRemovingCharactersInSet(text, set), expected) << text;
}

} // namespace
