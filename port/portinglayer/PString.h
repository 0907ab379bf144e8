// SPDX-License-Identifier: MIT
// PString: an owning wide text.
#ifndef IXLAL_PSTRING_H
#define IXLAL_PSTRING_H

#include "PLiteral.h"

/// Owns its characters. Assignments keep the buffer that is there when it is large enough. Texts
/// may hold zero characters; len() counts them.
///
/// Lengths are in characters, all ones for up to the terminating zero. A source may be part of the
/// text itself. Constructors and operators throw std::bad_alloc when memory is lacking; set and
/// cat return -12 (ENOMEM) instead; either way the text is then as before. One PString may be read
/// by several threads at once, and changed only while no other thread uses it.
class IXLA_EXPORT PString : public PLiteral
{
public:
    PString() noexcept : fCapacity(0), fBorrowed(0)
    {
    }

    ///@{
    /// A copy of the text, of its first iLen characters.
    // cppcheck-suppress noExplicitConstructor ; a view turns into an owner without further ado
    PString(const PLiteral& iText);
    PString(const PString& iText);
    // A text inside another object cannot change hands, so it is copied.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): a copy may lack memory
    PString(PString&& ioText);
    // cppcheck-suppress noExplicitConstructor ; and so does any wide text
    PString(const wchar_t* iText, unsigned int iLen = ~0u);
    virtual ~PString();
    ///@}

    ///@{
    /// Replace the content.
    PString& operator=(const PLiteral& iText);
    PString& operator=(const PString& iText);
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): as above, a copy may lack memory
    PString& operator=(PString&& ioText);
    PString& operator=(const wchar_t* iText);
    ///@}

    ///@{
    /// Replaces the content by the first iLen characters of iText (all of it when it is shorter,
    /// for a PLiteral). Returns 0 or -12.
    int set(const PLiteral& iText, unsigned int iLen = ~0u) noexcept;
    int set(const wchar_t* iText, unsigned int iLen = ~0u) noexcept;
    ///@}

    ///@{
    /// Appends. Returns 0 or -12.
    int cat(const PLiteral& iText) noexcept;
    int cat(const wchar_t* iText, unsigned int iLen = ~0u) noexcept;
    ///@}

    ///@{
    /// Append.
    PString& operator+=(const PLiteral& iText);
    PString& operator+=(const wchar_t* iText);
    ///@}

    /// Makes room for iLen characters, keeping the content. Returns 0 or -12.
    int reserve(unsigned int iLen) noexcept;

    /// Empties the text and keeps the buffer.
    void clear() noexcept;

    /// Removes white space (blank, tab, line feed, vertical tab, form feed, carriage return) at
    /// both ends.
    void trim() noexcept;

protected:
    /// Works in a buffer of the derived class with room for iCapacity characters and the
    /// terminating zero, and leaves it for the heap when that is too small.
    PString(unsigned int iCapacity, wchar_t* iBuffer) noexcept;

    /// The same in a buffer that holds a text of iLen characters and its terminating zero already.
    // NOLINTNEXTLINE(readability-non-const-parameter): the text writes into it from now on
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

    unsigned int fCapacity : 31; ///< characters without the zero; 0 while nothing is owned
    unsigned int fBorrowed : 1;  ///< the buffer belongs to a derived class
};

/// A PString that keeps short texts (up to N characters) inside itself, for local variables.
template <unsigned int N>
class PShortString : public PString
{
public:
    // cppcheck-suppress uninitMemberVar ; the base writes all that it reads
    PShortString() noexcept : PString(N, fShort)
    {
    }

    PShortString(const PShortString&) = delete;
    PShortString& operator=(const PShortString&) = delete;
    /// As those of PString.
    using PString::operator=;

private:
    wchar_t fShort[N + 1];
};

#if defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ == 4
static_assert(sizeof(PLiteral) == 8, "PLiteral is part of the binary interface");
static_assert(sizeof(PString) == 16, "PString is part of the binary interface");
#endif

#endif
