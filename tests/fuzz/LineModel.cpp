// SPDX-License-Identifier: MIT
#include "fuzz/LineModel.h"

#include "fuzz/Texts.h"
#include "portinglayer/PUtf8.h"

namespace
{
constexpr std::string_view kMark = "\xEF\xBB\xBF";
constexpr int kNoEntry = -3001;

std::wstring _decoded(std::string_view iBytes, bool iFileStart)
{
    std::wstring text(iBytes.size(), L'\0');
    text.resize(PUtf8::decodeLine(iBytes.data(), iBytes.size(), text.data(), iFileStart));
    return text;
}
} // namespace

std::wstring_view LineModel::trimmed(std::wstring_view iText)
{
    constexpr wchar_t kBlanks[] = L" \t\n\v\f\r";
    const std::size_t first = iText.find_first_not_of(kBlanks);
    if (first == std::wstring_view::npos)
    {
        return std::wstring_view();
    }
    return iText.substr(first, iText.find_last_not_of(kBlanks) + 1 - first);
}

bool LineModel::isName(std::wstring_view iName)
{
    return iName.find_first_of(L"=:|") == std::wstring_view::npos;
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

int LineModel::parse(std::wstring_view iLine, ModelLine& oParts)
{
    const std::size_t equals = iLine.find(L'=');
    if (equals == std::wstring_view::npos)
    {
        return kNoEntry;
    }
    const std::wstring_view name = iLine.substr(0, equals);
    const std::size_t colon = name.find(L':');
    const bool hasAttribute = colon != std::wstring_view::npos;
    oParts.key = trimmed(name.substr(0, colon));
    oParts.attribute = trimmed(hasAttribute ? name.substr(colon + 1) : std::wstring_view());
    oParts.text = trimmed(iLine.substr(equals + 1));
    return oParts.key.empty() ? kNoEntry : 0;
}

int LineModel::append(std::wstring_view iLine, ModelValues& ioValues)
{
    ModelLine parts;
    const int result = parse(iLine, parts);
    if (result != 0)
    {
        return result;
    }
    auto record = ioValues.find(parts.key);
    if (record == ioValues.end())
    {
        record = ioValues.emplace(parts.key, ModelRecord()).first;
    }
    auto& attributes = record->second.attributes;
    if (parts.attribute.empty())
    {
        record->second.value = parts.text;
    }
    else if (attributes.find(parts.attribute) == attributes.end())
    {
        attributes.emplace(parts.attribute, parts.text);
    }
    return 0;
}

int LineModel::appendFile(const std::vector<std::wstring>& iLines, ModelValues& ioValues)
{
    for (const std::wstring& line : iLines)
    {
        const std::wstring_view entry = trimmed(line);
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
            lines.emplace_back(key).append(L":").append(name).append(L" = ").append(text);
        }
    }
    return lines;
}
