#include "platform/screen/MonitorLayout.h"

#include <algorithm>

std::vector<NSRect> ScreenFramesFromMonitors(std::vector<MonitorRect> monitors) {
    if (monitors.empty())
        return {};
    auto primary =
        std::find_if(monitors.begin(), monitors.end(), [](const MonitorRect& m) { return m.primary; });
    if (primary != monitors.end())
        std::rotate(monitors.begin(), primary, primary + 1);

    // Flip about the primary monitor, whose bottom-left corner becomes the origin.
    const MonitorRect main = monitors.front();
    std::vector<NSRect> frames;
    frames.reserve(monitors.size());
    for (const MonitorRect& monitor : monitors) {
        frames.push_back(NSMakeRect(monitor.x - main.x, (main.y + main.height) - (monitor.y + monitor.height),
                                    monitor.width, monitor.height));
    }
    return frames;
}
