// SPDX-License-Identifier: MIT
// PString: an owning wide text.
#ifndef IXLAL_PSTRING_H
#define IXLAL_PSTRING_H

#include "PLiteral.h"

/// Owns its characters. An assignment reuses the buffer if it is large enough. Texts may contain
/// zero characters; len() counts them.
///
/// Lengths are in characters; ~0u means up to the terminating zero. A source may be part of the
/// text itself. For lack of memory constructors and operators throw std::bad_alloc, and set and cat
/// return -12 (ENOMEM); the text is unchanged then. Several threads may read one PString at once; a
/// thread may change it only while no other thread uses it.
class IXLA_EXPORT PString : public PLiteral
{
public:
    PString() noexcept : fCapacity(0), fBorrowed(0)
    {
    }

    ///@{
    /// Copies the text.
    // cppcheck-suppress noExplicitConstructor ; an intended conversion from view to owner
    PString(const PLiteral& iText);
    PString(const PString& iText);
    ///@}

    /// Takes the buffer of ioText, which is empty afterwards; copies a text whose buffer is inside
    /// another object (see PShortString).
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): a copy may throw std::bad_alloc
    PString(PString&& ioText);

    /// Copies the first iLen characters of the text.
    // cppcheck-suppress noExplicitConstructor ; an intended conversion from wide text
    PString(const wchar_t* iText, unsigned int iLen = ~0u);

    virtual ~PString();

    ///@{
    /// Replaces the content by a copy of iText.
    PString& operator=(const PLiteral& iText);
    PString& operator=(const PString& iText);
    ///@}

    /// Replaces the content by that of ioText, as the move constructor does.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): a copy may throw std::bad_alloc
    PString& operator=(PString&& ioText);

    /// Replaces the content by a copy of iText.
    PString& operator=(const wchar_t* iText);

    ///@{
    /// Replaces the content by the first iLen characters of iText; a PLiteral may be shorter.
    /// Returns 0 or -12.
    int set(const PLiteral& iText, unsigned int iLen = ~0u) noexcept;
    int set(const wchar_t* iText, unsigned int iLen = ~0u) noexcept;
    ///@}

    ///@{
    /// Appends the first iLen characters of iText. Returns 0 or -12.
    int cat(const PLiteral& iText) noexcept;
    int cat(const wchar_t* iText, unsigned int iLen = ~0u) noexcept;
    ///@}

    ///@{
    /// Appends iText.
    PString& operator+=(const PLiteral& iText);
    PString& operator+=(const wchar_t* iText);
    ///@}

    /// Reserves room for iLen characters; the content stays. Returns 0 or -12.
    int reserve(unsigned int iLen) noexcept;

    /// Empties the text and keeps the buffer.
    void clear() noexcept;

    /// Removes white space (blank, tab, line feed, vertical tab, form feed, carriage return) at
    /// both ends.
    void trim() noexcept;

protected:
    /// Uses a buffer of the derived class, with room for iCapacity characters and the terminating
    /// zero, for texts that fit, and the heap for longer ones.
    PString(unsigned int iCapacity, wchar_t* iBuffer) noexcept;

    /// The same with a buffer that already has a text of iLen characters and its terminating zero.
    // NOLINTNEXTLINE(readability-non-const-parameter): later operations write to the buffer
    PString(unsigned int iCapacity, wchar_t* iBuffer, unsigned int iLen) noexcept
        : fCapacity(iCapacity & 0x7FFFFFFFu), fBorrowed(1)
    {
        fPtr = iBuffer;
        fLen = iLen;
    }

private:
    wchar_t* buffer() noexcept
    {
        return const_cast<wchar_t*>(fPtr);
    }

    bool assign(const wchar_t* iText, unsigned int iLen) noexcept;
    bool append(const wchar_t* iText, unsigned int iLen) noexcept;
    void take(PString& ioText);
    void useBuffer(wchar_t* iBuffer, unsigned int iCapacity) noexcept;
    void freeBuffer() noexcept;
    void finish(unsigned int iLen) noexcept;

    unsigned int fCapacity : 31; ///< in characters, without the zero; 0 without a buffer
    unsigned int fBorrowed : 1;  ///< the buffer belongs to a derived class
};

/// A PString that stores texts of up to N characters inside itself, for local variables.
template <unsigned int N>
class PShortString : public PString
{
public:
    // cppcheck-suppress uninitMemberVar ; the base class reads only what it has written
    PShortString() noexcept : PString(N, fShort)
    {
    }

    PShortString(const PShortString&) = delete;
    PShortString& operator=(const PShortString&) = delete;
    /// The assignments of PString.
    using PString::operator=;

private:
    wchar_t fShort[N + 1];
};

#if defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ == 4
static_assert(sizeof(PLiteral) == 8, "PLiteral is part of the binary interface");
static_assert(sizeof(PString) == 16, "PString is part of the binary interface");
#endif

#endif
