// SPDX-License-Identifier: MIT
#include "config/PConfigCheck.h"

#include "portinglayer/PBlank.h"
#include "portinglayer/PUtils.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

namespace
{
constexpr wchar_t kByteOrderMark = 0xFEFF;
constexpr wchar_t kNoBreakSpace = 0xA0;
constexpr wchar_t kZeroWidthSpace = 0x200B;

bool _isInvisible(wchar_t iChar)
{
    return iChar == kByteOrderMark || iChar == kNoBreakSpace || iChar == kZeroWidthSpace;
}

/// Whether a character represents a byte that is not UTF-8.
bool _isStrayByte(wchar_t iChar)
{
    return iChar >= 0xDC80 && iChar <= 0xDCFF;
}

std::string _codePoint(wchar_t iChar)
{
    char text[16];
    static_cast<void>(std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned int>(iChar)));
    return text;
}

std::string _line(unsigned int iNumber)
{
    return "line " + std::to_string(iNumber);
}

/// Whether a text has exactly one "|", not at its beginning.
bool _isStoreKey(const PString& iKey)
{
    unsigned int first = 0;
    unsigned int last = 0;
    return iKey.chr(L'|', first) && iKey.chr(L'|', last, true) && first == last && first > 0;
}

/// The position of a "#" after a blank, which looks like a comment; 0 for none.
unsigned int _findComment(const PString& iText)
{
    for (unsigned int i = 1; i < iText.len(); ++i)
    {
        if (iText.ptr()[i] == L'#' && PBlank::is(iText.ptr()[i - 1]))
        {
            return i;
        }
    }
    return 0;
}
} // namespace

PConfigCheck::PConfigCheck(const PConfigFile& iFile, EFileKind iKind) : fKind(iKind)
{
    findValues(iFile);
    for (const ConfigLine& line : iFile.lines())
    {
        checkBytes(line);
        checkSyntax(line);
        if (line.kind == ConfigLine::eEntry)
        {
            checkNames(line);
            checkValue(line);
        }
        if (line.kind == ConfigLine::eEntry && iFile.isRead(line))
        {
            checkDuplicate(line);
        }
    }
}

std::vector<ConfigFinding> PConfigCheck::findings() const
{
    std::vector<ConfigFinding> sorted = fFindings;
    std::stable_sort(
        sorted.begin(), sorted.end(),
        [](const ConfigFinding& iLeft, const ConfigFinding& iRight)
        { return std::tie(iLeft.line, iLeft.column) < std::tie(iRight.line, iRight.column); });
    return sorted;
}

void PConfigCheck::add(bool iIsError, unsigned int iLine, unsigned int iColumn,
                       const std::string& iText)
{
    fFindings.push_back({iIsError, iLine, iColumn, iText});
}

void PConfigCheck::findValues(const PConfigFile& iFile)
{
    for (const ConfigLine& line : iFile.lines())
    {
        if (line.kind == ConfigLine::eEntry && line.attribute.text.len() == 0)
        {
            fFirstValues.emplace(line.key.text, line.number);
        }
    }
}

void PConfigCheck::checkSyntax(const ConfigLine& iLine)
{
    const char* const rest =
        fKind == eStore ? "the core ignores this store" : "the core stops reading here";
    if (iLine.kind == ConfigLine::eNoEquals)
    {
        fFindings.push_back(
            {true, iLine.number, iLine.key.column, std::string("no \"=\" in this line; ") + rest});
    }
    else if (iLine.kind == ConfigLine::eNoKey)
    {
        fFindings.push_back(
            {true, iLine.number, iLine.key.column,
             std::string("no key before the \"") + (iLine.hasColon ? ":" : "=") + "\"; " + rest});
    }
}

/// Reports only the first unusual character of a line.
void PConfigCheck::checkBytes(const ConfigLine& iLine)
{
    const wchar_t* const begin = iLine.text.ptr();
    const wchar_t* const end = begin + iLine.text.len();
    const wchar_t* const stray = std::find_if(begin, end, &_isStrayByte);
    if (stray != end)
    {
        ConfigPart place;
        place.column = static_cast<unsigned int>(stray - begin) + 1;
        warn(iLine, place,
             "byte " + shownText(PString(stray, 1)) + " is not UTF-8; it is kept unchanged");
    }
    // A carriage return after the last non-blank character has no effect.
    const PSpan span = PBlank::trimmed(begin, iLine.text.len());
    const wchar_t* const control =
        std::find_if(span.text, span.text + span.len,
                     [](wchar_t iChar) { return iChar == L'\0' || iChar == L'\r'; });
    // The store escapes such characters.
    if (control != span.text + span.len && fKind != eStore)
    {
        ConfigPart place;
        place.column = static_cast<unsigned int>(control - begin) + 1;
        warn(iLine, place,
             *control == L'\r' ? "carriage return inside the line; it does not end the line"
                               : "zero byte; is this a text file in UTF-8?");
    }
}

