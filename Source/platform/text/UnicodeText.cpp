#include "platform/text/UnicodeText.h"

#include <unicode/utf8.h>

std::u32string CodePointsFromUTF8(std::string_view text) {
    std::u32string codePoints;
    codePoints.reserve(text.size());
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    int32_t length = static_cast<int32_t>(text.size());
    int32_t offset = 0;
    while (offset < length) {
        UChar32 c;
        U8_NEXT_OR_FFFD(bytes, offset, length, c);
        codePoints.push_back(static_cast<char32_t>(c));
    }
    return codePoints;
}

std::string UTF8FromCodePoints(std::u32string_view codePoints) {
    std::string text;
    text.reserve(codePoints.size());
    for (char32_t c : codePoints) {
        uint8_t buffer[U8_MAX_LENGTH];
        int32_t length = 0;
        UBool failed = false;
        U8_APPEND(buffer, length, U8_MAX_LENGTH, c, failed);
        if (failed) {
            length = 0;
            U8_APPEND_UNSAFE(buffer, length, 0xFFFD);
        }
        text.append(reinterpret_cast<const char*>(buffer), static_cast<size_t>(length));
    }
    return text;
}
