#include "platform/core/NSData.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

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

ErrorOr<NSData> NSData::dataWithContentsOfFile(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        return makeError("cannot read " + path + ": it is a folder");
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    if (!in)
        return makeError("cannot read " + path + ": " + std::strerror(errno));
    std::vector<uint8_t> bytes(static_cast<size_t>(in.tellg()));
    in.seekg(0);
    if (!in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size())))
        return makeError("cannot read " + path + ": " + std::strerror(errno));
    return dataWithVector(std::move(bytes));
}
