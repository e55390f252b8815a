#include "platform/text/NumericCollation.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include <unicode/ucol.h>
#include <unicode/uloc.h>

namespace {

struct CollatorDeleter {
    void operator()(UCollator* collator) const { ucol_close(collator); }
};
using CollatorHandle = std::unique_ptr<UCollator, CollatorDeleter>;

std::string userLocaleName() {
    std::string name = uloc_getDefault();
    // ICU maps the C and POSIX locales to en_US_POSIX, whose collation is plain code
    // point order with no numeric runs; a user without a locale gets the root order.
    if (name.starts_with("en_US_POSIX") || name == "c" || name == "C")
        return "";
    return name;
}

// Collators are expensive to open and safe to share for comparing, so each locale gets
// one for the life of the process.
const UCollator* collatorFor(const std::string& localeName) {
    static std::mutex mutex;
    static std::map<std::string, CollatorHandle> collators;
    std::lock_guard lock(mutex);
    auto found = collators.find(localeName);
    if (found != collators.end())
        return found->second.get();
    UErrorCode status = U_ZERO_ERROR;
    CollatorHandle collator(ucol_open(localeName.c_str(), &status));
    if (U_FAILURE(status))
        collator.reset();
    if (collator) {
        ucol_setAttribute(collator.get(), UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
        // Tertiary strength tells "a" from "A": the comparison is case-sensitive.
        ucol_setAttribute(collator.get(), UCOL_STRENGTH, UCOL_TERTIARY, &status);
        if (U_FAILURE(status))
            collator.reset();
    }
    return collators.emplace(localeName, std::move(collator)).first->second.get();
}

NSComparisonResult toComparisonResult(int order) {
    if (order < 0)
        return NSComparisonResult::OrderedAscending;
    if (order > 0)
        return NSComparisonResult::OrderedDescending;
    return NSComparisonResult::OrderedSame;
}

} // namespace

NSComparisonResult CompareNumerically(std::string_view a, std::string_view b, const char* localeName) {
    const UCollator* collator = collatorFor(localeName ? localeName : "");
    if (!collator)
        return toComparisonResult(a.compare(b));
    UErrorCode status = U_ZERO_ERROR;
    UCollationResult result = ucol_strcollUTF8(collator, a.data(), static_cast<int32_t>(a.size()), b.data(),
                                               static_cast<int32_t>(b.size()), &status);
    if (U_FAILURE(status))
        return toComparisonResult(a.compare(b));
    return toComparisonResult(result);
}

NSComparisonResult CompareNumericallyInUserLocale(std::string_view a, std::string_view b) {
    return CompareNumerically(a, b, userLocaleName().c_str());
}
