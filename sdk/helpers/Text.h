// SPDX-License-Identifier: MIT
// ixlaWide, ixlaNarrow: text between the interfaces and everything else.
#ifndef IXLAL_SDK_TEXT_H
#define IXLAL_SDK_TEXT_H

#include "portinglayer/PString.h"
#include "portinglayer/PUtf8.h"

#include <string>
#include <vector>

/// UTF-8 as the wide text that the interfaces take. Bytes that are no UTF-8 survive the way there
/// and back. Throws std::bad_alloc. [any thread]
inline PString ixlaWide(const std::string& iText)
{
    std::vector<wchar_t> characters(iText.size() + 1);
    const std::size_t count = PUtf8::decodeLine(iText.data(), iText.size(), characters.data());
    return PString(characters.data(), static_cast<unsigned int>(count));
}

/// Wide text as UTF-8. Throws std::bad_alloc. [any thread]
inline std::string ixlaNarrow(const PLiteral& iText)
{
    std::string bytes(static_cast<std::size_t>(iText.len()) * PUtf8::eMaxBytes, '\0');
    bytes.resize(PUtf8::encodeLine(iText.ptr(), iText.len(), &bytes[0]));
    return bytes;
}

#endif
