#include <cmath>
#include <vector>

#include "movie/NSString+LXStringMovieTime.h"
#include "platform/core/NSStringReading.h"
#include "platform/text/StringWithFormat.h"
#include "platform/text/UnicodeText.h"

namespace {

// The clock fields wrap like the 32-bit integers they are printed from; unsigned
// arithmetic gives that without undefined behaviour.
int32_t wrap32(int64_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(value)));
}
int32_t add32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
int32_t multiply32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

// A double truncated toward zero into 32 bits; what does not fit (NaN included) gives
// the integer indefinite value, as the processor's conversion does.
int32_t truncateToInt32(double value) {
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return INT32_MIN;
    return static_cast<int32_t>(value);
}

struct ClockFields {
    const char* sign;
    int32_t hours;
    int32_t minutes;
    int32_t seconds;
    int32_t frames;
};

ClockFields breakDown(QTTime time, int32_t frameLength) {
    const int64_t scale = time.timeScale == 0 ? 600 : time.timeScale;
    const char* sign = "";
    int64_t value = time.timeValue;
    if (value < 0) {
        sign = "-";
        value = static_cast<int64_t>(0 - static_cast<uint64_t>(value));
    }
    // The one quotient that overflows (the most negative value over -1) wraps as well.
    const int64_t totalSeconds =
        (scale == -1) ? static_cast<int64_t>(0 - static_cast<uint64_t>(value)) : value / scale;
    const int32_t t = wrap32(totalSeconds);
    const int32_t hours = t / 3600;
    const int32_t rest = t - 3600 * hours;
    const int32_t minutes = rest / 60;
    const int32_t seconds = rest - 60 * minutes;
    int32_t frames = 0;
    if (frameLength != 0)
        frames = truncateToInt32(std::fmod(double(value), double(scale)) / frameLength);
    return {sign, hours, minutes, seconds, frames};
}

} // namespace

namespace LXString {

std::string stringWithMovieTime(QTTime time, int32_t frameLength) {
    const ClockFields f = breakDown(time, frameLength);
    if (frameLength != 0)
        return StringWithFormat("%s%.2d:%.2d:%.2d.%.2d", f.sign, f.hours, f.minutes, f.seconds, f.frames);
    return StringWithFormat("%s%.2d:%.2d:%.2d", f.sign, f.hours, f.minutes, f.seconds);
}

std::string stringWithAbbreviatedMovieTime(QTTime time, int32_t frameLength) {
    const ClockFields f = breakDown(time, frameLength);
    if (f.hours != 0) {
        if (frameLength != 0)
            return StringWithFormat("%s%d:%.2d:%.2d.%.2d", f.sign, f.hours, f.minutes, f.seconds, f.frames);
        return StringWithFormat("%s%d:%.2d:%.2d", f.sign, f.hours, f.minutes, f.seconds);
    }
    if (f.minutes != 0) {
        if (frameLength != 0)
            return StringWithFormat("%s%d:%.2d.%.2d", f.sign, f.minutes, f.seconds, f.frames);
        return StringWithFormat("%s%d:%.2d", f.sign, f.minutes, f.seconds);
    }
    if (frameLength != 0)
        return StringWithFormat("%s0:%.2d.%.2d", f.sign, f.seconds, f.frames);
    return StringWithFormat("%s0:%.2d", f.sign, f.seconds);
}

std::string displayStringForMovieTimeString(std::string_view text) {
    std::string display(text);
    while (display.starts_with("00:"))
        display.erase(0, 3);
    if (display.find(':') == std::string::npos)
        display.insert(0, ":");
    while (display.starts_with("0"))
        display.erase(0, 1);
    if (display.starts_with(":"))
        display.insert(0, "0");
    return display;
}

QTTime movieTimeValueWithScale(std::string_view text, int64_t scale, int32_t frameLength) {
    // Positions count characters, so the text is handled as code points.
    std::u32string m = CodePointsFromUTF8(text);
    if (m.find(U':') == std::u32string::npos) {
        // A bare run of digits gets its separators from the right: two digits of
        // seconds, then two of minutes, then hours.
        const size_t dot = m.rfind(U'.');
        const int64_t position = (dot == std::u32string::npos ? int64_t(m.size()) : int64_t(dot)) - 2;
        if (position > 0) {
            int64_t last = position;
            m.insert(size_t(last), 1, U':');
            for (int insertions = 1; last > 2 && insertions < 4; ++insertions) {
                last -= 2;
                m.insert(size_t(last), 1, U':');
            }
        }
    }

    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t colon = m.find(U':');; colon = m.find(U':', start)) {
        parts.push_back(UTF8FromCodePoints(std::u32string_view(m).substr(start, colon - start)));
        if (colon == std::u32string::npos)
            break;
        start = colon + 1;
    }

    int32_t hours = 0;
    int32_t minutes = 0;
    std::string secondsField;
    switch (parts.size()) {
    case 3:
        hours = NSStringIntValue(parts[0]);
        minutes = NSStringIntValue(parts[1]);
        secondsField = parts[2];
        break;
    case 2:
        minutes = NSStringIntValue(parts[0]);
        secondsField = parts[1];
        break;
    case 1:
        secondsField = parts[0];
        break;
    default:
        return {0, scale, 0};
    }

    std::vector<std::string_view> pieces;
    std::string_view rest = secondsField;
    for (size_t dot = rest.find('.');; dot = rest.find('.')) {
        pieces.push_back(rest.substr(0, dot));
        if (dot == std::string_view::npos)
            break;
        rest.remove_prefix(dot + 1);
    }
    const int32_t seconds = NSStringIntValue(pieces[0]);
    const int32_t frames = pieces.size() == 2 ? NSStringIntValue(pieces[1]) : 0;

    const int32_t wholeSeconds = add32(add32(multiply32(hours, 3600), multiply32(minutes, 60)), seconds);
    const auto ticks = static_cast<uint64_t>(int64_t(wholeSeconds)) * static_cast<uint64_t>(scale);
    const int32_t frameTicks = multiply32(frames, frameLength);
    return {static_cast<int64_t>(ticks + static_cast<uint64_t>(int64_t(frameTicks))), scale, 0};
}

} // namespace LXString
