#pragma once

#include <string>
#include <string_view>

/// Texts are UTF-8; operations that count or insert at character positions work on the
/// code points. Malformed bytes read as U+FFFD.
std::u32string CodePointsFromUTF8(std::string_view text);
std::string UTF8FromCodePoints(std::u32string_view codePoints);
