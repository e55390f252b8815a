#pragma once

#include <cstddef>

/// One row of the type table. Lists are comma-separated, preferred entry first; a
/// missing list is "".
struct UTTypeRecord {
    const char* identifier;
    const char* conformsTo;
    const char* extensions;
    const char* mimeTypes;
    const char* osTypes;
};

extern const UTTypeRecord kUTTypeTable[];
extern const size_t kUTTypeTableSize;
