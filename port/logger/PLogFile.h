// SPDX-License-Identifier: MIT
// PLogFile: composes lines and sends them to a log.
#ifndef IXLAL_PLOGFILE_H
#define IXLAL_PLOGFILE_H

#include "PLogClock.h"
#include "PLogLine.h"
#include "PLogMutex.h"
#include "PLogSink.h"
#include "portinglayer/PFork.h"
#include "portinglayer/PLiteral.h"

#include <cstddef>
#include <string>
#include <string_view>

class PLogText;

/// Where a line goes beside the file.
struct PLogEcho
{
    bool line; ///< the line itself to the standard error stream
    bool text; ///< its bare text to the standard error stream
};

/// One open log. Each line is one write, made under the log's lock. Lines that cannot be written
/// are counted; the next one that can be is preceded by a line that tells their number. The same
/// holds for the standard error stream, which never makes a line wait; what it dropped in the end
/// is told by the file. All operations return 0 or the negated errno of a line that the file lost.
/// In a child of the process that made it, it must only be destroyed. [any thread]
class PLogFile
{
public:
    /// Throws std::bad_alloc.
    PLogFile(const std::string& iPath, const PLiteral& iTag, bool iNew, const PLogLimits& iLimits);

    /// Tells of lost lines once more, and closes the file. Neither waits nor writes in a child.
    ~PLogFile();

    PLogFile(const PLogFile&) = delete;
    PLogFile& operator=(const PLogFile&) = delete;

    /// 0, or -130 in a child.
    int refused() const noexcept
    {
        return PFork::refused(fGeneration);
    }

    /// Opens the file; may fail without harm.
    int open() noexcept;

    int write(char iKind, const PLogText& iText, const PLogEcho& iEcho) noexcept;

    /// Writes iSize bytes, iWidth a line, without other lines in between.
    int dump(const unsigned char* iData, unsigned int iSize, unsigned int iWidth,
             const PLogEcho& iEcho) noexcept;

private:
    struct Losses
    {
        long long lines;
        int lastError;
    };

    int nl_begin(char iKind, std::size_t iLen, std::size_t iBytesEach) noexcept
        IXLA_REQUIRES(fMutex);
    int nl_send(const PLogEcho& iEcho) noexcept IXLA_REQUIRES(fMutex);
    int nl_dumpLine(const unsigned char* iData, unsigned int iOffset, unsigned int iSize,
                    unsigned int iWidth, const PLogEcho& iEcho) noexcept IXLA_REQUIRES(fMutex);
    void nl_echo(std::size_t iBegin) noexcept IXLA_REQUIRES(fMutex);
    int nl_lose(int iResult) noexcept IXLA_REQUIRES(fMutex);
    void nl_addHeader(char iKind) noexcept IXLA_REQUIRES(fMutex);
    void nl_addReport(std::string_view iWhat, const Losses& iLosses) noexcept IXLA_REQUIRES(fMutex);

    const unsigned short fGeneration = PFork::generation();
    const std::string fTag;       ///< as it stands in the lines, with its blanks
    const std::size_t fFixedRoom; ///< for all that goes out with a text
    PLogMutex fMutex;
    PLogClock fClock IXLA_GUARDED_BY(fMutex);
    PLogLine fLine IXLA_GUARDED_BY(fMutex);
    PLogSink fSink IXLA_GUARDED_BY(fMutex);
    std::size_t fLineBegin IXLA_GUARDED_BY(fMutex); ///< where the line stands behind the report
    Losses fLost IXLA_GUARDED_BY(fMutex);           ///< what the file lacks
    Losses fUnechoed IXLA_GUARDED_BY(fMutex);       ///< what the standard error stream lacks
};

#endif
