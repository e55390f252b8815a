#include "platform/core/QTTime.h"

#include <cinttypes>
#include <cstdio>

double QTGetTimeInterval(QTTime time) {
    if (time.timeScale == 0)
        return 0;
    return static_cast<double>(time.timeValue) / static_cast<double>(time.timeScale);
}

std::string QTStringFromTime(QTTime time) {
    if (time.timeScale <= 0)
        return {};
    // Work on the magnitude as unsigned so that INT64_MIN has one too.
    bool negative = time.timeValue < 0;
    uint64_t value = negative ? 0 - static_cast<uint64_t>(time.timeValue) : static_cast<uint64_t>(time.timeValue);
    uint64_t scale = static_cast<uint64_t>(time.timeScale);
    uint64_t seconds = value / scale;
    uint64_t ticks = value % scale;
    uint64_t days = seconds / 86400;
    seconds %= 86400;
    char buffer[128];
    std::snprintf(buffer, sizeof buffer, "%s%" PRIu64 ":%02" PRIu64 ":%02" PRIu64 ":%02" PRIu64 ".%02" PRIu64 "/%" PRId64,
                  negative ? "-" : "", days, seconds / 3600, seconds / 60 % 60, seconds % 60, ticks, time.timeScale);
    return buffer;
}
