// SPDX-License-Identifier: MIT
// ILogger: one log file, and the way to further ones.
#ifndef IXLAL_ILOGGER_H
#define IXLAL_ILOGGER_H

#include "IBase.h"
#include "PBaseptr.h"
#include "portinglayer/PLiteral.h"

/// A log file. Interface ID kIxlaLoggerId gives the plugins' shared log; getLogger opens others
/// by name.
///
/// A line is written when its level is at most the logger's level; lines of error are written
/// always. Formats are those of wide printf: "%ls" for wide text, "%s" for narrow text. Any thread
/// may write at any time; lines never mix. Results are 0, or a negative code that says why a line
/// was not written; a log that cannot be written never harms its caller.
class ILogger : public IBase
{
public:
    /// Opens, or finds, the log file iName in the plugins' log directory. While somebody keeps
    /// the holder that was filled, or a copy of it, the same name gives the same logger.
    /// Returns 0 (leaving oLogger as it was when plugin logging is disabled), -501 for lack of
    /// memory, -2002 when the logging service has ended already, or the mutex's code.
    /// [any thread]
    virtual int getLogger(const PLiteral& iName, PBaseptr<ILogger>& oLogger) = 0;

    /// The highest level that is written from now on. [any thread]
    virtual int setLevel(int iLevel) = 0;

    /// Whether lines also go to the standard error stream. [any thread]
    virtual int setPrintOnConsole(bool iPrint) = 0;

    ///@{
    /// Write one line. [any thread]
    virtual int info(int iLevel, const wchar_t* iFormat, ...) = 0;
    virtual int error(int iLevel, const wchar_t* iFormat, ...) = 0;
    virtual int debug(int iLevel, const wchar_t* iFormat, ...) = 0;
    ///@}

    /// Writes iSize bytes from iData in hexadecimal, iWidth bytes a line (0 for 16).
    /// [any thread]
    virtual int dumpHex(int iLevel, const void* iData, int iSize, unsigned int iWidth) = 0;

    /// Shows a message to the person at the machine: there is no window on Linux, so the line is
    /// written to the log and printed to the standard error stream. [any thread]
    virtual int showMsgBox(int iLevel, const wchar_t* iFormat, ...) = 0;
};

#endif
