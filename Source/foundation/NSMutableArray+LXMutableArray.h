#pragma once

#include "platform/core/PropertyList.h"

namespace LXMutableArray {

/// Shuffles in place: every position in turn is exchanged with one drawn from the
/// whole array. Unlike Fisher-Yates this does not make all orders equally likely; that
/// distribution is the one wanted.
void randomize(PropertyArray& receiver);

} // namespace LXMutableArray
