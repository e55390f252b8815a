#pragma once

#include <string>

/// printf-style formatting into a string, so texts built from the classic format
/// strings come out byte for byte as the C library writes them.
std::string StringWithFormat(const char* format, ...) __attribute__((format(printf, 1, 2)));
