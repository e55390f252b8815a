#include "platform/core/NSGeometry.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Scans the text for up to N numbers, skipping whatever stands between them. Only
// digit-based numbers count: words such as "nan" or "inf" are skipped like any other
// text, so a size read from a request is never NaN (an exponent can still overflow to
// infinity, which callers must treat as out of range).
template <size_t N>
std::array<double, N> scanNumbers(std::string_view text) {
    std::array<double, N> numbers{};
    size_t found = 0;
    size_t i = 0;
    while (i < text.size() && found < N) {
        size_t start = i;
        if (text[i] == '-' || text[i] == '+')
            ++i;
        bool startsNumber = i < text.size() && (isDigit(text[i]) || (text[i] == '.' && i + 1 < text.size() && isDigit(text[i + 1])));
        if (!startsNumber) {
            i = start + 1;
            continue;
        }
        const char* first = text.data() + start + (text[start] == '+' ? 1 : 0);
        double value = 0;
        auto [end, error] = std::from_chars(first, text.data() + text.size(), value);
        if (error == std::errc::result_out_of_range) {
            // Overflowing exponents read as infinities of the right sign.
            value = (*first == '-') ? -HUGE_VAL : HUGE_VAL;
        } else if (error != std::errc{}) {
            i = start + 1;
            continue;
        }
        numbers[found++] = value;
        i = static_cast<size_t>(end - text.data());
    }
    return numbers;
}

std::string formatNumber(double value) {
    char buffer[64];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

} // namespace

NSSize NSSizeFromString(std::string_view text) {
    auto n = scanNumbers<2>(text);
    return {n[0], n[1]};
}

NSPoint NSPointFromString(std::string_view text) {
    auto n = scanNumbers<2>(text);
    return {n[0], n[1]};
}

NSRect NSRectFromString(std::string_view text) {
    auto n = scanNumbers<4>(text);
    return {{n[0], n[1]}, {n[2], n[3]}};
}

std::string NSStringFromSize(NSSize size) {
    return "{" + formatNumber(size.width) + ", " + formatNumber(size.height) + "}";
}

std::string NSStringFromPoint(NSPoint point) {
    return "{" + formatNumber(point.x) + ", " + formatNumber(point.y) + "}";
}

std::string NSStringFromRect(NSRect rect) {
    return "{" + NSStringFromPoint(rect.origin) + ", " + NSStringFromSize(rect.size) + "}";
}
