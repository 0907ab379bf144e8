// SPDX-License-Identifier: MIT
#include "fuzz/Texts.h"

#include "portinglayer/PUtf8.h"

std::string_view bytesOf(const std::uint8_t* iData, std::size_t iSize)
{
    return std::string_view(reinterpret_cast<const char*>(iData), iSize);
}

std::vector<std::string_view> split(std::string_view iText, char iSeparator)
{
    std::vector<std::string_view> parts;
    for (std::size_t at = iText.find(iSeparator); at != std::string_view::npos;
         at = iText.find(iSeparator))
    {
        parts.push_back(iText.substr(0, at));
        iText.remove_prefix(at + 1);
    }
    parts.push_back(iText);
    return parts;
}

std::string_view takeField(std::string_view& ioText, char iSeparator)
{
    const std::size_t at = ioText.find(iSeparator);
    const std::string_view field = ioText.substr(0, at);
    ioText.remove_prefix(at == std::string_view::npos ? ioText.size() : at + 1);
    return field;
}

std::wstring decoded(std::string_view iBytes)
{
    std::wstring text(iBytes.size(), L'\0');
    text.resize(PUtf8::decodeLine(iBytes.data(), iBytes.size(), text.data()));
    return text;
}

std::string encoded(const std::wstring& iText, bool iFileStart)
{
    std::string bytes(iText.size() * PUtf8::eMaxBytes, '\0');
    bytes.resize(PUtf8::encodeLine(iText.data(), iText.size(), bytes.data(), iFileStart));
    return bytes;
}

std::wstring_view textOf(const PLiteral& iText)
{
    return std::wstring_view(iText.ptr(), iText.len());
}

PString owned(std::wstring_view iText)
{
    return PString(iText.data(), static_cast<unsigned int>(iText.size()));
}

std::vector<PString> owned(const std::vector<std::wstring>& iTexts)
{
    std::vector<PString> result;
    result.reserve(iTexts.size());
    for (const std::wstring& text : iTexts)
    {
        result.push_back(owned(text));
    }
    return result;
}
