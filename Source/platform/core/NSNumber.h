#pragma once

#include <cstdint>

/// A number that remembers the kind it was made as, so it can be written back in
/// exactly that kind. The readers follow Foundation's rules: real numbers truncate
/// toward zero, out-of-range values saturate, NaN reads as 0.
class NSNumber {
public:
    enum class Kind : uint8_t { Boolean, Byte, Int16, UInt16, Int32, UInt32, Int64, UInt64, Double };

    constexpr NSNumber() = default;
    static NSNumber numberWithBool(bool value);
    static NSNumber numberWithInt(int32_t value) { return make(Kind::Int32, value); }
    static NSNumber numberWithLongLong(int64_t value) { return make(Kind::Int64, value); }
    static NSNumber numberWithUnsignedLongLong(uint64_t value);
    static NSNumber numberWithDouble(double value);
    static NSNumber numberWithFloat(float value) { return numberWithDouble(value); }
    /// For the wire kinds that fit a signed 64-bit integer (Byte to Int64, Boolean).
    static NSNumber numberWithKind(Kind kind, int64_t value) { return make(kind, value); }

    Kind kind() const { return m_kind; }
    bool isReal() const { return m_kind == Kind::Double; }

    int32_t intValue() const;
    int64_t longLongValue() const;
    uint64_t unsignedLongLongValue() const;
    double doubleValue() const;
    bool boolValue() const;

    friend bool operator==(const NSNumber& a, const NSNumber& b);

private:
    static NSNumber make(Kind kind, int64_t value) {
        NSNumber n;
        n.m_kind = kind;
        n.m_integer = value;
        return n;
    }

    Kind m_kind = Kind::Int32;
    int64_t m_integer = 0;
    uint64_t m_unsigned = 0;
    double m_real = 0;
};
