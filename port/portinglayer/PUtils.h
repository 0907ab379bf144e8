// SPDX-License-Identifier: MIT
// PUtils: conversions between text and values, and small text tools.
#ifndef IXLAL_PUTILS_H
#define IXLAL_PUTILS_H

#include "PExport.h"
#include "PString.h"

#include <cstdarg>

/// All members return 0 or a negated errno: -22 for a text that is no such value, -34 for a number
/// out of range, -12 for lack of memory. Out-arguments are untouched on failure. None throws.
/// [any thread]
class IXLA_EXPORT PUtils
{
public:
    ///@{
    /// Decimal with an optional sign; the whole text must be used, blanks around it aside.
    static int strToInt32(const PLiteral& iText, int& oValue) noexcept;
    static int strToUint32(const PLiteral& iText, unsigned int& oValue) noexcept;
    static int strToInt64(const PLiteral& iText, long long& oValue) noexcept;
    static int strToUint64(const PLiteral& iText, unsigned long long& oValue) noexcept;
    ///@}

    /// true/false, yes/no, on/off or 1/0, in any case, blanks around it aside.
    static int strToBool(const PLiteral& iText, bool& oValue) noexcept;

    /// Two hexadecimal digits a byte, in either case, blanks around the text aside. oData is made
    /// with new[] and belongs to the caller, also for an empty text; oSize is in bytes.
    static int strToBinary(const PLiteral& iText, unsigned char*& oData,
                           unsigned int& oSize) noexcept;

    ///@{
    /// The texts that the functions above read back: decimal digits, "true" or "false", two
    /// lower-case hexadecimal digits a byte. -22 for a null iData with an iSize above 0.
    static int int32ToStr(int iValue, PString& oText) noexcept;
    static int uint32ToStr(unsigned int iValue, PString& oText) noexcept;
    static int int64ToStr(long long iValue, PString& oText) noexcept;
    static int uint64ToStr(unsigned long long iValue, PString& oText) noexcept;
    static int boolToStr(bool iValue, PString& oText) noexcept;
    static int binaryToStr(const unsigned char* iData, unsigned int iSize, PString& oText) noexcept;
    ///@}

    /// Splits iText at its first iSeparator and trims both sides. -22 without a separator.
    static int getKeyValue(const PLiteral& iText, PString& oKey, PString& oValue,
                           wchar_t iSeparator) noexcept;

    /// Turns every "\" of a path into "/".
    static void fixFileSeparator(PString& ioPath) noexcept;

    ///@{
    /// Formats as wide printf does. -84 when an argument cannot be formatted.
    static int pformatString(PString& oText, const wchar_t* iFormat, ...) noexcept;
    static int pformatStringList(PString& oText, const wchar_t* iFormat, va_list iArgs) noexcept;
    ///@}
};

#endif
