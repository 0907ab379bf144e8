// SPDX-License-Identifier: MIT
// PLogSink: the file of a log, with its rotation.
#ifndef IXLAL_PLOGSINK_H
#define IXLAL_PLOGSINK_H

#include "PLogIdentity.h"
#include "PLogPath.h"
#include "PLogSizeLimit.h"
#include "PLogTurn.h"

#include <ctime>
#include <string>
#include <string_view>

/// When a log file is full, and how many full files are kept.
struct PLogLimits
{
    unsigned long long size;  ///< bytes in a file; 0 for no limit
    unsigned long long lines; ///< lines in a file; 0 for no limit
    unsigned int parts;       ///< full files that are kept in addition to the current one
};

/// Appends whole lines to a file. A file that cannot be opened is tried again at every line; a full
/// file that cannot be renamed grows further. Limits apply to the whole content of the file,
/// including lines of other writers. The writers of a file with limits take turns (see PLogTurn); a
/// writer that does not get its turn still appends its line, but does not rotate the file. Belongs
/// to one thread at a time.
class PLogSink
{
public:
    /// Throws std::bad_alloc. iNew empties the file when it is first opened.
    PLogSink(const std::string& iPath, bool iNew, const PLogLimits& iLimits);
    ~PLogSink();

    PLogSink(const PLogSink&) = delete;
    PLogSink& operator=(const PLogSink&) = delete;

    /// Opens the file and creates missing directories. Returns 0 or a negated errno.
    int open() noexcept;

    /// Rotates the file if it is full, then appends iBytes, which are iLines whole lines,
    /// completely or not at all. A line that the file size limit of the process does not permit
    /// raises no signal if the limit exists when the file is opened or emptied, when the sink has
    /// waited for its turn, or at the first line of the present second, iSecond. Returns 0 or a
    /// negated errno.
    int put(std::string_view iBytes, unsigned int iLines, std::time_t iSecond) noexcept;

private:
    void examine() noexcept;
    bool isLimited() const noexcept;
    int makeRoom(std::size_t iSize, unsigned int iLines) noexcept;
    bool isMovedAway(unsigned long long& oSize) const noexcept;
    void catchUp(unsigned long long iSize) noexcept;
    void readOn(unsigned long long iFrom) noexcept;
    bool isFull(std::size_t iSize, unsigned int iLines) const noexcept;
    bool rotate() noexcept;
    int append(std::string_view iBytes, bool iIsGuarded) noexcept;
    void cutOff(std::size_t iSize) noexcept;
    void close() noexcept;

    PLogPath fPath;
    const PLogLimits fLimits;
    bool fNew;
    int fHandle; ///< -1 while closed
    PLogTurn fTurn;
    PLogSizeLimit fSizeLimit;
    PLogIdentity fIdentity; ///< of the open file
    bool fRegular;
    bool fTorn;                ///< the file does not end with a line end
    unsigned long long fSize;  ///< of the file, as last known
    unsigned long long fKept;  ///< bytes at the start of the file that do not count to the limits
    unsigned long long fLines; ///< line ends after them; may be incomplete when the file is full
};

#endif
