// SPDX-License-Identifier: MIT
// PLogSink: the file behind a log, with its rotation.
#ifndef IXLAL_PLOGSINK_H
#define IXLAL_PLOGSINK_H

#include "PLogTurn.h"
#include "portinglayer/PLiteral.h"

#include <string>
#include <string_view>

/// When a log file is full, and what becomes of it then. 0 stands for no limit.
struct PLogLimits
{
    unsigned long long size;  ///< bytes in a file
    unsigned long long lines; ///< lines in a file
    unsigned int parts;       ///< full files that stay beside the current one
};

/// Appends whole lines to a file. A file that cannot be opened is tried again at every line, one
/// that cannot be moved aside grows on. Where a file has limits, what counts is what it holds,
/// whoever wrote it, and its writers take turns; one that does not get its turn appends its line
/// all the same, and leaves the file where it is. Belongs to one thread at a time.
class PLogSink
{
public:
    /// The absolute path that iFile stands for, as the file system wants it: later changes of
    /// the working directory don't move the log. Returns 0, -22 for a text that no path can be.
    /// Throws std::bad_alloc.
    static int resolve(const PLiteral& iFile, std::string& oPath);

    /// Throws std::bad_alloc. iNew empties the file when it is first opened.
    PLogSink(const std::string& iPath, bool iNew, const PLogLimits& iLimits);
    ~PLogSink();

    PLogSink(const PLogSink&) = delete;
    PLogSink& operator=(const PLogSink&) = delete;

    /// Opens the file, making missing directories. Returns 0 or a negated errno.
    int open() noexcept;

    /// Appends iBytes, which are iLines whole lines, all or nothing, after moving a full file
    /// aside. Returns 0 or a negated errno.
    int put(std::string_view iBytes, unsigned int iLines) noexcept;

private:
    int openHandle() const noexcept;
    int makeDirectories() noexcept;
    void examine() noexcept;
    bool isLimited() const noexcept;
    int makeRoom(std::size_t iSize, unsigned int iLines) noexcept;
    bool isMovedAway(unsigned long long& oSize) const noexcept;
    bool isOpened(unsigned long long iDevice, unsigned long long iNode) const noexcept;
    void catchUp(unsigned long long iSize) noexcept;
    int openReader() const noexcept;
    void readOn(unsigned long long iFrom) noexcept;
    void countLines(int iReader, unsigned long long iFrom) noexcept;
    bool isFull(std::size_t iSize, unsigned int iLines) const noexcept;
    bool rotate() noexcept;
    bool moveAside() noexcept;
    void partName(unsigned int iPart, std::string& oName) const noexcept;
    int append(std::string_view iBytes) noexcept;
    void cutOff(std::size_t iSize) noexcept;
    void close() noexcept;

    const std::string fPath;
    const PLogLimits fLimits;
    std::string fFrom; ///< these two have room for every name that is put together in them
    std::string fTo;
    bool fNew;
    int fHandle; ///< -1 while closed
    PLogTurn fTurn;
    unsigned long long fDevice; ///< these two tell the open file from others
    unsigned long long fNode;
    bool fRegular;
    bool fTorn;                ///< the file doesn't end with a line end
    unsigned long long fSize;  ///< of the file, as last known
    unsigned long long fKept;  ///< how much of it stands from before and doesn't count any more
    unsigned long long fLines; ///< line ends in the rest; when the file is full, perhaps not all
};

#endif
