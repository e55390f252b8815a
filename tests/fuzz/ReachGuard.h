#pragma once

/// While a ReachGuard lives, the process must not open a path or make a socket: the movie
/// path reads only the bytes it was given. Any such call prints what it tried and aborts,
/// so the fuzzer keeps the input. The calls are caught by defining the C library's entry
/// points in the fuzz target itself, in front of the C library.
class ReachGuard {
public:
    ReachGuard();
    ~ReachGuard();
    ReachGuard(const ReachGuard&) = delete;
    ReachGuard& operator=(const ReachGuard&) = delete;
};
