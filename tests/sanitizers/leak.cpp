// SPDX-License-Identifier: MIT
// Forgets what it allocated.
#include <memory>

int main()
{
    std::make_unique<int>(1).release();
    std::make_unique<int>(2).reset();
    return 0;
}
