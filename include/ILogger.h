// SPDX-License-Identifier: MIT
// ILogger: one log file, which also opens others.
#ifndef IXLAL_ILOGGER_H
#define IXLAL_ILOGGER_H

#include "IBase.h"
#include "PBaseptr.h"
#include "portinglayer/PLiteral.h"

/// A log file. Interface ID kIxlaLoggerId gives the plugins' shared log; getLogger opens others
/// by name.
///
/// A line is written when its level is at most the logger's level; lines of error are always
/// written. Formats are those of wide printf: "%ls" for wide text, "%s" for narrow text. Any thread
/// may write at any time; lines never mix. Results are 0, or a negative code with the reason why a
/// line was not written. A caller may ignore them.
class ILogger : public IBase
{
public:
    /// Opens or finds the log file iName in the plugins' log directory. The same name gives the
    /// same logger while oLogger or a copy of it still holds it.
    /// Returns 0, -501 for lack of memory, -2002 when the logging service has already ended, or the
    /// mutex's code. When plugin logging is disabled, returns 0 and leaves oLogger unchanged.
    /// [any thread]
    virtual int getLogger(const PLiteral& iName, PBaseptr<ILogger>& oLogger) = 0;

    /// Sets the highest level that is written. [any thread]
    virtual int setLevel(int iLevel) = 0;

    /// Sets whether lines are also written to the standard error stream. [any thread]
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

    /// Writes the line to the log and prints its text to the standard error stream. There is no
    /// message window on Linux. [any thread]
    virtual int showMsgBox(int iLevel, const wchar_t* iFormat, ...) = 0;
};

#endif
