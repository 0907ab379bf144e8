// SPDX-License-Identifier: MIT
// Splitting: getNextToken, getKeyValue and the searches that they use, compared with simple models.
// The first character of an input is the separator, the rest is the text.
#include "fuzz/Check.h"
#include "fuzz/LineModel.h"
#include "fuzz/Texts.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PUtils.h"

#include <algorithm>

namespace
{
const wchar_t* const kBefore = L"before";

std::vector<std::wstring> _tokensOf(const std::wstring& iText, wchar_t iSeparator)
{
    std::vector<std::wstring> tokens;
    std::wstring token;
    for (const wchar_t character : iText + iSeparator)
    {
        if (character != iSeparator)
        {
            token += character;
            continue;
        }
        token = LineModel::trimmed(token);
        if (!token.empty())
        {
            tokens.push_back(token);
        }
        token.clear();
    }
    return tokens;
}

void _checkTokens(const std::wstring& iText, wchar_t iSeparator)
{
    PString list = owned(iText);
    PString token(kBefore);
    for (const std::wstring& expected : _tokensOf(iText, iSeparator))
    {
        checkCode(PLiteral::getNextToken(list, token, iSeparator), 0, "there is a token");
        checkText(textOf(token), expected, "token");
    }
    const std::wstring last(textOf(token));
    checkCode(PLiteral::getNextToken(list, token, iSeparator), -61, "no token is left");
    check(list.len() == 0, "nothing is left of the list");
    checkText(textOf(token), last, "the last token stays");
}

/// Both targets are other texts, or one of them is the source itself.
void _checkKeyValue(const std::wstring& iText, wchar_t iSeparator)
{
    const std::size_t at = iText.find(iSeparator);
    const bool splits = at != std::wstring::npos;
    const std::wstring_view text = iText;
    const std::wstring_view key = splits ? LineModel::trimmed(text.substr(0, at)) : kBefore;
    const std::wstring_view value = splits ? LineModel::trimmed(text.substr(at + 1)) : kBefore;
    const int code = splits ? 0 : -22;
    PString source = owned(iText);
    PString foundKey(kBefore);
    PString foundValue(kBefore);
    checkCode(PUtils::getKeyValue(source, foundKey, foundValue, iSeparator), code, "split");
    checkText(textOf(foundKey), key, "key");
    checkText(textOf(foundValue), value, "value");

    PString keySource = owned(iText);
    checkCode(PUtils::getKeyValue(keySource, keySource, foundValue, iSeparator), code, "split");
    checkText(textOf(keySource), splits ? key : text, "key in place of its source");
    checkText(textOf(foundValue), value, "value of a source that becomes the key");

    PString valueSource = owned(iText);
    checkCode(PUtils::getKeyValue(valueSource, foundKey, valueSource, iSeparator), code, "split");
    checkText(textOf(foundKey), key, "key of a source that becomes the value");
    checkText(textOf(valueSource), splits ? value : text, "value in place of its source");
}

std::wstring _folded(std::wstring iText)
{
    for (wchar_t& character : iText)
    {
        character = character >= L'A' && character <= L'Z' ? character + 32 : character;
    }
    return iText;
}

void _checkFound(bool iFound, unsigned int iPos, std::size_t iExpected, const char* iWhat)
{
    check(iFound == (iExpected != std::wstring::npos), iWhat);
    check(!iFound || iPos == iExpected, iWhat);
}

void _checkSearch(const std::wstring& iText, const std::wstring& iPart, bool iIgnoreCase)
{
    const PString text = owned(iText);
    const PString part = owned(iPart);
    const std::wstring in = iIgnoreCase ? _folded(iText) : iText;
    const std::wstring what = iIgnoreCase ? _folded(iPart) : iPart;
    for (const bool fromEnd : {false, true})
    {
        unsigned int pos = 0;
        const std::size_t expected = fromEnd ? in.rfind(what) : in.find(what);
        const bool found = text.str(part, pos, fromEnd, iIgnoreCase);
        _checkFound(found, pos, what.empty() ? std::wstring::npos : expected, "place of a text");
        if (!what.empty())
        {
            const std::size_t place = fromEnd ? in.rfind(what[0]) : in.find(what[0]);
            const bool has = text.chr(iPart[0], pos, fromEnd, iIgnoreCase);
            _checkFound(has, pos, place, "place of a character");
        }
    }
    check(text.startsWith(part.ptr(), part.len(), iIgnoreCase) == in.starts_with(what), "start");
    check(text.endsWith(part.ptr(), part.len(), iIgnoreCase) == in.ends_with(what), "end");
}

void _checkOrder(const std::wstring& iLeft, const std::wstring& iRight)
{
    const PString left = owned(iLeft);
    const PString right = owned(iRight);
    check((left == right) == (iLeft == iRight), "equality");
    check((left < right) == (iLeft < iRight), "order");
    const int order = left.cmp(right);
    check((order < 0) == (iLeft < iRight) && (order > 0) == (iRight < iLeft), "comparison");
}

void _checkPaths(const std::wstring& iText)
{
    PString path = owned(iText);
    PUtils::fixFileSeparator(path);
    std::wstring expected = iText;
    std::replace(expected.begin(), expected.end(), L'\\', L'/');
    checkText(textOf(path), expected, "separators of a path");
    PFile::getFileName(path);
    checkText(textOf(path), expected.substr(expected.rfind(L'/') + 1), "file name of a path");
}

void _checkTrim(const std::wstring& iText)
{
    PString text = owned(iText);
    text.trim();
    checkText(textOf(text), LineModel::trimmed(iText), "trimmed text");
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    const std::wstring input = decoded(bytesOf(iData, iSize));
    if (input.empty())
    {
        return 0;
    }
    const wchar_t separator = input[0];
    const std::wstring text = input.substr(1);
    _checkTokens(text, separator);
    _checkKeyValue(text, separator);
    _checkPaths(text);
    _checkTrim(text);

    const std::size_t at = text.find(separator);
    const std::wstring left = text.substr(0, at);
    const std::wstring right = at == std::wstring::npos ? input : text.substr(at + 1);
    _checkOrder(left, right);
    _checkSearch(right, left, false);
    _checkSearch(right, left, true);
    return 0;
}
