// SPDX-License-Identifier: MIT
#include "shared/PConfigFile.h"

#include "portinglayer/PBlank.h"
#include "portinglayer/PFile.h"

#include <algorithm>
#include <cerrno>

namespace
{
/// The part of iLine from iBegin to iEnd.
ConfigPart _part(const PString& iLine, const wchar_t* iBegin, const wchar_t* iEnd)
{
    const PSpan span = PBlank::trimmed(iBegin, static_cast<unsigned int>(iEnd - iBegin));
    ConfigPart part;
    part.text = PString(span.text, span.len);
    const wchar_t* const place = span.len > 0 ? span.text : iEnd;
    part.column = static_cast<unsigned int>(place - iLine.ptr()) + 1;
    return part;
}
} // namespace

int PConfigFile::read(const PLiteral& iPath)
{
    PFile file;
    int result = file.popen(iPath, PFile::eRead, 0);
    PString line;
    for (unsigned int number = 1; result == 0; ++number)
    {
        result = file.preadLine(line);
        if (result == 0)
        {
            addLine(number, line);
        }
    }
    return result == -ENODATA ? 0 : result;
}

void PConfigFile::addLine(unsigned int iNumber, const PString& iText)
{
    const PSpan span = PBlank::trimmed(iText.ptr(), iText.len());
    if (span.len == 0)
    {
        return;
    }
    if (*span.text == L'#')
    {
        ++fComments;
        return;
    }
    fLines.push_back(split(iText));
    fLines.back().number = iNumber;
    if (fLines.back().kind != ConfigLine::eEntry && fBrokenLine == 0)
    {
        fBrokenLine = iNumber;
    }
}

const std::vector<ConfigLine>& PConfigFile::lines() const
{
    return fLines;
}

ConfigLine PConfigFile::split(const PString& iText)
{
    ConfigLine line;
    line.text = iText;
    const wchar_t* const begin = iText.ptr();
    const wchar_t* const end = begin + iText.len();
    const wchar_t* const equals = std::find(begin, end, L'=');
    const wchar_t* const colon = std::find(begin, equals, L':');
    line.hasColon = colon != equals;
    line.key = _part(iText, begin, colon);
    if (equals == end)
    {
        line.kind = ConfigLine::eNoEquals;
        return line;
    }
    line.kind = line.key.text.len() == 0 ? ConfigLine::eNoKey : ConfigLine::eEntry;
    line.attribute = _part(iText, line.hasColon ? colon + 1 : equals, equals);
    line.value = _part(iText, equals + 1, end);
    return line;
}

unsigned int PConfigFile::brokenLine() const
{
    return fBrokenLine;
}

bool PConfigFile::isRead(const ConfigLine& iLine) const
{
    return fBrokenLine == 0 || iLine.number < fBrokenLine;
}

unsigned int PConfigFile::comments() const
{
    return fComments;
}
