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
/// A line is written when its level is at most the logger's level (0 at first); lines of kind E are
/// always written. A logger that is null, not initialised or disabled writes nothing. The line
/// operations return 0, also for a line that was filtered out, or the negated errno of a line
/// that could not be written. Such lines are counted, and the log reports their number when it can
/// be written again. A line that cannot be formatted is written as its format text; so is one
/// whose format has %n. Narrow text (%s) is UTF-8 in every locale.
///
/// In a forked child of the process that initialised the logger no line is written, and the line
/// operations return -130; a logger that the child initialises itself works. No member throws. The
/// line operations may be called from any thread at any time, and lines never mix.
class IXLA_EXPORT PLogger
{
public:
    PLogger() noexcept;

    /// Closes the file. No other thread may use the logger during the call.
    ~PLogger();

    PLogger(const PLogger&) = delete;
    PLogger& operator=(const PLogger&) = delete;

    /// Opens the log and creates missing directories (0755) and the file (0644), both less the
    /// umask. Called once, before any line.
    /// iNew empties an existing file; otherwise lines are appended. The file is full at iMaxSize
    /// bytes or at iMaxCount lines; 0 or less means no limit. A full file is renamed to iFile.1,
    /// older ones are renumbered up to iFile.N with N = iParts, and the oldest is deleted; with
    /// iParts 0 or less the file is emptied instead. With iEnable false no file is created and
    /// nothing is written.
    /// Returns 0 or a negated errno, -16 when called again. A logger whose file could not be
    /// opened tries again at every line.
    int init(const PLiteral& iFile, const PLiteral& iTag, bool iNew, unsigned int iMaxSize,
             int iParts, int iMaxCount, bool iEnable) noexcept;

    /// Sets the highest level that is written. Returns 0. [any thread]
    int setLevel(int iLevel) noexcept;

    /// Sets whether lines are also written to the standard error stream. A line that the stream
    /// does not accept at once is dropped and counted. Returns 0. [any thread]
    int setPrintOnConsole(bool iPrint) noexcept;

    /// Whether a line of this level would be written. Costs one comparison. [any thread]
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

    /// The same as a template. Overload resolution prefers it to the form with a va_list, which is
    /// a char* on 32-bit x86 and would match a literal 0 or a string literal. It filters at the
    /// call: a line that is not written costs one comparison.
    template <class... TArgs>
    static int info(PLogger* iLogger, int iLevel, const wchar_t* iFormat, TArgs... iArgs) noexcept
    {
        const Form form = &PLogger::info;
        return iLogger && iLogger->isLogged(iLevel) ? form(iLogger, iLevel, iFormat, iArgs...) : 0;
    }

    /// As info, for kind E.
    template <class... TArgs>
    static int error(PLogger* iLogger, int iLevel, const wchar_t* iFormat, TArgs... iArgs) noexcept
    {
        const Form form = &PLogger::error;
        return iLogger ? form(iLogger, iLevel, iFormat, iArgs...) : 0;
    }

    /// As info, for kind D.
    template <class... TArgs>
    static int debug(PLogger* iLogger, int iLevel, const wchar_t* iFormat, TArgs... iArgs) noexcept
    {
        const Form form = &PLogger::debug;
        return iLogger && iLogger->isLogged(iLevel) ? form(iLogger, iLevel, iFormat, iArgs...) : 0;
    }

    ///@{
    /// The same with an argument list. On 32-bit x86, where va_list is a char*, a non-const char*
    /// as first argument of the forms above selects these: pass narrow text as const char*.
    static int info(PLogger* iLogger, int iLevel, const wchar_t* iFormat, va_list iArgs) noexcept;
    static int error(PLogger* iLogger, int iLevel, const wchar_t* iFormat, va_list iArgs) noexcept;
    static int debug(PLogger* iLogger, int iLevel, const wchar_t* iFormat, va_list iArgs) noexcept;
    ///@}

    /// Writes the line with kind I and prints its text to the standard error stream.
    static int showMsgBox(PLogger* iLogger, int iLevel, const wchar_t* iFormat,
                          va_list iArgs) noexcept;

    /// Writes iSize bytes in lines of kind D: offset, iWidth bytes (0 for 16) in hexadecimal, and
    /// the same bytes as characters. No other line comes between the lines of one call. Returns -22
    /// for a null iData with an iSize above 0.
    static int dumpHex(PLogger* iLogger, int iLevel, const void* iData, unsigned int iSize,
                       unsigned int iWidth) noexcept;

private:
    typedef int (*Form)(PLogger*, int, const wchar_t*, ...);

    int write(char iKind, bool iShowText, const wchar_t* iFormat, va_list iArgs) noexcept;

    PLogFile* fFile; ///< null before init and while disabled
    int fThreshold;  ///< the level, or the lowest int while nothing is written
    int fLevel;      ///< as last set, also before init
    bool fPrint;
    bool fInitialised;
};

#endif
