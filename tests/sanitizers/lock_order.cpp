// SPDX-License-Identifier: MIT
// Takes two locks in one order and then in the opposite order.
#include <mutex>
#include <thread>

namespace
{
std::mutex sFirst;
std::mutex sSecond;

void _lockBoth(std::mutex& ioOuter, std::mutex& ioInner)
{
    const std::lock_guard<std::mutex> outer(ioOuter);
    const std::lock_guard<std::mutex> inner(ioInner);
}
} // namespace

int main()
{
    std::thread(_lockBoth, std::ref(sFirst), std::ref(sSecond)).join();
    std::thread(_lockBoth, std::ref(sSecond), std::ref(sFirst)).join();
    return 0;
}
