// SPDX-License-Identifier: MIT
#include "fuzz/LineModel.h"

#include "fuzz/Texts.h"
#include "portinglayer/PUtf8.h"

namespace
{
constexpr std::string_view kMark = "\xEF\xBB\xBF";

std::wstring _decoded(std::string_view iBytes, bool iFileStart)
{
    std::wstring text(iBytes.size(), L'\0');
    text.resize(PUtf8::decodeLine(iBytes.data(), iBytes.size(), text.data(), iFileStart));
    return text;
}
} // namespace

std::wstring LineModel::trimmed(const std::wstring& iText)
{
    constexpr wchar_t kBlanks[] = L" \t\n\v\f\r";
    const std::size_t first = iText.find_first_not_of(kBlanks);
    if (first == std::wstring::npos)
    {
        return std::wstring();
    }
    return iText.substr(first, iText.find_last_not_of(kBlanks) + 1 - first);
}

bool LineModel::isName(const std::wstring& iName)
{
    return iName.find_first_of(L"=:|") == std::wstring::npos;
}

std::vector<std::wstring> LineModel::linesOf(std::string_view iBytes)
{
    if (iBytes.starts_with(kMark))
    {
        iBytes.remove_prefix(kMark.size());
    }
    std::vector<std::string_view> parts = split(iBytes, '\n');
    const std::string_view open = parts.back();
    parts.pop_back();
    std::vector<std::wstring> lines;
    for (std::string_view line : parts)
    {
        if (line.ends_with('\r'))
        {
            line.remove_suffix(1);
        }
        lines.push_back(_decoded(line, lines.empty()));
    }
    if (!open.empty())
    {
        lines.push_back(_decoded(open, lines.empty()));
    }
    return lines;
}

int LineModel::append(const std::wstring& iLine, ModelValues& ioValues)
{
    const std::size_t equals = iLine.find(L'=');
    if (equals == std::wstring::npos)
    {
        return -3001;
    }
    const std::wstring name = iLine.substr(0, equals);
    const std::wstring text = trimmed(iLine.substr(equals + 1));
    const std::size_t colon = name.find(L':');
    const std::wstring key = trimmed(name.substr(0, colon));
    const std::wstring attribute =
        colon == std::wstring::npos ? std::wstring() : trimmed(name.substr(colon + 1));
    if (key.empty())
    {
        return -3001;
    }
    if (attribute.empty())
    {
        ioValues[key].value = text;
    }
    else
    {
        ioValues[key].attributes.emplace(attribute, text);
    }
    return 0;
}

int LineModel::appendFile(const std::vector<std::wstring>& iLines, ModelValues& ioValues)
{
    for (const std::wstring& line : iLines)
    {
        const std::wstring entry = trimmed(line);
        const bool counts = !entry.empty() && entry[0] != L'#';
        const int result = counts ? append(entry, ioValues) : 0;
        if (result != 0)
        {
            return result;
        }
    }
    return 0;
}

std::vector<std::wstring> LineModel::render(const ModelValues& iValues)
{
    std::vector<std::wstring> lines;
    for (const auto& [key, record] : iValues)
    {
        lines.push_back(key + L" = " + record.value);
        for (const auto& [name, text] : record.attributes)
        {
            lines.push_back(key + L":" + name + L" = " + text);
        }
    }
    return lines;
}
