// SPDX-License-Identifier: MIT
#include "support/Texts.h"

#include "portinglayer/PUtf8.h"

PString wide(const std::string& iText)
{
    std::vector<wchar_t> chars(iText.size() + 1);
    const std::size_t count = PUtf8::decodeLine(iText.data(), iText.size(), chars.data());
    return PString(chars.data(), static_cast<unsigned int>(count));
}

std::string narrow(const PLiteral& iText)
{
    std::vector<char> bytes(iText.len() * PUtf8::eMaxBytes + 1u);
    return std::string(bytes.data(), PUtf8::encodeLine(iText.ptr(), iText.len(), bytes.data()));
}

std::vector<std::string> narrow(const std::vector<PString>& iTexts)
{
    std::vector<std::string> result;
    result.reserve(iTexts.size());
    for (const PString& text : iTexts)
    {
        result.push_back(narrow(text));
    }
    return result;
}

void PrintTo(const PLiteral& iText, std::ostream* oStream)
{
    *oStream << '"' << narrow(iText) << '"';
}

void PrintTo(const PString& iText, std::ostream* oStream)
{
    PrintTo(static_cast<const PLiteral&>(iText), oStream);
}
