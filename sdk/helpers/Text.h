// SPDX-License-Identifier: MIT
/// @file
/// ixlaWide, ixlaNarrow: convert between the wide text of the interfaces and UTF-8.
#ifndef IXLAL_SDK_TEXT_H
#define IXLAL_SDK_TEXT_H

#include "portinglayer/PString.h"
#include "portinglayer/PUtf8.h"

#include <string>
#include <vector>

/// Converts UTF-8 to wide text. Bytes that are not valid UTF-8 are restored by ixlaNarrow. Throws
/// std::bad_alloc. [any thread]
inline PString ixlaWide(const std::string& iText)
{
    std::vector<wchar_t> characters(iText.size() + 1);
    const std::size_t count = PUtf8::decodeLine(iText.data(), iText.size(), characters.data());
    return PString(characters.data(), static_cast<unsigned int>(count));
}

/// Converts wide text to UTF-8. Throws std::bad_alloc. [any thread]
inline std::string ixlaNarrow(const PLiteral& iText)
{
    std::string bytes(static_cast<std::size_t>(iText.len()) * PUtf8::eMaxBytes, '\0');
    bytes.resize(PUtf8::encodeLine(iText.ptr(), iText.len(), &bytes[0]));
    return bytes;
}

#endif
