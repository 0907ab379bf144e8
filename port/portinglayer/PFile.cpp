// SPDX-License-Identifier: MIT
#include "PFile.h"

#include "PDescriptor.h"
#include "PErrno.h"
#include "PPathBytes.h"
#include "PRetry.h"
#include "PUtf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr std::size_t kFirstCapacity = 16384;
constexpr unsigned int kDefaultAccess = 0600;
constexpr char kByteOrderMark[] = {'\xEF', '\xBB', '\xBF'};

int _flags(unsigned int iMode) noexcept
{
    const bool reads = (iMode & PFile::eRead) != 0;
    const bool writes = (iMode & PFile::eWrite) != 0;
    const bool empties = (iMode & PFile::eNewText) != 0;
    int flags = reads && writes ? O_RDWR : writes ? O_WRONLY : O_RDONLY;
    flags |= empties ? O_TRUNC : 0;
    flags |= writes && !empties ? O_APPEND : 0;
    flags |= (iMode & PFile::eCreate) != 0 ? O_CREAT : 0;
    return flags;
}

int _state(int iHandle, struct stat& oState) noexcept
{
    return PRetry::call([&] { return ::fstat(iHandle, &oState); });
}

bool _startsWithMark(const char* iBegin, const char* iEnd) noexcept
{
    return static_cast<std::size_t>(iEnd - iBegin) >= sizeof kByteOrderMark &&
           std::memcmp(iBegin, kByteOrderMark, sizeof kByteOrderMark) == 0;
}

/// The most bytes that a line of iLen characters needs.
unsigned long long _lineBytes(unsigned int iLen) noexcept
{
    return iLen * static_cast<unsigned long long>(PUtf8::eMaxBytes) + 1;
}

/// Decodes the bytes of one line directly in the buffer of oLine. There are at most as many
/// characters as bytes.
int _decode(const char* iBytes, std::size_t iLen, bool iFileStart, PString& oLine) noexcept
{
    if (iLen >= UINT32_MAX || oLine.reserve(static_cast<unsigned int>(iLen)) != 0)
    {
        return PErrno::code(ENOMEM);
    }
    if (iLen == 0)
    {
        oLine.clear();
        return 0;
    }
    // The cast is safe: a PString owns its characters.
    wchar_t* const text = const_cast<wchar_t*>(oLine.ptr());
    const std::size_t len = PUtf8::decodeLine(iBytes, iLen, text, iFileStart);
    return oLine.set(text, static_cast<unsigned int>(len));
}
} // namespace

PFile::PFile() noexcept
    : fHandle(-1),
      fMode(0),
      fWriteResult(0),
      fBuffer(nullptr),
      fBegin(0),
      fEnd(0),
      fCapacity(0),
      fAtStart(false),
      fWriting(false)
{
}

PFile::~PFile()
{
    if (fHandle >= 0)
    {
        // A writer that needs the result has called pclose.
        pclose();
    }
    delete[] fBuffer;
}

int PFile::popen(const PLiteral& iPath, unsigned int iMode, unsigned int iAccess) noexcept
{
    if ((iMode & (eRead | eWrite)) == 0)
    {
        return PErrno::code(EINVAL);
    }
    if (fHandle >= 0)
    {
        return PErrno::code(EBUSY);
    }
    const PPathBytes path(iPath);
    if (path.result() != 0)
    {
        return path.result();
    }
    PDescriptor file(path.get(), _flags(iMode), iAccess != 0 ? iAccess : kDefaultAccess);
    if (file.result() != 0)
    {
        return file.result();
    }
    struct stat status = {};
    if (_state(file.get(), status) != 0)
    {
        return PErrno::last();
    }
    if (S_ISDIR(status.st_mode))
    {
        return PErrno::code(EISDIR);
    }
    fHandle = file.release();
    fMode = iMode;
    fWriteResult = 0;
    fBegin = fEnd = 0;
    fAtStart = true;
    fWriting = false;
    return 0;
}

int PFile::pclose() noexcept
{
    if (fHandle < 0)
    {
        return PErrno::code(EBADF);
    }
    const int flushed = flushBuffer();
    const int closed = PDescriptor::close(fHandle);
    fHandle = -1;
    fBegin = fEnd = 0;
    return flushed != 0 ? flushed : closed;
}

int PFile::preadLine(PString& oLine) noexcept
{
    if (fHandle < 0 || (fMode & eRead) == 0)
    {
        return PErrno::code(EBADF);
    }
    int res = fWriting ? endWriting() : 0;
    const char* end = nullptr;
    std::size_t scanned = 0;
    while (res == 0)
    {
        const std::size_t size = fEnd - fBegin;
        if (size > scanned)
        {
            const char* const begin = fBuffer + fBegin;
            end = static_cast<const char*>(std::memchr(begin + scanned, '\n', size - scanned));
            scanned = size;
        }
        if (end || (res = fillBuffer()) == PErrno::code(ENODATA))
        {
            return takeLine(end, oLine);
        }
    }
    return res;
}

