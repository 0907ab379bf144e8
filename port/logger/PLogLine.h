// SPDX-License-Identifier: MIT
// PLogLine: the buffer for the bytes of one write.
#ifndef IXLAL_PLOGLINE_H
#define IXLAL_PLOGLINE_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

/// A buffer that bytes are appended to. Belongs to one thread at a time. Only append and reserve
/// allocate; all other members need room that was provided before.
class PLogLine
{
public:
    /// Allocates iUsualRoom bytes, which serve all lines that fit; throws std::bad_alloc.
    explicit PLogLine(std::size_t iUsualRoom);

    /// Uses the iUsualRoom bytes at iUsual, which must outlive the object.
    PLogLine(char* iUsual, std::size_t iUsualRoom) noexcept;

    PLogLine(const PLogLine&) = delete;
    PLogLine& operator=(const PLogLine&) = delete;

    /// Empties the buffer and provides room for iRoom bytes. The bytes added until the next reset
    /// must fit. Returns 0 or -12; after -12 nothing may be added.
    int reset(std::size_t iRoom) noexcept;

    /// Provides room for iMore bytes after those that were added. Returns 0 or -12; after -12 the
    /// bytes are unchanged.
    int reserve(std::size_t iMore) noexcept
    {
        return iMore <= fRoom - fSize ? 0 : grow(iMore);
    }

    /// Removes the bytes after the first iSize, and a backslash that is not yet added.
    void shorten(std::size_t iSize) noexcept
    {
        fSize = iSize;
        fEndsInBackslash = false;
    }

    /// Replaces the first bytes by iBytes, of which there must be at most as many.
    void replaceFront(std::string_view iBytes) noexcept
    {
        std::memcpy(fBytes, iBytes.data(), iBytes.size());
    }

    void add(char iByte) noexcept
    {
        fBytes[fSize++] = iByte;
    }

    void add(std::string_view iBytes) noexcept
    {
        std::memcpy(fBytes + fSize, iBytes.data(), iBytes.size());
        fSize += iBytes.size();
    }

    /// Adds decimal digits and a sign, 20 characters at most.
    void addNumber(long long iNumber) noexcept;

    /// Adds the iDigits lowest hexadecimal digits, in lower case.
    void addHex(unsigned int iNumber, int iDigits) noexcept;

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

    std::string_view bytes() const noexcept
    {
        return std::string_view(fBytes, fSize);
    }

private:
    int grow(std::size_t iMore) noexcept;
    void addPart(const wchar_t* iText, std::size_t iLen) noexcept;
    void addBackslash(bool iIsDoubled) noexcept;
    void addEscape(wchar_t iChar) noexcept;

    const std::size_t fUsualRoom;
    const std::unique_ptr<char[]> fOwned; ///< null for borrowed bytes
    char* const fUsual;
    std::unique_ptr<char[]> fLarge; ///< for one line that needs more than fUsualRoom
    char* fBytes;
    std::size_t fRoom;
    std::size_t fSize;
    bool fEndsInBackslash; ///< the last character so far is a backslash, which is not yet added
};

#endif
