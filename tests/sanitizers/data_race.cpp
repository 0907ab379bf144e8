// SPDX-License-Identifier: MIT
// Two threads increment an unguarded variable.
#include <thread>

namespace
{
int sCount = 0;

void _count()
{
    for (int i = 0; i < 1000; ++i)
    {
        ++sCount;
    }
}
} // namespace

int main()
{
    std::thread other(_count);
    _count();
    other.join();
    return 0;
}
