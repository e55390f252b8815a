#include "service/jobs/LXVideoFrameBudget.h"

#include <atomic>

namespace {

std::atomic<std::chrono::milliseconds::rep> budgetMilliseconds{kLXVideoFrameDefaultBudget.count()};

} // namespace

std::chrono::milliseconds LXVideoFrameBudget() {
    return std::chrono::milliseconds(budgetMilliseconds.load(std::memory_order_relaxed));
}

void LXVideoFrameSetBudget(std::chrono::milliseconds budget) {
    budgetMilliseconds.store(budget.count(), std::memory_order_relaxed);
}
