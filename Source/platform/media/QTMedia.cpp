#include "platform/media/QTMedia.h"

#include <algorithm>

bool QTMedia::hasCharacteristic(std::string_view characteristic) const {
    return std::ranges::find(m_characteristics, characteristic) != m_characteristics.end();
}

void QTMedia::setTimingSource(std::function<QTMediaTiming()> source) {
    m_timingSource = std::move(source);
    m_counted.reset();
}

const QTMediaTiming& QTMedia::timing() const {
    if (!m_timingSource || (m_timing.duration && m_timing.sampleCount))
        return m_timing;
    if (!m_counted) {
        auto counted = m_timingSource();
        // What the container states wins over what was counted.
        if (m_timing.duration)
            counted.duration = m_timing.duration;
        if (m_timing.sampleCount)
            counted.sampleCount = m_timing.sampleCount;
        m_counted = std::make_shared<QTMediaTiming>(counted);
    }
    return *m_counted;
}

std::optional<QTTime> QTMedia::duration() const {
    return timing().duration;
}
std::optional<int64_t> QTMedia::sampleCount() const {
    return timing().sampleCount;
}
