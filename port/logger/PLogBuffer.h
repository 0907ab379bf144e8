// SPDX-License-Identifier: MIT
// PLogBuffer: bytes that are appended to each other.
#ifndef IXLAL_PLOGBUFFER_H
#define IXLAL_PLOGBUFFER_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

/// A buffer that bytes are appended to. Belongs to one thread at a time. Only reset and reserve
/// allocate; all other members need room that was provided before.
class PLogBuffer
{
public:
    /// Allocates iUsualRoom bytes, which serve all content that fits; throws std::bad_alloc.
    explicit PLogBuffer(std::size_t iUsualRoom);

    /// Uses the iUsualRoom bytes at iUsual, which must outlive the object.
    PLogBuffer(char* iUsual, std::size_t iUsualRoom) noexcept;

    PLogBuffer(const PLogBuffer&) = delete;
    PLogBuffer& operator=(const PLogBuffer&) = delete;

    /// Empties the buffer and provides room for iRoom bytes. The bytes added until the next reset
    /// must fit. Returns 0 or -12; after -12 nothing may be added.
    int reset(std::size_t iRoom) noexcept;

    /// Provides room for iMore bytes after those that were added. Returns 0 or -12; after -12 the
    /// bytes are unchanged.
    int reserve(std::size_t iMore) noexcept
    {
        return iMore <= fRoom - fSize ? 0 : grow(iMore);
    }

    /// Removes the bytes after the first iSize.
    void shorten(std::size_t iSize) noexcept
    {
        fSize = iSize;
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
        std::memcpy(end(), iBytes.data(), iBytes.size());
        fSize += iBytes.size();
    }

    /// Adds decimal digits and a sign, 20 characters at most.
    void addNumber(long long iNumber) noexcept;

    /// Adds the iDigits lowest hexadecimal digits, in lower case.
    void addHex(unsigned int iNumber, int iDigits) noexcept;

    std::string_view bytes() const noexcept
    {
        return std::string_view(fBytes, fSize);
    }

protected:
    /// Where the next bytes are written.
    char* end() noexcept
    {
        return fBytes + fSize;
    }

    /// Adds the iSize bytes that were written to the end.
    void keep(std::size_t iSize) noexcept
    {
        fSize += iSize;
    }

private:
    int grow(std::size_t iMore) noexcept;

    const std::size_t fUsualRoom;
    const std::unique_ptr<char[]> fOwned; ///< null for borrowed bytes
    char* const fUsual;
    std::unique_ptr<char[]> fLarge; ///< for content that needs more than fUsualRoom
    char* fBytes;
    std::size_t fRoom;
    std::size_t fSize;
};

#endif
