// SPDX-License-Identifier: MIT
#include "PLogBuffer.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <limits>
#include <new>
#include <utility>

PLogBuffer::PLogBuffer(std::size_t iUsualRoom)
    : fUsualRoom(iUsualRoom),
      fOwned(new char[iUsualRoom]),
      fUsual(fOwned.get()),
      fBytes(fUsual),
      fRoom(iUsualRoom),
      fSize(0)
{
}

PLogBuffer::PLogBuffer(char* iUsual, std::size_t iUsualRoom) noexcept
    : fUsualRoom(iUsualRoom), fUsual(iUsual), fBytes(iUsual), fRoom(iUsualRoom), fSize(0)
{
}

int PLogBuffer::reset(std::size_t iRoom) noexcept
{
    fSize = 0;
    fLarge.reset();
    fBytes = fUsual;
    fRoom = fUsualRoom;
    return reserve(iRoom);
}

int PLogBuffer::grow(std::size_t iMore) noexcept
{
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() / 2;
    if (fRoom > kMost || iMore > kMost)
    {
        return -ENOMEM;
    }
    const std::size_t room = std::max(2 * fRoom, fSize + iMore);
    std::unique_ptr<char[]> larger(new (std::nothrow) char[room]);
    if (!larger)
    {
        return -ENOMEM;
    }
    std::memcpy(larger.get(), fBytes, fSize);
    fLarge = std::move(larger);
    fBytes = fLarge.get();
    fRoom = room;
    return 0;
}

void PLogBuffer::addNumber(long long iNumber) noexcept
{
    char digits[24];
    const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, iNumber);
    add(std::string_view(digits, static_cast<std::size_t>(result.ptr - digits)));
}

void PLogBuffer::addHex(unsigned int iNumber, int iDigits) noexcept
{
    for (int shift = (iDigits - 1) * 4; shift >= 0; shift -= 4)
    {
        add("0123456789abcdef"[(iNumber >> shift) & 0xFu]);
    }
}
