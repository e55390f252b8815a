#include <cstdint>
#include <utility>

#include <stdlib.h>

#include "foundation/NSMutableArray+LXMutableArray.h"

namespace LXMutableArray {

void randomize(PropertyArray& receiver) {
    const auto count = static_cast<int32_t>(receiver.size());
    if (count <= 0)
        return;
    for (int32_t i = 0; i < count; ++i)
        std::swap(receiver[size_t(i)], receiver[arc4random_uniform(static_cast<uint32_t>(count))]);
}

} // namespace LXMutableArray
