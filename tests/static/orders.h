// SPDX-License-Identifier: MIT
// A sample for check-static.sh: the second variable does not say why its order is enough.

#include <atomic>

extern std::atomic<int> sElsewhere;

/// In any order, because nothing depends on it.
std::atomic<int> sExplained;

std::atomic<int*> sUnexplained{nullptr};
