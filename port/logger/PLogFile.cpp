// SPDX-License-Identifier: MIT
#include "PLogFile.h"

#include "PLogFormat.h"
#include "PLogNumbers.h"
#include "portinglayer/PStandardError.h"

#include <algorithm>
#include <cerrno>
#include <limits>

namespace
{
constexpr std::size_t kUsualRoom = 5120; // bytes of a line that are stored on the stack
// Room for time, numbers and separators of a header, and for the report of lost lines.
constexpr std::size_t kHeaderRoom = 96;
constexpr std::size_t kReportRoom = 96;
constexpr std::string_view kTimeToCome = "0000-00-00 00:00:00.000";
constexpr std::string_view kLostLines = "[PLogger] Lost lines: ";
constexpr std::string_view kLostEchoes = "[PLogger] Lost echo lines: ";
constexpr std::string_view kLossError = " err: ";
// A byte of a dump needs two digits, a blank and its character.
constexpr std::size_t kDumpBytesEach = 4;
constexpr std::size_t kDumpRoom = 16; // offset, separators and line end
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
      fHeaderRoom(kHeaderRoom + fTag.size()),
      fReportRoom(2 * (fHeaderRoom + kReportRoom)),
      fReport(fReportRoom + kUsualRoom),
      fSink(iPath, iNew, iLimits),
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
    if (reports == 0 || fReport.reset(fReportRoom) != 0)
    {
        return;
    }
    nl_addReport(kLostLines, fLost);
    nl_addReport(kLostEchoes, fUnechoed);
    // The file is about to be closed: there is no place to report a failure.
    static_cast<void>(fSink.put(fReport.bytes(), reports, fClock.second()));
}

int PLogFile::open() noexcept
{
    PLogLock lock(fMutex);
    return fSink.open();
}

int PLogFile::write(char iKind, const wchar_t* iFormat, va_list iArgs,
                    const PLogEcho& iEcho) noexcept
{
    char usual[kUsualRoom];
    PLogLine line(usual, sizeof usual);
    int result = beginLine(iKind, line);
    const std::size_t textBegin = line.bytes().size();
    result = result != 0 ? result : compose(iFormat, iArgs, line);
    PLogLock lock(fMutex);
    if (result != 0)
    {
        return nl_lose(result);
    }
    if (iEcho.text)
    {
        nl_echo(line.bytes().substr(textBegin));
    }
    return nl_send(line, iEcho);
}

/// Adds the text and the line end.
int PLogFile::compose(const wchar_t* iFormat, va_list iArgs, PLogLine& ioLine) noexcept
{
    int result = PLogFormat::append(iFormat, iArgs, ioLine);
    result = result != 0 ? result : ioLine.reserve(1);
    if (result == 0)
    {
        ioLine.add('\n');
    }
    return result;
}

int PLogFile::dump(const unsigned char* iData, unsigned int iSize, unsigned int iWidth,
                   const PLogEcho& iEcho) noexcept
{
    char usual[kUsualRoom];
    PLogLine line(usual, sizeof usual);
    const unsigned int width = std::min(iWidth, iSize);
    int result = 0;
    PLogLock lock(fMutex);
    for (unsigned int offset = 0; offset < iSize;)
    {
        const unsigned int size = std::min(width, iSize - offset);
        const int composed = composeDump(iData, offset, size, width, line);
        const int sent = composed != 0 ? nl_lose(composed) : nl_send(line, iEcho);
        result = result != 0 ? result : sent;
        offset += size;
    }
    return result;
}

int PLogFile::composeDump(const unsigned char* iData, unsigned int iOffset, unsigned int iSize,
                          unsigned int iWidth, PLogLine& oLine) const noexcept
{
    const std::size_t width = iWidth;
    if (width > (std::numeric_limits<std::size_t>::max() - kDumpRoom) / kDumpBytesEach)
    {
        return -ENOMEM;
    }
    int result = oLine.reset(0);
    result = result != 0 ? result : beginLine('D', oLine);
    result = result != 0 ? result : oLine.reserve(kDumpRoom + width * kDumpBytesEach);
    if (result != 0)
    {
        return result;
    }
    oLine.addHex(iOffset, kOffsetDigits);
    oLine.add(' ');
    for (unsigned int i = 0; i < iWidth; ++i)
    {
        oLine.add(' ');
        if (i < iSize)
        {
            oLine.addHex(iData[iOffset + i], 2);
        }
        else
        {
            oLine.add("  ");
        }
    }
    oLine.add("  |");
    std::for_each(iData + iOffset, iData + iOffset + iSize,
                  [&oLine](unsigned char iByte) { oLine.add(_shown(iByte)); });
    oLine.add("|\n");
    return 0;
}

/// Adds the header of a line whose time is not known yet.
int PLogFile::beginLine(char iKind, PLogLine& ioLine) const noexcept
{
    const int result = ioLine.reserve(fHeaderRoom);
    if (result == 0)
    {
        addHeader(kTimeToCome, iKind, ioLine);
    }
    return result;
}

void PLogFile::addHeader(std::string_view iTime, char iKind, PLogLine& ioLine) const noexcept
{
    ioLine.add(iTime);
    ioLine.add(PLogNumbers::own());
    ioLine.add(iKind);
    ioLine.add(fTag);
}

int PLogFile::nl_send(PLogLine& ioLine, const PLogEcho& iEcho) noexcept
{
    const int result = nl_put(ioLine);
    if (iEcho.line)
    {
        nl_echo(ioLine.bytes());
    }
    if (result != 0)
    {
        return nl_lose(result);
    }
    fLost.lines = 0;
    return 0;
}

/// Completes the line with its time and appends it to the file, after a report of lost lines.
int PLogFile::nl_put(PLogLine& ioLine) noexcept
{
    if (fLost.lines == 0)
    {
        ioLine.replaceFront(fClock.now());
        return fSink.put(ioLine.bytes(), 1, fClock.second());
    }
    const int result = fReport.reset(fReportRoom + ioLine.bytes().size());
    if (result == 0)
    {
        nl_addReport(kLostLines, fLost);
    }
    ioLine.replaceFront(fClock.now());
    if (result != 0)
    {
        return result;
    }
    fReport.add(ioLine.bytes());
    const int put = fSink.put(fReport.bytes(), 2, fClock.second());
    // Frees the memory of a large line; cannot fail.
    static_cast<void>(fReport.reset(0));
    return put;
}

/// Writes bytes to the standard error stream, after a report of the lines that the stream has
/// dropped.
void PLogFile::nl_echo(std::string_view iBytes) noexcept
{
    int result = 0;
    if (fUnechoed.lines > 0)
    {
        // Cannot fail, because the usual room suffices.
        static_cast<void>(fReport.reset(fReportRoom));
        nl_addReport(kLostEchoes, fUnechoed);
        result = _echo(fReport.bytes());
    }
    if (result == 0)
    {
        fUnechoed.lines = 0;
        result = _echo(iBytes);
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

/// Adds nothing when no line was lost. fReport needs the room.
void PLogFile::nl_addReport(std::string_view iWhat, const Losses& iLosses) noexcept
{
    if (iLosses.lines == 0)
    {
        return;
    }
    addHeader(fClock.now(), 'E', fReport);
    fReport.add(iWhat);
    fReport.addNumber(iLosses.lines);
    fReport.add(kLossError);
    fReport.addNumber(iLosses.lastError);
    fReport.add('\n');
}
