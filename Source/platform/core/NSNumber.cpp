#include "platform/core/NSNumber.h"

#include <cmath>
#include <limits>

namespace {

template <typename Int>
Int saturatingFromDouble(double value) {
    if (std::isnan(value))
        return 0;
    double truncated = std::trunc(value);
    if (truncated <= static_cast<double>(std::numeric_limits<Int>::min()))
        return std::numeric_limits<Int>::min();
    // The maximum of a 64-bit integer is not a double; the first double past it is
    // 2^63 (or 2^64), which `>=` catches.
    if (truncated >= static_cast<double>(std::numeric_limits<Int>::max()))
        return std::numeric_limits<Int>::max();
    return static_cast<Int>(truncated);
}

} // namespace

NSNumber NSNumber::numberWithBool(bool value) { return make(Kind::Boolean, value ? 1 : 0); }

NSNumber NSNumber::numberWithUnsignedLongLong(uint64_t value) {
    NSNumber n;
    n.m_kind = Kind::UInt64;
    n.m_unsigned = value;
    return n;
}

NSNumber NSNumber::numberWithDouble(double value) {
    NSNumber n;
    n.m_kind = Kind::Double;
    n.m_real = value;
    return n;
}

int64_t NSNumber::longLongValue() const {
    switch (m_kind) {
    case Kind::Double:
        return saturatingFromDouble<int64_t>(m_real);
    case Kind::UInt64:
        return m_unsigned > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())
                   ? std::numeric_limits<int64_t>::max()
                   : static_cast<int64_t>(m_unsigned);
    default:
        return m_integer;
    }
}

int32_t NSNumber::intValue() const {
    if (m_kind == Kind::Double)
        return saturatingFromDouble<int32_t>(m_real);
    int64_t value = longLongValue();
    if (value < std::numeric_limits<int32_t>::min())
        return std::numeric_limits<int32_t>::min();
    if (value > std::numeric_limits<int32_t>::max())
        return std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(value);
}

uint64_t NSNumber::unsignedLongLongValue() const {
    switch (m_kind) {
    case Kind::Double:
        return saturatingFromDouble<uint64_t>(m_real);
    case Kind::UInt64:
        return m_unsigned;
    default:
        return m_integer < 0 ? 0 : static_cast<uint64_t>(m_integer);
    }
}

double NSNumber::doubleValue() const {
    switch (m_kind) {
    case Kind::Double:
        return m_real;
    case Kind::UInt64:
        return static_cast<double>(m_unsigned);
    default:
        return static_cast<double>(m_integer);
    }
}

bool NSNumber::boolValue() const {
    switch (m_kind) {
    case Kind::Double:
        return m_real != 0; // NaN is not zero, so it reads as true, as Foundation has it.
    case Kind::UInt64:
        return m_unsigned != 0;
    default:
        return m_integer != 0;
    }
}

bool operator==(const NSNumber& a, const NSNumber& b) {
    if (a.isReal() || b.isReal())
        return a.doubleValue() == b.doubleValue();
    if (a.m_kind == NSNumber::Kind::UInt64 || b.m_kind == NSNumber::Kind::UInt64)
        return a.unsignedLongLongValue() == b.unsignedLongLongValue() && a.longLongValue() == b.longLongValue();
    return a.m_integer == b.m_integer;
}
