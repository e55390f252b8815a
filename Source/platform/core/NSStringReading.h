#pragma once

#include <cstdint>
#include <string_view>

/// Foundation's readings of a text as a number. All skip leading white space and
/// ignore whatever follows the number.

/// The leading integer: one optional sign, then digits; no digits gives 0; values
/// beyond 32 bits saturate.
int32_t NSStringIntValue(std::string_view text);
int64_t NSStringLongLongValue(std::string_view text);
/// True for a leading "Y", "y", "T" or "t", or a leading number that is not zero.
bool NSStringBoolValue(std::string_view text);
/// The leading decimal number, 0 when there is none.
double NSStringDoubleValue(std::string_view text);
