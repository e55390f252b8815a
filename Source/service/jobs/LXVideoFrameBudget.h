#pragma once

#include <chrono>

/// How long one frame of a job may take to grab: opening and probing the movie (which
/// count toward the first frame), the grab and the end guard's retry together. A frame
/// out of time is answered like any frame that cannot be made (a time-only entry, or
/// the end of a job that requires every frame), and the next frame gets a budget of its
/// own. 20 seconds: decoding a 4K group of pictures of several hundred frames fits.
inline constexpr std::chrono::milliseconds kLXVideoFrameDefaultBudget{20'000};

/// The budget in force for the jobs of this process.
std::chrono::milliseconds LXVideoFrameBudget();
/// Replaces the budget, for tests that need slow frames to run out of time quickly.
void LXVideoFrameSetBudget(std::chrono::milliseconds budget);
