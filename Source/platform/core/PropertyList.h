#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/core/NSData.h"
#include "platform/core/NSDate.h"
#include "platform/core/NSNumber.h"

class PropertyValue;
using PropertyArray = std::vector<PropertyValue>;
using PropertyDictionary = std::map<std::string, PropertyValue, std::less<>>;

/// One value of a property list: data, string, number, date, array or dictionary, or
/// nothing. Arrays and dictionaries are held by reference, as in Foundation: copying a
/// value shares its container, and `mutableArray()` / `mutableDictionary()` change it
/// for every holder.
class PropertyValue {
public:
    enum class Kind { None, Data, String, Number, Date, Array, Dictionary };

    PropertyValue() = default;
    PropertyValue(NSData data) : m_value(std::move(data)) {}
    PropertyValue(std::string string) : m_value(std::move(string)) {}
    PropertyValue(const char* string) : m_value(std::string(string)) {}
    PropertyValue(NSNumber number) : m_value(number) {}
    PropertyValue(NSDate date) : m_value(date) {}
    PropertyValue(PropertyArray array) : m_value(std::make_shared<PropertyArray>(std::move(array))) {}
    PropertyValue(PropertyDictionary dictionary)
        : m_value(std::make_shared<PropertyDictionary>(std::move(dictionary))) {}

    static PropertyValue number(int32_t value) { return NSNumber::numberWithInt(value); }
    static PropertyValue boolean(bool value) { return NSNumber::numberWithBool(value); }
    static PropertyValue real(double value) { return NSNumber::numberWithDouble(value); }

    Kind kind() const { return static_cast<Kind>(m_value.index()); }
    bool isNone() const { return kind() == Kind::None; }
    explicit operator bool() const { return !isNone(); }

    /// The value when it is of that kind, else null.
    const NSData* data() const { return std::get_if<NSData>(&m_value); }
    const std::string* string() const { return std::get_if<std::string>(&m_value); }
    const NSNumber* number() const { return std::get_if<NSNumber>(&m_value); }
    const NSDate* date() const { return std::get_if<NSDate>(&m_value); }
    const PropertyArray* array() const;
    const PropertyDictionary* dictionary() const;
    PropertyArray* mutableArray() const;
    PropertyDictionary* mutableDictionary() const;

    /// True when both hold the same container (not merely equal ones).
    bool sharesContainerWith(const PropertyValue& other) const;

    /// Foundation's `intValue`: numbers (real ones truncated toward zero, saturated) and
    /// numeric texts (the leading integer); any other kind reads as absent.
    std::optional<int32_t> intValue() const;
    std::optional<int64_t> longLongValue() const;
    std::optional<double> doubleValue() const;
    /// Foundation's `boolValue`: numbers are true when not zero; texts when they begin
    /// with "Y", "y", "T", "t" or a non-zero number; any other kind reads as absent.
    std::optional<bool> boolValue() const;

    /// Deep equality, as `isEqual:` compares property lists.
    friend bool operator==(const PropertyValue& a, const PropertyValue& b);

private:
    std::variant<std::monostate, NSData, std::string, NSNumber, NSDate, std::shared_ptr<PropertyArray>,
                 std::shared_ptr<PropertyDictionary>>
        m_value;
};

/// The value under `key`, or null when there is none.
const PropertyValue* PropertyValueForKey(const PropertyDictionary& dictionary, std::string_view key);
