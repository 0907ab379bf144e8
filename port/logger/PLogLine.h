// SPDX-License-Identifier: MIT
// PLogLine: the bytes of one write.
#ifndef IXLAL_PLOGLINE_H
#define IXLAL_PLOGLINE_H

#include "PLogBuffer.h"

#include <cstddef>
#include <string_view>

/// Text is added in UTF-8, with escapes. Only the functions that append provide the room for it.
class PLogLine : public PLogBuffer
{
public:
    explicit PLogLine(std::size_t iUsualRoom);
    PLogLine(char* iUsual, std::size_t iUsualRoom) noexcept;

    int reset(std::size_t iRoom) noexcept;

    /// Removes the bytes after the first iSize, and a backslash that is not yet added.
    void shorten(std::size_t iSize) noexcept
    {
        PLogBuffer::shorten(iSize);
        fEndsInBackslash = false;
    }

    /// The most bytes that addText needs for a character.
    enum
    {
        eMaxBytes = 10
    };

    /// Adds a text in UTF-8. Characters that would break the line, move a terminal's cursor or
    /// change the writing direction become escapes: \n, \r and \0 for line feed, carriage return
    /// and zero, \xHH for other controls below 80 and for bytes that are not valid UTF-8, \uHHHH
    /// and \UHHHHHHHH for the rest. A tab stays. A backslash is doubled where it would read as the
    /// start of an escape, so that different texts always give different lines. Needs up to
    /// eMaxBytes for each character.
    void addText(const wchar_t* iText, std::size_t iLen) noexcept;

    ///@{
    /// Add a text in parts, in the same way as addText, and provide the room for it. endText must
    /// follow the last part. appendLiteral adds the characters before a percent sign, or before the
    /// zero at the end, and moves ioText there. The text of appendPlain is printable ASCII without
    /// backslashes; appendFill adds iCount times the same character of this kind. Return 0 or -12.
    int append(const wchar_t* iText, std::size_t iLen) noexcept;
    int appendLiteral(const wchar_t*& ioText) noexcept;
    int appendPlain(std::string_view iText) noexcept;
    int appendFill(char iFill, std::size_t iCount) noexcept;
    int endText() noexcept;
    ///@}

private:
    void addPart(const wchar_t* iText, std::size_t iLen) noexcept;
    void addBackslash(bool iIsDoubled) noexcept;
    void addEscape(wchar_t iChar) noexcept;

    bool fEndsInBackslash; ///< the last character so far is a backslash, which is not yet added
};

#endif
