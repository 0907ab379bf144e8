// SPDX-License-Identifier: MIT
// Reads an object that is gone.
#include <memory>

int main()
{
    auto owner = std::make_unique<int>(1);
    const volatile int* const borrowed = owner.get();
    owner.reset();
    return *borrowed;
}
