#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/NSArray+LXArray.h"
#include "foundation/NSDictionary+LXDictionary.h"
#include "foundation/NSMutableArray+LXMutableArray.h"

namespace {

PropertyValue N(int32_t value) {
    return PropertyValue::number(value);
}

PropertyValue record(const char* name, PropertyValue size) {
    return PropertyDictionary{{"name", name}, {"info", PropertyDictionary{{"size", std::move(size)}}}};
}

// For arrays of numbers whose order is not defined.
bool sameElements(PropertyArray a, PropertyArray b) {
    auto byValue = [](const PropertyValue& x, const PropertyValue& y) {
        return x.number()->doubleValue() < y.number()->doubleValue();
    };
    std::sort(a.begin(), a.end(), byValue);
    std::sort(b.begin(), b.end(), byValue);
    return a == b;
}

TEST(LXArray, SetLikeFilteringKeepsEachDistinctElementOnce) {
    EXPECT_TRUE(sameElements(LXArray::arrayByRemovingDuplicateObjects({N(1), N(1), N(2)}), {N(1), N(2)}));
    // 1, 1.0 and true are the same number, as NSNumber compares them.
    EXPECT_EQ(LXArray::arrayByRemovingDuplicateObjects(
                  {N(1), PropertyValue::real(1.0), PropertyValue::boolean(true)})
                  .size(),
              1u);
    EXPECT_EQ(LXArray::arrayByRemovingDuplicateObjects({"a", "a", "b", N(3)}).size(), 3u);

    EXPECT_TRUE(sameElements(
        LXArray::arrayByRemovingObjectsNotInArray({N(1), N(2), N(2), N(3), N(4)}, {N(4), N(2), N(9)}),
        {N(2), N(4)}));
    EXPECT_TRUE(LXArray::arrayByRemovingObjectsNotInArray({N(1)}, {}).empty());
}

TEST(LXArray, RecordLookUpsByKeyAndKeyPath) {
    const PropertyArray records = {record("a", N(10)), record("b", N(20)), record("a", N(30)),
                                   PropertyDictionary{{"other", N(1)}}};

    EXPECT_EQ(LXArray::arrayWithObjectsForKey(records, "info.size"),
              (PropertyArray{N(10), N(20), N(30), PropertyValue()}));

    EXPECT_TRUE(LXArray::containsObject(records, "b", "name"));
    EXPECT_TRUE(LXArray::containsObject(records, PropertyValue::real(20.0), "info.size"));
    EXPECT_FALSE(LXArray::containsObject(records, "c", "name"));
    EXPECT_FALSE(LXArray::containsObject(records, N(10), "name"));

    // The later of two matches wins, and it is the receiver's own record.
    EXPECT_EQ(LXArray::dictionaryContainingObject(records, "a", "name"), &records[2]);
    EXPECT_EQ(LXArray::dictionaryContainingObject(records, "zzz", "name"), nullptr);

    EXPECT_EQ(LXArray::arrayByRemovingObjectsFromArray(records, {"a", "x"}, "name"),
              (PropertyArray{records[1], records[3]}))
        << "order kept; a record without the key stays";
    EXPECT_EQ(LXArray::arrayByRemovingObjectsFromArray(records, {N(10), N(30)}, "info.size"),
              (PropertyArray{records[1], records[3]}));
}

TEST(LXMutableArray, RandomizeOfNothingOrOneLeavesItAlone) {
    for (const PropertyArray& before : {PropertyArray{}, PropertyArray{N(7)}}) {
        PropertyArray array = before;
        LXMutableArray::randomize(array);
        EXPECT_EQ(array, before);
    }

    const PropertyArray many = {N(1), N(2), N(3), N(4), N(5), N(6), N(7), N(8)};
    EXPECT_TRUE(sameElements(LXArray::randomizedArray(many), many));
}

// Swapping each position with one drawn from the whole array makes some orders more
// likely than others; a Fisher-Yates shuffle would make them all equal and fail here.
TEST(LXMutableArray, RandomizeDrawsOverTheWholeArrayAtEveryStep) {
    // The expected distribution: every one of the 27 draw sequences, applied.
    std::map<std::vector<int>, int> expectedCounts;
    for (int draws = 0; draws < 27; ++draws) {
        std::vector<int> order = {0, 1, 2};
        for (int i = 0, rest = draws; i < 3; ++i, rest /= 3)
            std::swap(order[i], order[rest % 3]);
        ++expectedCounts[order];
    }

    const int trials = 54000;
    std::map<std::vector<int>, int> observed;
    for (int t = 0; t < trials; ++t) {
        PropertyArray array = {N(0), N(1), N(2)};
        LXMutableArray::randomize(array);
        std::vector<int> order;
        for (const PropertyValue& v : array)
            order.push_back(*v.intValue());
        ++observed[order];
    }
    ASSERT_EQ(observed.size(), 6u);
    for (const auto& [order, count] : expectedCounts) {
        const double expected = trials * count / 27.0; // 8000 or 10000
        // Five standard deviations; Fisher-Yates would be 1000 away (about ten).
        EXPECT_NEAR(observed[order], expected, 5 * std::sqrt(expected)) << order[0] << order[1] << order[2];
    }
}

TEST(LXDictionary, MutableCopyDeepCopiesOneLevel) {
    const PropertyValue innermost = PropertyDictionary{{"c", N(1)}};
    const PropertyValue middle = PropertyDictionary{{"b", innermost}};
    const PropertyValue list = PropertyArray{N(1)};
    const PropertyDictionary receiver = {{"a", middle}, {"list", list}, {"name", "x"}};

    PropertyDictionary copy = LXDictionary::mutableCopyDeep(receiver);
    EXPECT_EQ(copy, receiver);
    EXPECT_FALSE(copy["a"].sharesContainerWith(middle)) << "the value for a is a new dictionary";
    EXPECT_TRUE((*copy["a"].dictionary()).at("b").sharesContainerWith(innermost))
        << "two levels down is shared";
    EXPECT_TRUE(copy["list"].sharesContainerWith(list)) << "arrays are shared, never copied";

    (*copy["a"].mutableDictionary())["new"] = N(2);
    EXPECT_EQ(middle.dictionary()->size(), 1u) << "the receiver's nested dictionary is untouched";
}

TEST(DictionaryContainsObject, MatchesKeysAndArrayValues) {
    const PropertyDictionary dictionary = {{"k", PropertyArray{"x", N(5)}}, {"n", PropertyArray{}}};
    EXPECT_TRUE(DictionaryContainsObject(dictionary, "k"));
    EXPECT_TRUE(DictionaryContainsObject(dictionary, "x"));
    EXPECT_TRUE(DictionaryContainsObject(dictionary, PropertyValue::real(5.0)));
    EXPECT_FALSE(DictionaryContainsObject(dictionary, "y"));
    EXPECT_FALSE(DictionaryContainsObject(dictionary, N(6)));
    EXPECT_FALSE(DictionaryContainsObject({}, "k"));
}

} // namespace
