// SPDX-License-Identifier: MIT
// PLogSpec: one conversion of a format.
#ifndef IXLAL_PLOGSPEC_H
#define IXLAL_PLOGSPEC_H

/// The flags, sizes and kind of a conversion such as "%-8.3ls".
struct PLogSpec
{
    enum ELength
    {
        eInt,
        eChar,
        eShort,
        eLong,
        eLongLong,
        eMax,
        eSize,
        eDifference,
        eLongDouble
    };

    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alternate = false;
    bool zero = false;
    int width = 0;
    int precision = -1; ///< negative without a precision
    ELength length = eInt;
    wchar_t kind = L'\0';

    /// Reads the flags at iAt; returns the position after them.
    const wchar_t* readFlags(const wchar_t* iAt) noexcept;

    /// Reads length and kind at iAt; returns the position after them. At the end of the format the
    /// kind is zero.
    const wchar_t* readKind(const wchar_t* iAt) noexcept
    {
        kind = *iAt;
        return kind == L'd' || kind == L's' || kind == L'u' ? iAt + 1 : readLength(iAt);
    }

    /// Whether a format stores the number of its characters with %n.
    static bool hasCount(const wchar_t* iFormat) noexcept;

private:
    bool readFlag(wchar_t iFlag) noexcept;
    const wchar_t* readLength(const wchar_t* iAt) noexcept;
};

#endif
