#pragma once

#include <cstdint>
#include <string>

/// A movie time: a count of ticks (`timeValue`) at `timeScale` ticks per second.
struct QTTime {
    int64_t timeValue = 0;
    int64_t timeScale = 0;
    int64_t flags = 0;
    friend bool operator==(const QTTime&, const QTTime&) = default;
};

inline constexpr QTTime QTZeroTime{};
inline constexpr int64_t QTDefaultTimeScale = 600;

inline constexpr QTTime QTMakeTime(int64_t timeValue, int64_t timeScale) { return {timeValue, timeScale, 0}; }

/// Seconds as a double; 0 for a time without a scale.
double QTGetTimeInterval(QTTime time);

/// The text form "[-]D:HH:MM:SS.TT/S": days unpadded; hours, minutes and seconds two
/// digits; the ticks left over after the whole seconds at least two digits; then the
/// scale. Value 6003 at scale 600 is "0:00:00:10.03/600". A time without a positive
/// scale cannot be broken down and gives the empty string.
std::string QTStringFromTime(QTTime time);
