// SPDX-License-Identifier: MIT
#include "shared/ToolTexts.h"

#include "helpers/Text.h"
#include "portinglayer/PUtf8.h"

#include <algorithm>
#include <cstdio>

namespace
{
constexpr wchar_t kFirstStandIn = 0xDC80;
constexpr wchar_t kLastStandIn = 0xDCFF;

bool _isControl(wchar_t iChar)
{
    return (iChar >= 0 && iChar < 0x20) || (iChar >= 0x7F && iChar < 0xA0);
}

bool _isStandIn(wchar_t iChar)
{
    return iChar >= kFirstStandIn && iChar <= kLastStandIn;
}

/// Whether a line of the core would escape a character.
bool _breaksLine(wchar_t iChar)
{
    return iChar == L'\n' || iChar == L'\r' || iChar == L'\0';
}

std::string _escape(wchar_t iChar)
{
    switch (iChar)
    {
    case L'\n':
        return "\\n";
    case L'\r':
        return "\\r";
    case L'\t':
        return "\\t";
    default:
        break;
    }
    char digits[8];
    static_cast<void>(
        std::snprintf(digits, sizeof digits, "\\x%02x", static_cast<unsigned int>(iChar) & 0xFFu));
    return digits;
}

std::string _encode(const wchar_t* iText, std::size_t iLen)
{
    std::vector<char> bytes(iLen * PUtf8::eMaxBytes + 1);
    return std::string(bytes.data(), PUtf8::encodeLine(iText, iLen, bytes.data()));
}

/// Encodes the text as UTF-8; iWrite encodes the characters selected by iIsSpecial.
template <class TIsSpecial, class TWrite>
std::string _convert(const PLiteral& iText, const TIsSpecial& iIsSpecial, const TWrite& iWrite)
{
    std::string result;
    const wchar_t* const end = iText.ptr() + iText.len();
    const wchar_t* plain = iText.ptr();
    for (const wchar_t* at = plain; at != end; ++at)
    {
        if (iIsSpecial(*at))
        {
            result += _encode(plain, static_cast<std::size_t>(at - plain));
            result += iWrite(*at);
            plain = at + 1;
        }
    }
    return result + _encode(plain, static_cast<std::size_t>(end - plain));
}
} // namespace

std::string utf8Text(const PLiteral& iText)
{
    return _convert(iText, &_breaksLine,
                    [](wchar_t iChar) { return std::string(1, static_cast<char>(iChar)); });
}

std::string shownText(const PLiteral& iText)
{
    return _convert(
        iText, [](wchar_t iChar) { return _isControl(iChar) || _isStandIn(iChar); }, &_escape);
}

std::string shownUtf8(const std::string& iText)
{
    return shownText(ixlaWide(iText));
}

std::string quotedText(const PLiteral& iText)
{
    return '"' + shownText(iText) + '"';
}

std::string joinedTexts(const std::vector<std::string>& iTexts)
{
    std::string joined;
    for (const std::string& text : iTexts)
    {
        joined += (joined.empty() ? "" : ", ") + text;
    }
    return joined;
}

std::vector<PString> namesOf(PString iList)
{
    std::vector<PString> names;
    PString name;
    while (PLiteral::getNextToken(iList, name, L',') == 0)
    {
        names.push_back(name);
    }
    return names;
}

std::vector<PString> wideTexts(const std::vector<std::string>& iTexts)
{
    std::vector<PString> texts(iTexts.size());
    std::transform(iTexts.begin(), iTexts.end(), texts.begin(), &ixlaWide);
    return texts;
}
