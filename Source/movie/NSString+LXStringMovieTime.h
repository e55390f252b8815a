#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/core/QTTime.h"

/// Clock texts for movie times. The field after "." counts whole frames into the
/// current second (at least two digits), present only when a frame length is given.
namespace LXString {

/// Hours, minutes and seconds always, two digits each: "01:02:04.08". A time without a
/// scale is read at 600 ticks per second.
std::string stringWithMovieTime(QTTime time, int32_t frameLength);

/// Leading zero fields dropped and the leading field unpadded, with at least "0:"
/// before the seconds: "1:02:04.08", "2:30", "0:03".
std::string stringWithAbbreviatedMovieTime(QTTime time, int32_t frameLength);

/// A full clock text shortened for display: "00:02:34" gives "2:34", "05" gives "0:05".
std::string displayStringForMovieTimeString(std::string_view text);

/// Reads a clock text, or a bare run of digits ("123456" is 12:34:56), as a time at
/// `scale`. Only the first field carries a sign; unreadable fields read as 0, and more
/// than three fields give the value 0.
QTTime movieTimeValueWithScale(std::string_view text, int64_t scale, int32_t frameLength);

} // namespace LXString
