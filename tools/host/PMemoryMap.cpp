// SPDX-License-Identifier: MIT
#include "host/PMemoryMap.h"

#include <algorithm>
#include <charconv>
#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr int kMapBase = 16;

/// Takes the text up to the next iEnd from the front of a text.
std::string_view _take(std::string_view& ioText, char iEnd)
{
    const std::size_t end = std::min(ioText.find(iEnd), ioText.size());
    const std::string_view taken = ioText.substr(0, end);
    ioText.remove_prefix(std::min(end + 1, ioText.size()));
    return taken;
}

template <class TNumber>
TNumber _number(std::string_view iText, int iBase)
{
    TNumber number = 0;
    std::from_chars(iText.data(), iText.data() + iText.size(), number, iBase);
    return number;
}
} // namespace

PMemoryMap::PMemoryMap() : fFile(open("/proc/self/maps", O_RDONLY | O_CLOEXEC))
{
}

bool PMemoryMap::next(Region& oRegion)
{
    if (!fFile || !nextLine())
    {
        return false;
    }
    parse(oRegion);
    return true;
}

bool PMemoryMap::nextByte(char& oByte)
{
    if (fAt == fFilled)
    {
        const ssize_t count = read(fFile.get(), fBlock, sizeof fBlock);
        fAt = 0;
        fFilled = count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    if (fAt == fFilled)
    {
        return false;
    }
    oByte = fBlock[fAt++];
    return true;
}

// Keeps the first half of a long line, with the addresses, and the last half, with the name.
bool PMemoryMap::nextLine()
{
    constexpr std::size_t half = eLine / 2;
    char byte = 0;
    fLength = 0;
    while (nextByte(byte))
    {
        if (byte == '\n')
        {
            return true;
        }
        if (fLength == eLine)
        {
            std::copy(fLine + half + 1, fLine + eLine, fLine + half);
            --fLength;
        }
        fLine[fLength++] = byte;
    }
    return false;
}

/// A line is: begin-end rights offset device inode name.
void PMemoryMap::parse(Region& oRegion)
{
    std::string_view line(fLine, fLength);
    oRegion.begin = _number<std::uintptr_t>(_take(line, '-'), kMapBase);
    oRegion.end = _number<std::uintptr_t>(_take(line, ' '), kMapBase);
    const std::string_view rights = _take(line, ' ');
    oRegion.isReadable = rights.starts_with('r');
    oRegion.isExecutable = rights.find('x') != std::string_view::npos;
    _take(line, ' ');
    _take(line, ' ');
    const unsigned long long inode = _number<unsigned long long>(_take(line, ' '), 10);
    if (inode == 0 || inode != fInode)
    {
        fBase = oRegion.begin;
        fInode = inode;
    }
    oRegion.base = fBase;
    oRegion.name =
        line.substr(line.rfind(line.find('/') == std::string_view::npos ? ' ' : '/') + 1);
}
