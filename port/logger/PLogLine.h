// SPDX-License-Identifier: MIT
// PLogLine: the bytes that go out in one write.
#ifndef IXLAL_PLOGLINE_H
#define IXLAL_PLOGLINE_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

/// A buffer that is filled from the front. Belongs to one thread at a time.
class PLogLine
{
public:
    /// Keeps a buffer for the usual lines; throws std::bad_alloc.
    explicit PLogLine(std::size_t iUsualRoom);

    /// Empties the buffer and makes sure of room for iRoom bytes; all that is added until the
    /// next reset must fit. Returns 0 or -12, and then nothing may be added.
    int reset(std::size_t iRoom) noexcept;

    /// Takes back what was added behind the first iSize bytes.
    void shorten(std::size_t iSize) noexcept
    {
        fSize = iSize;
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

    /// Decimal digits, 20 at most.
    void addNumber(long long iNumber) noexcept;

    /// The iDigits lowest hexadecimal digits, in lower case.
    void addHex(unsigned int iNumber, int iDigits) noexcept;

    /// The most bytes that a character of a text takes.
    enum
    {
        eMaxBytes = 10
    };

    /// UTF-8, with escapes for what would break a line, move a terminal's cursor or turn the
    /// direction of writing: \n, \r and \0 for line feed, carriage return and zero, \xHH for other
    /// controls below 80 and for bytes that were no UTF-8, \uHHHH and \UHHHHHHHH for the rest. A
    /// tab stays. A backslash is doubled where it would read as the begin of an escape, so that
    /// different texts never look the same. Takes up to eMaxBytes each character.
    void addText(const wchar_t* iText, std::size_t iLen) noexcept;

    std::string_view bytes() const noexcept
    {
        return std::string_view(fBytes, fSize);
    }

private:
    void addEscape(wchar_t iChar) noexcept;

    const std::size_t fUsualRoom;
    const std::unique_ptr<char[]> fUsual;
    std::unique_ptr<char[]> fLarge; ///< for one unusual line
    char* fBytes;
    std::size_t fSize;
};

#endif
