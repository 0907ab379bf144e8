// SPDX-License-Identifier: MIT
// PInfoText, ixlaHasRepeatedId: check the text of IXLA_PLUGIN_INFO while it is compiled.
#ifndef IXLAL_SDK_PINFOTEXT_H
#define IXLAL_SDK_PINFOTEXT_H

#include <cstddef>

/// The fields of a plugin information as the text of its note, without the version of the format. A
/// constant function of C++11 has no loops, and compilers limit the depth of a recursion, so every
/// search through the text halves it.
class PInfoText
{
public:
    /// iText is a string literal.
    template <std::size_t kSize>
    constexpr explicit PInfoText(const char (&iText)[kSize]) : fText(iText), fSize(kSize - 1)
    {
    }

    /// The number of lines that begin with a name.
    constexpr std::size_t countOf(const char* iName) const
    {
        return countLines(iName, 0, fSize);
    }

    /// Whether no text given to a macro has a tab or a line break: there are no further lines or
    /// values.
    constexpr bool hasPlainTexts() const
    {
        return countChars('\n', 0, fSize) == knownLines() &&
               countChars('\t', 0, fSize) == knownLines() + countOf("offers");
    }

    /// Whether a value is empty, or has a control character.
    constexpr bool hasBadCharacter() const
    {
        return any(&PInfoText::isBadCharacter, 0, fSize);
    }

    /// Whether the version of the core, if there is one, has the form 1.2.3.
    constexpr bool hasGoodCore() const
    {
        return !any(&PInfoText::isBadCore, 0, fSize);
    }

    /// Whether an interface ID has a blank.
    constexpr bool hasBlankInId() const
    {
        return any(&PInfoText::isIdWithBlank, 0, fSize);
    }

    /// Whether two fields name the same interface.
    static constexpr bool isSameId(const char* iField, const char* iOther)
    {
        return isIdField(iField) && isIdField(iOther) && isSame(idOf(iField), idOf(iOther));
    }

private:
    typedef bool (PInfoText::*Condition)(std::size_t iAt) const;

    constexpr std::size_t knownLines() const
    {
        return countOf("name") + countOf("version") + countOf("description") + countOf("author") +
               countOf("license") + countOf("url") + countOf("core") + countOf("offers") +
               countOf("requires") + countOf("optional");
    }

    constexpr std::size_t countLines(const char* iName, std::size_t iFrom, std::size_t iSize) const
    {
        return iSize == 0   ? 0
               : iSize == 1 ? (isLine(iName, iFrom) ? 1 : 0)
                            : countLines(iName, iFrom, iSize / 2) +
                                  countLines(iName, iFrom + iSize / 2, iSize - iSize / 2);
    }

    constexpr std::size_t countChars(char iChar, std::size_t iFrom, std::size_t iSize) const
    {
        return iSize == 0   ? 0
               : iSize == 1 ? (fText[iFrom] == iChar ? 1 : 0)
                            : countChars(iChar, iFrom, iSize / 2) +
                                  countChars(iChar, iFrom + iSize / 2, iSize - iSize / 2);
    }

    /// Whether a condition holds at any place.
    constexpr bool any(Condition iHolds, std::size_t iFrom, std::size_t iSize) const
    {
        return iSize == 1 ? (this->*iHolds)(iFrom)
                          : iSize > 0 && (any(iHolds, iFrom, iSize / 2) ||
                                          any(iHolds, iFrom + iSize / 2, iSize - iSize / 2));
    }

    constexpr bool isBadCharacter(std::size_t iAt) const
    {
        return fText[iAt] == '\t' ? isEnd(fText[iAt + 1]) : isControl(fText[iAt]);
    }

    constexpr bool isBadCore(std::size_t iAt) const
    {
        return isLine("core", iAt) && !isVersion(fText + iAt + 5, 2);
    }

    constexpr bool isIdWithBlank(std::size_t iAt) const
    {
        return (iAt == 0 || fText[iAt - 1] == '\n') && isIdField(fText + iAt) &&
               hasBlank(idOf(fText + iAt));
    }

    constexpr bool isLine(const char* iName, std::size_t iFrom) const
    {
        return (iFrom == 0 || fText[iFrom - 1] == '\n') && beginsWith(fText + iFrom, iName);
    }

    static constexpr bool isIdField(const char* iField)
    {
        return beginsWith(iField, "offers") || beginsWith(iField, "requires") ||
               beginsWith(iField, "optional");
    }

    static constexpr const char* idOf(const char* iField)
    {
        return iField + (*iField == 'o' && iField[1] == 'f' ? 7 : 9);
    }

    static constexpr bool isEnd(char iChar)
    {
        return iChar == '\t' || iChar == '\n' || iChar == '\0';
    }

    static constexpr bool isControl(char iChar)
    {
        return (static_cast<unsigned char>(iChar) < ' ' && iChar != '\n') || iChar == '\x7f';
    }

    static constexpr bool isDigit(char iChar)
    {
        return iChar >= '0' && iChar <= '9';
    }

    static constexpr bool beginsWith(const char* iText, const char* iName)
    {
        return *iName == '\0' ? *iText == '\t'
                              : *iText == *iName && beginsWith(iText + 1, iName + 1);
    }

    static constexpr bool hasBlank(const char* iId)
    {
        return !isEnd(*iId) && (*iId == ' ' || hasBlank(iId + 1));
    }

    static constexpr bool isSame(const char* iId, const char* iOther)
    {
        return isEnd(*iId) ? isEnd(*iOther) : *iId == *iOther && isSame(iId + 1, iOther + 1);
    }

    /// Whether a text is a number, and as many others with a dot before each.
    static constexpr bool isVersion(const char* iText, int iDots)
    {
        return isDigit(*iText) && isRestOfVersion(iText + 1, iDots);
    }

    static constexpr bool isRestOfVersion(const char* iText, int iDots)
    {
        return isDigit(*iText) ? isRestOfVersion(iText + 1, iDots)
               : *iText == '.' ? iDots > 0 && isVersion(iText + 1, iDots - 1)
                               : *iText == '\n' && iDots == 0;
    }

    const char* fText;
    std::size_t fSize;
};

/// Whether a field names the same interface as one of the others.
constexpr bool ixlaIsIdAmong(const char* /*iField*/)
{
    return false;
}

template <class... TMore>
constexpr bool ixlaIsIdAmong(const char* iField, const char* iOther, TMore... iMore)
{
    return PInfoText::isSameId(iField, iOther) || ixlaIsIdAmong(iField, iMore...);
}

/// Whether an interface is named twice in a list of fields: offered, required or optional.
constexpr bool ixlaHasRepeatedId()
{
    return false;
}

template <class... TMore>
constexpr bool ixlaHasRepeatedId(const char* iField, TMore... iMore)
{
    return ixlaIsIdAmong(iField, iMore...) || ixlaHasRepeatedId(iMore...);
}

#endif
