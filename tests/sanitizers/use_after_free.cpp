// SPDX-License-Identifier: MIT
// Reads a destroyed object.
#include <memory>

int main()
{
    auto owner = std::make_unique<int>(1);
    const volatile int* const borrowed = owner.get();
    owner.reset();
    return *borrowed;
}
