// SPDX-License-Identifier: MIT
#include "host/PLogEntry.h"

#include <charconv>

namespace
{
constexpr std::size_t kClockBegin = 11; // after the date
constexpr std::size_t kClockLength = 8;
constexpr std::size_t kTimeLength = 24; // with the blank after it
constexpr std::string_view kTag = " Core ";
constexpr std::string_view kAddress = "[pg:0x";
constexpr int kAddressBase = 16;

/// Takes a number and the character after it from the front of a text.
bool _takeNumber(std::string_view& ioText, char iEnd, int& oNumber)
{
    const char* const end = ioText.data() + ioText.size();
    const std::from_chars_result result = std::from_chars(ioText.data(), end, oNumber);
    if (result.ec != std::errc() || result.ptr == end || *result.ptr != iEnd)
    {
        return false;
    }
    ioText.remove_prefix(static_cast<std::size_t>(result.ptr - ioText.data()) + 1);
    return true;
}
} // namespace

bool PLogEntry::read(std::string_view iLine)
{
    if (iLine.size() < kTimeLength)
    {
        return false;
    }
    std::string_view rest = iLine.substr(kTimeLength);
    if (!_takeNumber(rest, ':', process) || !_takeNumber(rest, ' ', thread) || rest.empty())
    {
        return false;
    }
    kind = rest.front();
    rest.remove_prefix(1);
    if (!rest.starts_with(kTag))
    {
        return false;
    }
    clock = iLine.substr(kClockBegin, kClockLength);
    text = rest.substr(kTag.size());
    return true;
}

bool PLogEntry::begins(std::string_view iPrefix, std::string_view& oRest) const
{
    if (!text.starts_with(iPrefix))
    {
        return false;
    }
    oRest = text.substr(iPrefix.size());
    return true;
}

bool PLogEntry::isOfPlugin(std::string_view iFunction, unsigned long long& oAddress,
                           std::string_view& oRest) const
{
    std::string_view rest;
    if (!begins(iFunction, rest) || !rest.starts_with(kAddress))
    {
        return false;
    }
    rest.remove_prefix(kAddress.size());
    const char* const end = rest.data() + rest.size();
    const std::from_chars_result result = std::from_chars(rest.data(), end, oAddress, kAddressBase);
    const std::size_t length = static_cast<std::size_t>(result.ptr - rest.data());
    if (result.ec != std::errc() || !rest.substr(length).starts_with("] "))
    {
        return false;
    }
    oRest = rest.substr(length + 2);
    return true;
}
