// SPDX-License-Identifier: MIT
// PKeyLiteral: checks the literals of declared configuration keys at compile time.
#ifndef IXLAL_SDK_PKEYLITERAL_H
#define IXLAL_SDK_PKEYLITERAL_H

#include <cstddef>
#include <limits>

/// A string literal. Long texts are searched by halves, because compilers limit the depth of
/// recursion and C++11 has no loops here.
class PKeyLiteral
{
public:
    /// A view of iText without its terminating zero.
    template <std::size_t N>
    constexpr explicit PKeyLiteral(const char (&iText)[N]) : fText(iText), fLen(N - 1)
    {
    }

    /// Whether the text fits between two tabs of a note.
    constexpr bool isField() const
    {
        return !has('\t') && !has('\n') && !has('\v') && !has('\f') && !has('\r') && !has('\0');
    }

    /// Whether a configuration file can have a key, or a list of files an ID, of this name.
    constexpr bool isName() const
    {
        return isField() && !has('=') && !has(':') && !has('|') && fLen > 0 && fText[0] != ' ' &&
               fText[0] != '#' && fText[fLen - 1] != ' ';
    }

    /// Whether the text is "start" or "run-time".
    constexpr bool isChange() const
    {
        return isChangedAtRunTime() || equals(0, fLen, PKeyLiteral("start"), 0);
    }

    /// Whether the text is "run-time".
    constexpr bool isChangedAtRunTime() const
    {
        return equals(0, fLen, PKeyLiteral("run-time"), 0);
    }

    /// Whether the text is "true" or "false".
    constexpr bool isTruth() const
    {
        return equals(0, fLen, PKeyLiteral("true"), 0) || equals(0, fLen, PKeyLiteral("false"), 0);
    }

    /// Whether the text has no white space.
    constexpr bool isWords() const
    {
        return isField() && !has(' ');
    }

    /// Whether iWord is one of the words of this text, which are separated by "|".
    constexpr bool hasChoice(PKeyLiteral iWord) const
    {
        return iWord.fLen > 0 && !iWord.has('|') && hasWord(iWord, 0, fLen);
    }

    /// Whether the text is an even number of hexadecimal digits.
    constexpr bool isBytes() const
    {
        return fLen % 2 == 0 && allHexadecimal(0, fLen);
    }

    /// Whether the text is a decimal number of the integer type, without a suffix.
    template <class T>
    constexpr bool isNumber() const
    {
        return isNegative() ? isMagnitude(1, 0) && magnitude(1, 0) <= lowest<T>()
                            : isMagnitude(0, 0) && magnitude(0, 0) <= highest<T>();
    }

    /// The number, if isNumber().
    template <class T>
    constexpr T number() const
    {
        return isNegative() ? static_cast<T>(0ULL - magnitude(1, 0))
                            : static_cast<T>(magnitude(0, 0));
    }

private:
    constexpr bool has(char iChar) const
    {
        return has(iChar, 0, fLen);
    }

    constexpr bool has(char iChar, std::size_t iFrom, std::size_t iTo) const
    {
        // cppcheck-suppress knownConditionTrueFalse; it follows the call for an empty text only
        return iTo - iFrom > 1
                   ? has(iChar, iFrom, middle(iFrom, iTo)) || has(iChar, middle(iFrom, iTo), iTo)
                   : iTo > iFrom && fText[iFrom] == iChar;
    }

    constexpr bool hasWord(PKeyLiteral iWord, std::size_t iFrom, std::size_t iTo) const
    {
        // cppcheck-suppress knownConditionTrueFalse; it follows the call for an empty text only
        return iTo - iFrom > 1 ? hasWord(iWord, iFrom, middle(iFrom, iTo)) ||
                                     hasWord(iWord, middle(iFrom, iTo), iTo)
                               : iTo > iFrom && isWordAt(iWord, iFrom);
    }

    constexpr bool isWordAt(PKeyLiteral iWord, std::size_t iAt) const
    {
        return (iAt == 0 || fText[iAt - 1] == '|') && fLen - iAt >= iWord.fLen &&
               (fLen - iAt == iWord.fLen || fText[iAt + iWord.fLen] == '|') &&
               equals(iAt, iAt + iWord.fLen, iWord, 0);
    }

    /// Whether the part of this text equals the rest of iOther.
    constexpr bool equals(std::size_t iFrom, std::size_t iTo, PKeyLiteral iOther,
                          std::size_t iAt) const
    {
        return iTo - iFrom == iOther.fLen - iAt &&
               (iFrom == iTo ||
                (fText[iFrom] == iOther.fText[iAt] && equals(iFrom + 1, iTo, iOther, iAt + 1)));
    }

    constexpr bool allHexadecimal(std::size_t iFrom, std::size_t iTo) const
    {
        return iTo - iFrom > 1 ? allHexadecimal(iFrom, middle(iFrom, iTo)) &&
                                     allHexadecimal(middle(iFrom, iTo), iTo)
                               : iTo == iFrom || isHexadecimal(fText[iFrom]);
    }

    static constexpr bool isDigit(char iChar)
    {
        return iChar >= '0' && iChar <= '9';
    }

    static constexpr bool isHexadecimal(char iChar)
    {
        return isDigit(iChar) || (iChar >= 'a' && iChar <= 'f') || (iChar >= 'A' && iChar <= 'F');
    }

    static constexpr std::size_t middle(std::size_t iFrom, std::size_t iTo)
    {
        return iFrom + (iTo - iFrom) / 2;
    }

    constexpr bool isNegative() const
    {
        return fLen > 0 && fText[0] == '-';
    }

    static constexpr unsigned int digit(char iChar)
    {
        return static_cast<unsigned int>(iChar - '0');
    }

    /// Whether the rest are digits of a number of 64 bits.
    constexpr bool isMagnitude(std::size_t iFrom, unsigned long long iSoFar) const
    {
        return iFrom < fLen && isDigit(fText[iFrom]) &&
               iSoFar <=
                   (std::numeric_limits<unsigned long long>::max() - digit(fText[iFrom])) / 10 &&
               (iFrom + 1 == fLen || isMagnitude(iFrom + 1, iSoFar * 10 + digit(fText[iFrom])));
    }

    constexpr unsigned long long magnitude(std::size_t iFrom, unsigned long long iSoFar) const
    {
        return iFrom == fLen ? iSoFar : magnitude(iFrom + 1, iSoFar * 10 + digit(fText[iFrom]));
    }

    template <class T>
    static constexpr unsigned long long highest()
    {
        return static_cast<unsigned long long>(std::numeric_limits<T>::max());
    }

    /// The magnitude of the lowest number.
    template <class T>
    static constexpr unsigned long long lowest()
    {
        return std::numeric_limits<T>::is_signed ? highest<T>() + 1 : 0;
    }

    const char* fText;
    std::size_t fLen;
};

#endif
