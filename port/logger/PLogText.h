// SPDX-License-Identifier: MIT
// PLogText: a text that the C library formats.
#ifndef IXLAL_PLOGTEXT_H
#define IXLAL_PLOGTEXT_H

#include <cstdarg>
#include <cstddef>

/// Formats as wide printf does. Texts of up to eShort characters are stored inside the object,
/// longer ones on the heap.
class PLogText
{
public:
    enum
    {
        eShort = 1024
    };

    PLogText(const wchar_t* iFormat, va_list iArgs) noexcept;
    ~PLogText();

    PLogText(const PLogText&) = delete;
    PLogText& operator=(const PLogText&) = delete;

    /// Whether the C library accepted format and arguments. If not, the text is empty.
    bool isFormatted() const noexcept
    {
        return fText != nullptr;
    }

    /// The len() characters; they may include zeros.
    const wchar_t* ptr() const noexcept
    {
        return fText;
    }

    std::size_t len() const noexcept
    {
        return fLen;
    }

private:
    bool formatShort(const wchar_t* iFormat, va_list iArgs) noexcept;
    bool formatLong(const wchar_t* iFormat, va_list iArgs) noexcept;

    const wchar_t* fText;
    std::size_t fLen;
    wchar_t* fLong; ///< allocated by the C library; null for a short text
    wchar_t fShort[eShort + 1];
};

#endif
