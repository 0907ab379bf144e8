// SPDX-License-Identifier: MIT
// PUtils: conversions between text and values, and text functions.
#ifndef IXLAL_PUTILS_H
#define IXLAL_PUTILS_H

#include "PExport.h"
#include "PString.h"

#include <cstdarg>

/// All members return 0 or a negated errno: -22 for a text that is not such a value, -34 for a
/// number out of range, -12 for lack of memory. Out-arguments are unchanged on failure. None
/// throws. [any thread]
class IXLA_EXPORT PUtils
{
public:
    ///@{
    /// Read a decimal number with an optional sign. The number must be the whole text, except for
    /// blanks around it.
    static int strToInt32(const PLiteral& iText, int& oValue) noexcept;
    static int strToUint32(const PLiteral& iText, unsigned int& oValue) noexcept;
    static int strToInt64(const PLiteral& iText, long long& oValue) noexcept;
    static int strToUint64(const PLiteral& iText, unsigned long long& oValue) noexcept;
    ///@}

    /// Reads true/false, yes/no, on/off or 1/0 in upper or lower case; blanks around it are
    /// allowed.
    static int strToBool(const PLiteral& iText, bool& oValue) noexcept;

    /// Reads bytes of two hexadecimal digits each, in upper or lower case; blanks around the text
    /// are allowed. oData is a new[] array that the caller owns, also for an empty text; oSize is
    /// in bytes.
    static int strToBinary(const PLiteral& iText, unsigned char*& oData,
                           unsigned int& oSize) noexcept;

    ///@{
    /// Write the text that the functions above read: decimal digits, "true" or "false", two
    /// lower-case hexadecimal digits per byte. Return -22 for a null iData with an iSize above 0.
    static int int32ToStr(int iValue, PString& oText) noexcept;
    static int uint32ToStr(unsigned int iValue, PString& oText) noexcept;
    static int int64ToStr(long long iValue, PString& oText) noexcept;
    static int uint64ToStr(unsigned long long iValue, PString& oText) noexcept;
    static int boolToStr(bool iValue, PString& oText) noexcept;
    static int binaryToStr(const unsigned char* iData, unsigned int iSize, PString& oText) noexcept;
    ///@}

    /// Splits iText at its first iSeparator and trims both parts. Returns -22 without a separator.
    static int getKeyValue(const PLiteral& iText, PString& oKey, PString& oValue,
                           wchar_t iSeparator) noexcept;

    /// Replaces every "\" of a path by "/".
    static void fixFileSeparator(PString& ioPath) noexcept;

    ///@{
    /// Format as wide printf does. Return -84 when an argument cannot be formatted.
    static int pformatString(PString& oText, const wchar_t* iFormat, ...) noexcept;
    static int pformatStringList(PString& oText, const wchar_t* iFormat, va_list iArgs) noexcept;
    ///@}
};

#endif
