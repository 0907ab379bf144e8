// SPDX-License-Identifier: MIT
#include "PLogFile.h"

#include "PLogNumbers.h"
#include "PLogText.h"
#include "portinglayer/PStandardError.h"

#include <algorithm>
#include <cerrno>
#include <limits>

namespace
{
// Room for time, numbers and separators of a header, and for the report of lost lines.
constexpr std::size_t kHeaderRoom = 96;
constexpr std::size_t kReportRoom = 96;
constexpr std::string_view kLostLines = "[PLogger] Lost lines: ";
constexpr std::string_view kLostEchoes = "[PLogger] Lost echo lines: ";
constexpr std::string_view kLossError = " err: ";
// A byte of a dump needs two digits, a blank and its character.
constexpr std::size_t kDumpBytesEach = 4;
constexpr int kOffsetDigits = 8;

/// The encoded tag with a blank before and after it.
std::string _encodeTag(const PLiteral& iTag)
{
    PLogLine line(iTag.len() * std::size_t{PLogLine::eMaxBytes} + 2);
    line.add(' ');
    line.addText(iTag.ptr(), iTag.len());
    line.add(' ');
    return std::string(line.bytes());
}

int _echo(std::string_view iBytes) noexcept
{
    return PStandardError::write(iBytes.data(), iBytes.size());
}

char _shown(unsigned char iByte)
{
    return iByte >= 0x20 && iByte < 0x7F ? static_cast<char>(iByte) : '.';
}
} // namespace

PLogFile::PLogFile(const std::string& iPath, const PLiteral& iTag, bool iNew,
                   const PLogLimits& iLimits)
    : fTag(_encodeTag(iTag)),
      fFixedRoom(3 * (kHeaderRoom + fTag.size()) + 2 * kReportRoom),
      fLine(fFixedRoom + std::size_t{PLogText::eShort} * PLogLine::eMaxBytes),
      fSink(iPath, iNew, iLimits),
      fLineBegin(0),
      fLost{0, 0},
      fUnechoed{0, 0}
{
}

PLogFile::~PLogFile()
{
    if (refused() != 0)
    {
        return;
    }
    PLogLock lock(fMutex);
    const unsigned int reports = (fLost.lines > 0) + (fUnechoed.lines > 0);
    if (reports == 0 || fLine.reset(fFixedRoom) != 0)
    {
        return;
    }
    nl_addReport(kLostLines, fLost);
    nl_addReport(kLostEchoes, fUnechoed);
    // The file is about to be closed: there is no place to report a failure.
    static_cast<void>(fSink.put(fLine.bytes(), reports));
}

int PLogFile::open() noexcept
{
    PLogLock lock(fMutex);
    return fSink.open();
}

int PLogFile::write(char iKind, const PLogText& iText, const PLogEcho& iEcho) noexcept
{
    PLogLock lock(fMutex);
    const int result = nl_begin(iKind, iText.len(), PLogLine::eMaxBytes);
    if (result != 0)
    {
        return nl_lose(result);
    }
    const std::size_t textBegin = fLine.bytes().size();
    fLine.addText(iText.ptr(), iText.len());
    fLine.add('\n');
    if (iEcho.text)
    {
        nl_echo(textBegin);
    }
    return nl_send(iEcho);
}

int PLogFile::dump(const unsigned char* iData, unsigned int iSize, unsigned int iWidth,
                   const PLogEcho& iEcho) noexcept
{
    PLogLock lock(fMutex);
    const unsigned int width = std::min(iWidth, iSize);
    int result = 0;
    for (unsigned int offset = 0; offset < iSize;)
    {
        const unsigned int size = std::min(width, iSize - offset);
        const int sent = nl_dumpLine(iData, offset, size, width, iEcho);
        result = result != 0 ? result : sent;
        offset += size;
    }
    return result;
}

int PLogFile::nl_dumpLine(const unsigned char* iData, unsigned int iOffset, unsigned int iSize,
                          unsigned int iWidth, const PLogEcho& iEcho) noexcept
{
    const int result = nl_begin('D', iWidth, kDumpBytesEach);
    if (result != 0)
    {
        return nl_lose(result);
    }
    fLine.addHex(iOffset, kOffsetDigits);
    fLine.add(' ');
    for (unsigned int i = 0; i < iWidth; ++i)
    {
        fLine.add(' ');
        if (i < iSize)
        {
            fLine.addHex(iData[iOffset + i], 2);
        }
        else
        {
            fLine.add("  ");
        }
    }
    fLine.add("  |");
    std::for_each(iData + iOffset, iData + iOffset + iSize,
                  [this](unsigned char iByte) IXLA_REQUIRES(fMutex) { fLine.add(_shown(iByte)); });
    fLine.add("|\n");
    return nl_send(iEcho);
}

/// Provides room for a line of iLen parts of up to iBytesEach bytes, and adds a report of lost
/// lines and the header.
int PLogFile::nl_begin(char iKind, std::size_t iLen, std::size_t iBytesEach) noexcept
{
    if (iLen > (std::numeric_limits<std::size_t>::max() - fFixedRoom) / iBytesEach)
    {
        return -ENOMEM;
    }
    const int result = fLine.reset(fFixedRoom + iLen * iBytesEach);
    if (result != 0)
    {
        return result;
    }
    nl_addReport(kLostLines, fLost);
    fLineBegin = fLine.bytes().size();
    nl_addHeader(iKind);
    return 0;
}

int PLogFile::nl_send(const PLogEcho& iEcho) noexcept
{
    const int result = fSink.put(fLine.bytes(), fLost.lines > 0 ? 2 : 1);
    if (iEcho.line)
    {
        nl_echo(fLineBegin);
    }
    if (result != 0)
    {
        return nl_lose(result);
    }
    fLost.lines = 0;
    return 0;
}

/// Writes the bytes after iBegin to the standard error stream, after a report of the lines that the
/// stream has dropped. The report is composed after the line, where nl_begin has provided room.
void PLogFile::nl_echo(std::size_t iBegin) noexcept
{
    const std::size_t end = fLine.bytes().size();
    nl_addReport(kLostEchoes, fUnechoed);
    int result = _echo(fLine.bytes().substr(end));
    fLine.shorten(end);
    if (result == 0)
    {
        fUnechoed.lines = 0;
        result = _echo(fLine.bytes().substr(iBegin));
    }
    if (result != 0)
    {
        ++fUnechoed.lines;
        fUnechoed.lastError = result;
    }
}

int PLogFile::nl_lose(int iResult) noexcept
{
    ++fLost.lines;
    fLost.lastError = iResult;
    return iResult;
}

void PLogFile::nl_addHeader(char iKind) noexcept
{
    fLine.add(fClock.now());
    fLine.add(PLogNumbers::own());
    fLine.add(iKind);
    fLine.add(fTag);
}

/// Adds nothing when no line was lost.
void PLogFile::nl_addReport(std::string_view iWhat, const Losses& iLosses) noexcept
{
    if (iLosses.lines == 0)
    {
        return;
    }
    nl_addHeader('E');
    fLine.add(iWhat);
    fLine.addNumber(iLosses.lines);
    fLine.add(kLossError);
    fLine.addNumber(iLosses.lastError);
    fLine.add('\n');
}
