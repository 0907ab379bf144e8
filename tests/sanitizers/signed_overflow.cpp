// SPDX-License-Identifier: MIT
// Overflows a signed number.
#include <limits>

int main(int iCount, char**)
{
    const volatile int sum = std::numeric_limits<int>::max() + iCount;
    return sum == 0 ? 1 : 0;
}
