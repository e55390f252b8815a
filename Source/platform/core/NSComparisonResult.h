#pragma once

/// The answer of an ordering comparison: the receiver sorts before, with, or after the
/// argument.
enum class NSComparisonResult { OrderedAscending = -1, OrderedSame = 0, OrderedDescending = 1 };
