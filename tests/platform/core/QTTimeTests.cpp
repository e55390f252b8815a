#include <gtest/gtest.h>

#include "platform/core/QTTime.h"

namespace {

TEST(QTStringFromTime, WritesDaysClockTicksAndScaleWhenThereIsAScale) {
    const std::pair<QTTime, const char*> cases[] = {
        {QTMakeTime(6003, 600), "0:00:00:10.03/600"},
        {QTMakeTime(0, 600), "0:00:00:00.00/600"},
        {QTMakeTime(-6003, 600), "-0:00:00:10.03/600"},
        {QTMakeTime(2500, 1000), "0:00:00:02.500/1000"},
        {QTMakeTime(7, 90000), "0:00:00:00.07/90000"},
        {QTMakeTime(86400LL * 600 * 3 + 3661 * 600 + 599, 600), "3:01:01:01.599/600"},
        {QTMakeTime(INT64_MIN, 1), "-106751991167300:15:30:08.00/1"},
        // No text without a scale.
        {QTMakeTime(45, 0), ""},
        {QTMakeTime(45, -600), ""},
    };
    for (const auto& [time, expected] : cases)
        EXPECT_EQ(QTStringFromTime(time), expected) << time.timeValue << "/" << time.timeScale;
}

} // namespace
