#include "platform/text/StringWithFormat.h"

#include <cstdarg>
#include <cstdio>

std::string StringWithFormat(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list measuring;
    va_copy(measuring, arguments);
    int length = std::vsnprintf(nullptr, 0, format, measuring);
    va_end(measuring);
    std::string text;
    if (length > 0) {
        text.resize(static_cast<size_t>(length));
        // The buffer of a std::string always has room for the terminating zero.
        std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    }
    va_end(arguments);
    return text;
}
