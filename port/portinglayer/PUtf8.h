// PUtf8: wide text to and from the bytes of files.
#ifndef IXLAL_PUTF8_H
#define IXLAL_PUTF8_H

#include "PExport.h"

#include <cstddef>

/// Converts between wide text and one line of UTF-8, without loss either way.
///
/// Bytes that are not valid UTF-8 are read as the characters U+DC80 to U+DCFF and written back as
/// those bytes. What would not come back from a line as it was is written in forms that valid
/// UTF-8 never has: zero, line feed and carriage return as the two-byte forms C0 80, C0 8A and
/// C0 8D; every other character without a UTF-8 form (surrogates that stand for no byte, values
/// above U+10FFFF), and the stand-ins for bytes where they would run together to something else,
/// as FE and six bytes of six bits each.
///
/// None throws or allocates. [any thread]
class IXLA_EXPORT PUtf8
{
public:
    /// The most bytes that one character takes.
    enum
    {
        eMaxBytes = 7
    };

    /// Writes iLen characters as one line into oBytes, which has room for eMaxBytes each. Returns
    /// the number of bytes written. No byte written is a zero, line feed or carriage return.
    static std::size_t encodeLine(const wchar_t* iText, std::size_t iLen, char* oBytes) noexcept;

    /// Reads the iLen bytes of a line into oText, which has room for iLen characters. Returns the
    /// number of characters.
    static std::size_t decodeLine(const char* iBytes, std::size_t iLen, wchar_t* oText) noexcept;
};

#endif
