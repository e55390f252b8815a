#include "foundation/PropertyValueSet.h"

#include <cmath>
#include <functional>
#include <string_view>

namespace {

size_t combine(size_t seed, size_t value) {
    return seed ^ (value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2));
}

size_t hashNumber(const NSNumber& number) {
    // Equal numbers have equal doubles, whatever their kind, so the double is hashed.
    double value = number.doubleValue();
    if (value == 0)
        value = 0; // -0 and +0 are equal
    if (std::isnan(value))
        return 0;
    return std::hash<double>{}(value);
}

} // namespace

size_t PropertyValueHash::operator()(const PropertyValue& value) const {
    size_t seed = static_cast<size_t>(value.kind());
    switch (value.kind()) {
    case PropertyValue::Kind::None:
        return seed;
    case PropertyValue::Kind::Data:
        return combine(seed, std::hash<std::string_view>{}(value.data()->view()));
    case PropertyValue::Kind::String:
        return combine(seed, std::hash<std::string>{}(*value.string()));
    case PropertyValue::Kind::Number:
        return combine(seed, hashNumber(*value.number()));
    case PropertyValue::Kind::Date:
        return combine(seed, std::hash<double>{}(value.date()->timeIntervalSinceReferenceDate + 0.0));
    case PropertyValue::Kind::Array:
        // Containers hash by their size and first member only, so that a large
        // container is not walked for every look-up.
        seed = combine(seed, value.array()->size());
        return value.array()->empty() ? seed : combine(seed, (*this)(value.array()->front()));
    case PropertyValue::Kind::Dictionary:
        seed = combine(seed, value.dictionary()->size());
        return value.dictionary()->empty()
                   ? seed
                   : combine(seed, std::hash<std::string>{}(value.dictionary()->begin()->first));
    }
    return seed;
}
