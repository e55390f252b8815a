#pragma once

#include <cstdio>
#include <cstdlib>

/// A broken invariant in a fuzz target: says which and aborts, so libFuzzer keeps the
/// input as a crash like any sanitizer report.
#define FUZZ_CHECK(condition)                                                                                \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::fprintf(stderr, "%s:%d: invariant broken: %s\n", __FILE__, __LINE__, #condition);           \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (false)
