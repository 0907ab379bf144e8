// SPDX-License-Identifier: MIT
// PLogger: one log file.
#ifndef IXLAL_PLOGGER_H
#define IXLAL_PLOGGER_H

#include "portinglayer/PExport.h"
#include "portinglayer/PLiteral.h"

#include <cstdarg>

class PLogFile;

/// Writes lines to a log file. A line is: date and time with milliseconds, process and thread
/// number, kind (D, I or E), tag and text. Line breaks and other control characters of a text are
/// shown as escapes such as "\n" and "\x1b", so that one call is one line.
///
/// A line is written when its level is at most the logger's level (0 at first); those of kind E
/// always. Nothing is written by a logger that is null, not initialised or disabled. The line
/// operations return 0, also for a line that was filtered out, or the negated errno of a line
/// that could not be written; such lines are counted, and the log says how many are missing as
/// soon as it can be written again. A line that cannot be formatted is written as its format
/// text. In a child of the process that initialised the logger no line is written, and the line
/// operations return -130; a logger that the child makes itself works. No member throws; the line
/// operations may be called from any thread at any time, and lines never mix.
class IXLA_EXPORT PLogger
{
public:
    PLogger() noexcept;

    /// Closes the file. No other thread may be using the logger.
    ~PLogger();

    PLogger(const PLogger&) = delete;
    PLogger& operator=(const PLogger&) = delete;

    /// Opens the log, creating missing directories (0755) and the file (0644), both less the
    /// umask. Called once, before any line.
    /// iNew empties an existing file; otherwise lines are appended. iMaxSize is the size in bytes
    /// and iMaxCount the number of lines at which the file is full, 0 or below for no limit. A
    /// full file becomes iFile.1, the older ones move up to iFile.N, N being iParts, and the oldest
    /// goes; with iParts 0 or below the file starts anew instead. iEnable false creates no file and
    /// writes nothing.
    /// Returns 0 or a negated errno, -16 when called again; a logger whose file could not be
    /// opened tries again at every line.
    int init(const PLiteral& iFile, const PLiteral& iTag, bool iNew, unsigned int iMaxSize,
             int iParts, int iMaxCount, bool iEnable) noexcept;

    /// The highest level that is written from now on. Returns 0. [any thread]
    int setLevel(int iLevel) noexcept;

    /// Whether lines also go to the standard error stream, which drops and counts those that it
    /// does not take at once. Returns 0. [any thread]
    int setPrintOnConsole(bool iPrint) noexcept;

    /// Whether a line of this level would be written; costs a comparison. [any thread]
    bool isLogged(int iLevel) const noexcept
    {
        return iLevel <= __atomic_load_n(&fThreshold, __ATOMIC_RELAXED);
    }

    ///@{
    /// Write one line of kind I, E or D. iFormat is that of wide printf; null counts as empty.
    static int info(PLogger* iLogger, int iLevel, const wchar_t* iFormat, ...) noexcept;
    static int error(PLogger* iLogger, int iLevel, const wchar_t* iFormat, ...) noexcept;
    static int debug(PLogger* iLogger, int iLevel, const wchar_t* iFormat, ...) noexcept;
    ///@}

    /// The same. They keep a literal 0 or a string literal as first argument from being taken for
    /// an argument list, which is a char* on 32-bit x86, and filter where they are called: a line
    /// that isn't written costs a test.
    template <class... TArgs>
    static int info(PLogger* iLogger, int iLevel, const wchar_t* iFormat, TArgs... iArgs) noexcept
    {
        const Form form = &PLogger::info;
        return iLogger && iLogger->isLogged(iLevel) ? form(iLogger, iLevel, iFormat, iArgs...) : 0;
    }

    /// As info, with that kind.
    template <class... TArgs>
    static int error(PLogger* iLogger, int iLevel, const wchar_t* iFormat, TArgs... iArgs) noexcept
    {
        const Form form = &PLogger::error;
        return iLogger ? form(iLogger, iLevel, iFormat, iArgs...) : 0;
    }

    /// As info, with that kind.
    template <class... TArgs>
    static int debug(PLogger* iLogger, int iLevel, const wchar_t* iFormat, TArgs... iArgs) noexcept
    {
        const Form form = &PLogger::debug;
        return iLogger && iLogger->isLogged(iLevel) ? form(iLogger, iLevel, iFormat, iArgs...) : 0;
    }

    ///@{
    /// The same with an argument list. So on 32-bit x86 a plain char* must not be the first
    /// argument of the forms above: pass narrow text as const char*.
    static int info(PLogger* iLogger, int iLevel, const wchar_t* iFormat, va_list iArgs) noexcept;
    static int error(PLogger* iLogger, int iLevel, const wchar_t* iFormat, va_list iArgs) noexcept;
    static int debug(PLogger* iLogger, int iLevel, const wchar_t* iFormat, va_list iArgs) noexcept;
    ///@}

    /// Writes the line with kind I and prints its text to the standard error stream.
    static int showMsgBox(PLogger* iLogger, int iLevel, const wchar_t* iFormat,
                          va_list iArgs) noexcept;

    /// Writes iSize bytes in lines of kind D: offset, iWidth bytes (0 for 16) in hexadecimal, and
    /// the same as characters. The lines of one call stay together. -22 for a null iData with an
    /// iSize above 0.
    static int dumpHex(PLogger* iLogger, int iLevel, const void* iData, unsigned int iSize,
                       unsigned int iWidth) noexcept;

private:
    typedef int (*Form)(PLogger*, int, const wchar_t*, ...);

    int write(char iKind, bool iShowText, const wchar_t* iFormat, va_list iArgs) noexcept;

    PLogFile* fFile; ///< null until init, and while disabled
    int fThreshold;  ///< the level, or the lowest number while nothing is written
    int fLevel;      ///< as last set, also before init
    bool fPrint;
    bool fInitialised;
};

#endif
