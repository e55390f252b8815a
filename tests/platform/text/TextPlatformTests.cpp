#include <tuple>

#include <gtest/gtest.h>

#include "platform/text/NSCharacterSet.h"
#include "platform/text/NumericCollation.h"
#include "platform/text/StringWithFormat.h"
#include "platform/text/UnicodeText.h"

namespace {

TEST(NSCharacterSet, PredefinedSetsFollowTheirCategories) {
    struct Case {
        const char* name;
        NSCharacterSet set;
        std::u32string members;
        std::u32string others;
    };
    const Case cases[] = {
        {"digits", NSCharacterSet::decimalDigitCharacterSet(), U"09\u0663\u0967", U"a½Ⅻ "},
        {"whitespace", NSCharacterSet::whitespaceCharacterSet(), U" \t\u00A0\u3000", U"\n\r\u2028x"},
        {"whitespace and newline", NSCharacterSet::whitespaceAndNewlineCharacterSet(), U" \t\n\r\u0085\u2028",
         U"x-"},
        {"newline", NSCharacterSet::newlineCharacterSet(), U"\n\r\u000B\u2029", U" \t"},
        {"letters", NSCharacterSet::letterCharacterSet(), U"aZßé\u0301字", U"1 !"},
        {"alphanumerics", NSCharacterSet::alphanumericCharacterSet(), U"a1½Ⅻ", U" !_"},
        {"punctuation", NSCharacterSet::punctuationCharacterSet(), U"!.,_-«", U"+$a "},
        {"symbols", NSCharacterSet::symbolCharacterSet(), U"+$€😀", U"a!"},
        {"uppercase", NSCharacterSet::uppercaseLetterCharacterSet(), U"AÉǅ", U"aé1"},
    };
    for (const Case& c : cases) {
        for (char32_t m : c.members)
            EXPECT_TRUE(c.set.longCharacterIsMember(m)) << c.name << " U+" << std::hex << uint32_t(m);
        for (char32_t o : c.others)
            EXPECT_FALSE(c.set.longCharacterIsMember(o)) << c.name << " U+" << std::hex << uint32_t(o);
    }
}

TEST(NSCharacterSet, MadeSetsAndInversion) {
    NSCharacterSet vowels = NSCharacterSet::characterSetWithCharactersInString("aeiouä😀");
    EXPECT_TRUE(vowels.longCharacterIsMember(U'ä'));
    EXPECT_FALSE(vowels.longCharacterIsMember(U'b'));
    NSCharacterSet consonants = vowels.invertedSet();
    EXPECT_TRUE(consonants.longCharacterIsMember(U'b'));
    EXPECT_FALSE(consonants.longCharacterIsMember(U'a'));
    EXPECT_TRUE(vowels.longCharacterIsMember(U'a')) << "inverting makes a new set";

    NSCharacterSet range = NSCharacterSet::characterSetWithRange(U'a', 3);
    EXPECT_TRUE(range.longCharacterIsMember(U'c'));
    EXPECT_FALSE(range.longCharacterIsMember(U'd'));
    EXPECT_TRUE(NSCharacterSet().isEmpty());
    EXPECT_FALSE(NSCharacterSet().invertedSet().isEmpty());
}

TEST(NumericCollation, DigitRunsCompareByValueInTheNamedLocale) {
    using enum NSComparisonResult;
    const std::tuple<const char*, const char*, const char*, NSComparisonResult> cases[] = {
        {"img010", "img10", "", OrderedSame},
        {"Zebra", "apple", "", OrderedDescending},
        {"zebra", "\u00E4pple", "", OrderedDescending},
        // Swedish sorts "ä" after "z".
        {"zebra", "\u00E4pple", "sv", OrderedAscending},
    };
    for (const auto& [a, b, locale, expected] : cases)
        EXPECT_EQ(CompareNumerically(a, b, locale), expected) << a << " / " << b << " in " << locale;
}

TEST(TextHelpers, FormattingAndCodePoints) {
    EXPECT_EQ(StringWithFormat("%s%.2d:%.2d", "-", 3, -4), "-03:-04");
    std::string longText(5000, 'x');
    EXPECT_EQ(StringWithFormat("%s!", longText.c_str()), longText + "!");

    EXPECT_EQ(CodePointsFromUTF8("aé😀"), U"aé😀");
    EXPECT_EQ(UTF8FromCodePoints(U"aé😀"), "aé😀");
    EXPECT_EQ(CodePointsFromUTF8("a\xFF"
                                 "b"),
              U"a\uFFFDb");
}

} // namespace
