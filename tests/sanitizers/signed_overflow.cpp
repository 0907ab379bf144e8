// SPDX-License-Identifier: MIT
// Adds beyond the greatest number.
#include <limits>

int main(int iCount, char**)
{
    const volatile int sum = std::numeric_limits<int>::max() + iCount;
    return sum == 0 ? 1 : 0;
}
