#include "platform/core/NSData.h"

#include <algorithm>

NSData NSData::dataWithBytes(const void* bytes, size_t length) {
    auto begin = static_cast<const uint8_t*>(bytes);
    return dataWithVector(std::vector<uint8_t>(begin, begin + length));
}

NSData NSData::dataWithVector(std::vector<uint8_t> bytes) {
    auto owner = std::make_shared<const std::vector<uint8_t>>(std::move(bytes));
    return dataWithOwner(owner, owner->data(), owner->size());
}

NSData NSData::dataWithOwner(std::shared_ptr<const void> owner, const uint8_t* bytes, size_t length) {
    NSData data;
    data.m_owner = std::move(owner);
    data.m_bytes = bytes;
    data.m_length = length;
    return data;
}

bool operator==(const NSData& a, const NSData& b) {
    return std::ranges::equal(a.span(), b.span());
}