int PFile::pwriteLine(const PLiteral& iLine) noexcept
{
    if (fHandle < 0 || (fMode & eWrite) == 0)
    {
        return PErrno::code(EBADF);
    }
    const int res = startWriting(iLine);
    if (res != 0)
    {
        return res;
    }
    fEnd += PUtf8::encodeLine(iLine.ptr(), iLine.len(), fBuffer + fEnd, fAtStart);
    fBuffer[fEnd++] = '\n';
    fAtStart = false;
    return 0;
}

int PFile::reserve(unsigned int iLen) noexcept
{
    const unsigned long long size = _lineBytes(iLen);
    return size <= fCapacity ? 0
                             : reserveBuffer(std::max<unsigned long long>(size, kFirstCapacity));
}

void PFile::getFileName(PString& ioPath) noexcept
{
    unsigned int slash = 0;
    if (ioPath.chr(L'/', slash, true))
    {
        // Cannot fail: a part of a text fits in the buffer of the text.
        ioPath.set(ioPath.ptr() + slash + 1, ioPath.len() - slash - 1);
    }
}

bool PFile::exists(const PLiteral& iPath) noexcept
{
    const PPathBytes path(iPath);
    return path.result() == 0 && PRetry::call([&] { return ::access(path.get(), F_OK); }) == 0;
}

int PFile::pdelete(const PLiteral& iPath) noexcept
{
    const PPathBytes path(iPath);
    if (path.result() != 0)
    {
        return path.result();
    }
    return PRetry::call([&] { return ::unlink(path.get()); }) == 0 ? 0 : PErrno::last();
}

// Reading continues after the written bytes.
int PFile::endWriting() noexcept
{
    const int res = flushBuffer();
    fWriting = res != 0;
    return res;
}

// Makes the buffer one for writing, with room for iLine. Bytes read ahead are discarded.
int PFile::startWriting(const PLiteral& iLine) noexcept
{
    if (!fWriting)
    {
        struct stat status = {};
        if (_state(fHandle, status) != 0 && fWriteResult == 0)
        {
            fWriteResult = PErrno::last();
        }
        fAtStart = status.st_size == 0;
        fBegin = fEnd = 0;
        fWriting = true;
    }
    if (fWriteResult != 0)
    {
        return fWriteResult;
    }
    const unsigned long long size = _lineBytes(iLine.len());
    if (size <= fCapacity - fEnd)
    {
        return 0;
    }
    const int res = flushBuffer();
    return res != 0 || size <= fCapacity
               ? res
               : reserveBuffer(std::max<unsigned long long>(size, kFirstCapacity));
}

// iEnd is the line feed after the next line, null for a last line without an end.
int PFile::takeLine(const char* iEnd, PString& oLine) noexcept
{
    const char* begin = fBuffer + fBegin;
    const char* end = iEnd ? iEnd : fBuffer + fEnd;
    if (fAtStart && _startsWithMark(begin, end))
    {
        begin += sizeof kByteOrderMark;
    }
    if (!iEnd && begin == end)
    {
        return PErrno::code(ENODATA);
    }
    if (iEnd && end != begin && end[-1] == '\r')
    {
        --end;
    }
    const int res = _decode(begin, static_cast<std::size_t>(end - begin), fAtStart, oLine);
    if (res == 0)
    {
        fBegin = iEnd ? static_cast<std::size_t>(iEnd + 1 - fBuffer) : fEnd;
        fAtStart = false;
    }
    return res;
}

// Reads more bytes after those in the buffer. -61 at the end of the file.
int PFile::fillBuffer() noexcept
{
    if (fBegin == fEnd)
    {
        fBegin = fEnd = 0;
    }
    if (fEnd == fCapacity)
    {
        const int res = reserveBuffer(fBegin > 0 ? fCapacity : fEnd * 2ull + kFirstCapacity);
        if (res != 0)
        {
            return res;
        }
    }
    const ssize_t count = PDescriptor::readSome(fHandle, fBuffer + fEnd, fCapacity - fEnd);
    if (count <= 0)
    {
        return count < 0 ? static_cast<int>(count) : PErrno::code(ENODATA);
    }
    fEnd += static_cast<std::size_t>(count);
    return 0;
}

// Writes the content of the buffer. After the first error nothing more is written.
int PFile::flushBuffer() noexcept
{
    if (fWriting && fWriteResult == 0)
    {
        fWriteResult = PDescriptor::writeAll(fHandle, fBuffer, fEnd);
    }
    if (fWriting)
    {
        fBegin = fEnd = 0;
    }
    return fWriteResult;
}

// Moves the content to the start of a buffer of at least iSize bytes.
int PFile::reserveBuffer(unsigned long long iSize) noexcept
{
    const std::size_t size = fEnd - fBegin;
    if (iSize <= fCapacity)
    {
        std::memmove(fBuffer, fBuffer + fBegin, size);
    }
    else
    {
        char* const fresh = iSize <= PTRDIFF_MAX
                                ? new (std::nothrow) char[static_cast<std::size_t>(iSize)]
                                : nullptr;
        if (!fresh)
        {
            return PErrno::code(ENOMEM);
        }
        std::copy(fBuffer + fBegin, fBuffer + fEnd, fresh);
        delete[] fBuffer;
        fBuffer = fresh;
        fCapacity = static_cast<std::size_t>(iSize);
    }
    fBegin = 0;
    fEnd = size;
    return 0;
}
