#include "platform/core/NSStringReading.h"

#include <charconv>
#include <limits>

namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view skipSpace(std::string_view text) {
    size_t i = 0;
    while (i < text.size() && isSpace(text[i]))
        ++i;
    return text.substr(i);
}

} // namespace

int64_t NSStringLongLongValue(std::string_view text) {
    text = skipSpace(text);
    bool negative = false;
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
        negative = text[0] == '-';
        text.remove_prefix(1);
    }
    // Accumulate toward the sign so that the most negative value has room.
    int64_t value = 0;
    for (char c : text) {
        if (!isDigit(c))
            break;
        int digit = c - '0';
        if (negative) {
            if (value < (std::numeric_limits<int64_t>::min() + digit) / 10)
                return std::numeric_limits<int64_t>::min();
            value = value * 10 - digit;
        } else {
            if (value > (std::numeric_limits<int64_t>::max() - digit) / 10)
                return std::numeric_limits<int64_t>::max();
            value = value * 10 + digit;
        }
    }
    return value;
}

int32_t NSStringIntValue(std::string_view text) {
    int64_t value = NSStringLongLongValue(text);
    if (value < std::numeric_limits<int32_t>::min())
        return std::numeric_limits<int32_t>::min();
    if (value > std::numeric_limits<int32_t>::max())
        return std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(value);
}

bool NSStringBoolValue(std::string_view text) {
    text = skipSpace(text);
    if (text.empty())
        return false;
    if (text[0] == 'Y' || text[0] == 'y' || text[0] == 'T' || text[0] == 't')
        return true;
    if (text[0] == '-' || text[0] == '+')
        text.remove_prefix(1);
    size_t i = 0;
    while (i < text.size() && text[i] == '0')
        ++i;
    return i < text.size() && text[i] >= '1' && text[i] <= '9';
}

double NSStringDoubleValue(std::string_view text) {
    text = skipSpace(text);
    if (!text.empty() && text[0] == '+')
        text.remove_prefix(1);
    double value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::general);
    if (error == std::errc::result_out_of_range)
        return (!text.empty() && text[0] == '-') ? -std::numeric_limits<double>::infinity()
                                                 : std::numeric_limits<double>::infinity();
    if (error != std::errc{})
        return 0;
    // from_chars reads "nan" and "inf"; Foundation does not.
    if (!isDigit(text[0]) && text[0] != '.' && !(text[0] == '-' && text.size() > 1 && (isDigit(text[1]) || text[1] == '.')))
        return 0;
    (void)end;
    return value;
}
