// SPDX-License-Identifier: MIT
// PLogFile: formats lines and writes them to a log.
#ifndef IXLAL_PLOGFILE_H
#define IXLAL_PLOGFILE_H

#include "PLogClock.h"
#include "PLogLine.h"
#include "PLogMutex.h"
#include "PLogSink.h"
#include "portinglayer/PFork.h"
#include "portinglayer/PLiteral.h"

#include <cstdarg>
#include <cstddef>
#include <string>
#include <string_view>

/// What is also written to the standard error stream.
struct PLogEcho
{
    bool line; ///< the complete line
    bool text; ///< the text of the line only
};

/// One open log. A line is composed without the log's lock; its time is taken and its one write is
/// made under the lock, so that the times ascend. Lines that cannot be written are counted; the
/// next line that can be written is preceded by a line with their number. The same applies to the
/// standard error stream, which a line never waits for; the lines that it lacks at the end are
/// reported in the file. All operations return 0 or the negated errno of a line that the file lost.
/// A forked child may only destroy the object. [any thread]
class PLogFile
{
public:
    /// Throws std::bad_alloc.
    PLogFile(const std::string& iPath, const PLiteral& iTag, bool iNew, const PLogLimits& iLimits);

    /// Reports lost lines a last time and closes the file. In a forked child it neither waits nor
    /// writes.
    ~PLogFile();

    PLogFile(const PLogFile&) = delete;
    PLogFile& operator=(const PLogFile&) = delete;

    /// 0, or -130 in a forked child.
    int refused() const noexcept
    {
        return PFork::refused(fGeneration);
    }

    /// Opens the file. After a failure every line tries again.
    int open() noexcept;

    /// Writes a line of kind iKind. See PLogFormat for the text.
    int write(char iKind, const wchar_t* iFormat, va_list iArgs, const PLogEcho& iEcho) noexcept;

    /// Writes iSize bytes, iWidth in each line, without other lines in between.
    int dump(const unsigned char* iData, unsigned int iSize, unsigned int iWidth,
             const PLogEcho& iEcho) noexcept;

private:
    struct Losses
    {
        long long lines;
        int lastError;
    };

    static int compose(const wchar_t* iFormat, va_list iArgs, PLogLine& ioLine) noexcept;
    int composeDump(const unsigned char* iData, unsigned int iOffset, unsigned int iSize,
                    unsigned int iWidth, PLogLine& oLine) const noexcept;
    int beginLine(char iKind, PLogLine& ioLine) const noexcept;
    void addHeader(std::string_view iTime, char iKind, PLogLine& ioLine) const noexcept;
    int nl_send(PLogLine& ioLine, const PLogEcho& iEcho) noexcept IXLA_REQUIRES(fMutex);
    int nl_put(PLogLine& ioLine) noexcept IXLA_REQUIRES(fMutex);
    void nl_echo(std::string_view iBytes) noexcept IXLA_REQUIRES(fMutex);
    int nl_lose(int iResult) noexcept IXLA_REQUIRES(fMutex);
    void nl_addReport(std::string_view iWhat, const Losses& iLosses) noexcept IXLA_REQUIRES(fMutex);

    const unsigned short fGeneration = PFork::generation();
    const std::string fTag;        ///< with the blanks around it in a line
    const std::size_t fHeaderRoom; ///< bytes of a line before its text
    const std::size_t fReportRoom; ///< bytes of two reports
    PLogMutex fMutex;
    PLogClock fClock IXLA_GUARDED_BY(fMutex);
    PLogLine fReport IXLA_GUARDED_BY(fMutex); ///< reports, and the line after them
    PLogSink fSink IXLA_GUARDED_BY(fMutex);
    Losses fLost IXLA_GUARDED_BY(fMutex);     ///< lines missing in the file
    Losses fUnechoed IXLA_GUARDED_BY(fMutex); ///< lines missing on the standard error stream
};

#endif
