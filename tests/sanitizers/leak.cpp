// SPDX-License-Identifier: MIT
// Leaks an allocation.
#include <memory>

int main()
{
    std::make_unique<int>(1).release();
    std::make_unique<int>(2).reset();
    return 0;
}
