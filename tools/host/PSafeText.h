// SPDX-License-Identifier: MIT
// PSafeText: composes a line in a signal handler.
#ifndef IXLAL_TOOLS_PSAFETEXT_H
#define IXLAL_TOOLS_PSAFETEXT_H

#include <cstddef>
#include <string_view>

/// A text of limited length; what does not fit is dropped. All members are async-signal-safe.
class PSafeText
{
public:
    /// Control characters and bytes beyond ASCII are shown as "?".
    PSafeText& add(std::string_view iText);
    PSafeText& addWide(const wchar_t* iText, std::size_t iLength);

    PSafeText& addNumber(long long iNumber);
    PSafeText& addHex(unsigned long long iNumber);

    /// Adds a number with leading zeros.
    PSafeText& addDigits(unsigned int iNumber, int iDigits);

    std::string_view text() const;

    /// Writes the text and a line end in one call.
    void writeLine(int iDescriptor) const;

private:
    enum : std::size_t
    {
        eCapacity = 511
    };

    void put(char iChar);

    std::size_t fLength = 0;
    char fText[eCapacity] = {};
};

#endif
