#include "platform/media/QTMedia.h"

#include <algorithm>

bool QTMedia::hasCharacteristic(std::string_view characteristic) const {
    return std::ranges::find(m_characteristics, characteristic) != m_characteristics.end();
}
