// SPDX-License-Identifier: MIT
// PLogFormat: formats the text of a line.
#ifndef IXLAL_PLOGFORMAT_H
#define IXLAL_PLOGFORMAT_H

#include "PLogField.h"

#include <cstdarg>

class PLogLine;

/// Formats as wide printf does, into the bytes of a line. Narrow texts are UTF-8 in every locale; a
/// byte of %c from 80 on, and a byte of %s that is not part of valid UTF-8, is shown as "\xHH". The
/// C library formats floating-point numbers, and the whole text if the format has positional
/// arguments, unusual flags or unknown conversions. A format with %n, and one that the C library
/// refuses, is shown itself. Belongs to one thread at a time.
class PLogFormat
{
public:
    /// Appends the text to ioLine. A null iFormat counts as empty. Returns 0 or -12.
    static int append(const wchar_t* iFormat, va_list iArgs, PLogLine& ioLine) noexcept;

private:
    /// Results besides 0 and -12.
    enum EResult
    {
        eOther = 1, ///< the C library has to format the text
        eWrong      ///< the text cannot be formatted
    };

    PLogFormat(PLogLine& ioLine, va_list iArgs) noexcept;
    ~PLogFormat();

    PLogFormat(const PLogFormat&) = delete;
    PLogFormat& operator=(const PLogFormat&) = delete;

    int addAll(const wchar_t* iFormat) noexcept;
    int readSpec(const wchar_t*& ioAt) noexcept;
    int readWidth(const wchar_t*& ioAt) noexcept;
    int readPrecision(const wchar_t*& ioAt) noexcept;
    int addConversion(const wchar_t*& ioAt) noexcept;
    int addArgument() noexcept;
    bool isNumber() const noexcept;
    int addInt(int iNumber) noexcept;
    int addSigned() noexcept;
    int addUnsigned(unsigned int iBase) noexcept;
    int addPointer() noexcept;
    int addCharacter() noexcept;
    int addText() noexcept;
    int addFloating() noexcept;
    long long takeSigned() noexcept;
    unsigned long long takeUnsigned() noexcept;

    PLogLine& fLine;
    PLogField fField;
    va_list fArgs;
};

#endif