void PConfigCheck::checkNames(const ConfigLine& iLine)
{
    checkEdges(iLine.key, iLine.number, "key");
    checkEdges(iLine.attribute, iLine.number, "attribute");
    checkEdges(iLine.value, iLine.number, "value");
    checkKey(iLine);
    const PString& attribute = iLine.attribute.text;
    unsigned int position = 0;
    if (attribute.chr(L':', position) || attribute.chr(L'|', position))
    {
        warn(iLine, iLine.attribute,
             "attribute " + quotedText(attribute) +
                 " can never be read (-3004): it contains \":\" or \"|\"");
    }
    if (iLine.hasColon && attribute.len() == 0)
    {
        warn(iLine, iLine.attribute,
             "no attribute after \":\"; this sets the value of " + quotedText(iLine.key.text));
    }
}

void PConfigCheck::checkKey(const ConfigLine& iLine)
{
    const PString& key = iLine.key.text;
    unsigned int position = 0;
    if (fKind == eStore && !_isStoreKey(key))
    {
        warn(iLine, iLine.key, quotedText(key) + " is not \"ID|key\", so it can never be read");
    }
    else if (fKind != eStore && key.chr(L'|', position))
    {
        warn(iLine, iLine.key,
             "key " + quotedText(key) + " can never be read (-3004): it contains \"|\"");
    }
}

/// Warns of invisible characters, which are not removed like blanks.
void PConfigCheck::checkEdges(const ConfigPart& iPart, unsigned int iLine, const char* iWhat)
{
    const PString& text = iPart.text;
    if (text.len() == 0)
    {
        return;
    }
    const bool atFront = _isInvisible(text.ptr()[0]);
    const wchar_t edge = text.ptr()[atFront ? 0 : text.len() - 1];
    if (_isInvisible(edge))
    {
        fFindings.push_back(
            {false, iLine, iPart.column + (atFront ? 0 : text.len() - 1),
             std::string("invisible ") + _codePoint(edge) + " is part of the " + iWhat});
    }
}

void PConfigCheck::checkDuplicate(const ConfigLine& iLine)
{
    Seen& seen = fSeen[iLine.key.text];
    if (iLine.attribute.text.len() > 0)
    {
        checkAttribute(iLine, seen);
        seen.attributes.emplace(iLine.attribute.text, iLine.number);
        return;
    }
    if (seen.value != 0)
    {
        warn(iLine, iLine.key,
             "key " + quotedText(iLine.key.text) + " again; this value replaces that of " +
                 _line(seen.value));
    }
    seen.value = iLine.number;
}

void PConfigCheck::checkAttribute(const ConfigLine& iLine, const Seen& iSeen)
{
    const std::string name = quotedText(iLine.attribute.text) + " of " + quotedText(iLine.key.text);
    const auto first = iSeen.attributes.find(iLine.attribute.text);
    if (first != iSeen.attributes.end())
    {
        warn(iLine, iLine.attribute,
             "attribute " + name + " again; the text of " + _line(first->second) + " stays");
        return;
    }
    const auto value = fFirstValues.find(iLine.key.text);
    if (value == fFirstValues.end())
    {
        warn(iLine, iLine.key,
             "attribute " + name + ", which has no value in this file; without one in another " +
                 "file it is empty");
    }
    else if (value->second > iLine.number)
    {
        warn(iLine, iLine.key,
             "attribute " + name + " stands before the value of its key in " +
                 _line(value->second));
    }
}

void PConfigCheck::checkValue(const ConfigLine& iLine)
{
    const PString& value = iLine.value.text;
    bool pinned = false;
    if (iLine.attribute.text == L"const" && PUtils::strToBool(value, pinned) != 0)
    {
        warn(iLine, iLine.value,
             "const " + quotedText(value) + " is neither true nor false, so it pins nothing");
    }
    const unsigned int comment = fKind == eStore ? 0 : _findComment(value);
    if (comment != 0)
    {
        ConfigPart place;
        place.column = iLine.value.column + comment;
        warn(iLine, place, "\"#\" does not begin a comment here; it is part of the value");
    }
}

void PConfigCheck::warn(const ConfigLine& iLine, const ConfigPart& iPlace, const std::string& iText)
{
    fFindings.push_back({false, iLine.number, iPlace.column, iText});
}
