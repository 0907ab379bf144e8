// SPDX-License-Identifier: MIT
// PUtf8: converts between wide text and the bytes of files.
#ifndef IXLAL_PUTF8_H
#define IXLAL_PUTF8_H

#include "PExport.h"

#include <cstddef>

/// Converts between wide text and one line of UTF-8, without loss in both directions.
///
/// Bytes that are not valid UTF-8 are read as the characters U+DC80 to U+DCFF (stand-ins) and
/// written back as those bytes. Characters that plain UTF-8 could not restore are written in forms
/// that valid UTF-8 does not have:
/// - zero, line feed and carriage return as the two-byte forms C0 80, C0 8A and C0 8D;
/// - every other character without a UTF-8 form (surrogates that are no stand-ins, values above
///   U+10FFFF), stand-ins whose bytes would combine to something else, and a U+FEFF at the start of
///   a file, as FE and six bytes of six bits each.
///
/// Such a form is read only where it would be written. So every line without raw zeros and carriage
/// returns is also written back byte by byte.
///
/// No member throws or allocates. [any thread]
class IXLA_EXPORT PUtf8
{
public:
    /// The most bytes that one character needs.
    enum
    {
        eMaxBytes = 7
    };

    /// Writes iLen characters as one line to oBytes, which has room for eMaxBytes each. Returns the
    /// number of bytes written. None of them is a zero, line feed or carriage return. iFileStart is
    /// for the first line of a file: its bytes never look like a byte-order mark.
    static std::size_t encodeLine(const wchar_t* iText, std::size_t iLen, char* oBytes,
                                  bool iFileStart = false) noexcept;

    /// Reads the iLen bytes of a line into oText, which has room for iLen characters. Returns the
    /// number of characters. iFileStart must be the same as when the line was written.
    static std::size_t decodeLine(const char* iBytes, std::size_t iLen, wchar_t* oText,
                                  bool iFileStart = false) noexcept;

    /// Writes a path to oBytes, which has room for eMaxBytes per character and a terminating zero.
    /// Paths have no special forms: stand-ins become their bytes, everything else plain UTF-8.
    /// Returns the number of bytes without the zero, or eNoPath for a text with a zero or another
    /// character that a path cannot contain.
    static std::size_t encodePath(const wchar_t* iText, std::size_t iLen, char* oBytes) noexcept;

    /// Reads the iLen bytes of a path into oText, which has room for iLen characters. Returns the
    /// number of characters; encodePath gives the same bytes again.
    static std::size_t decodePath(const char* iBytes, std::size_t iLen, wchar_t* oText) noexcept;

    /// The result of encodePath for a text that is not a path.
    static const std::size_t eNoPath = ~static_cast<std::size_t>(0);
};

#endif
