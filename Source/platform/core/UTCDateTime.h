#pragma once

#include <cstdint>
#include <type_traits>

/// The classic eight-byte time record: seconds since 1904-01-01 00:00:00 UTC split into
/// a high 16-bit and a low 32-bit part, then a 16-bit fraction of a second. It is packed
/// to two-byte alignment, as the classic headers lay it out.
#pragma pack(push, 2)
struct UTCDateTime {
    uint16_t highSeconds;
    uint32_t lowSeconds;
    uint16_t fraction;
};
#pragma pack(pop)

static_assert(sizeof(UTCDateTime) == 8);
static_assert(std::is_trivially_copyable_v<UTCDateTime>);
