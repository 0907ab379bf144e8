// SPDX-License-Identifier: MIT
#include "shared/PPluginNotes.h"

#include "helpers/PluginNote.h"
#include "shared/Utf8Text.h"

#include <algorithm>
#include <charconv>

namespace
{
constexpr char kOwner[] = "ixlal";
constexpr unsigned int kFormat = 1;
constexpr std::size_t kMostDigits = 9; // of the version of the format

bool _isKnown(std::uint32_t iType)
{
    return iType == eIxlaNoteInfo || iType == eIxlaNoteKeys;
}

/// Removes and returns the text before a separator, which is removed, too. Without one, the whole
/// text.
std::string_view _take(std::string_view& ioText, char iSeparator)
{
    const std::size_t end = std::min(ioText.find(iSeparator), ioText.size());
    const std::string_view taken = ioText.substr(0, end);
    ioText.remove_prefix(std::min(end + 1, ioText.size()));
    return taken;
}

/// The version of the format; 0 for a line that is none.
unsigned int _formatOf(std::string_view iLine)
{
    unsigned int format = 0;
    const char* const end = iLine.data() + iLine.size();
    const auto [stop, error] = std::from_chars(iLine.data(), end, format);
    return error == std::errc() && stop == end && iLine.size() <= kMostDigits ? format : 0;
}

NoteField _fieldOf(std::string_view iLine)
{
    NoteField field;
    field.name = _take(iLine, '\t');
    while (true)
    {
        const bool isLast = iLine.find('\t') == std::string_view::npos;
        field.values.emplace_back(_take(iLine, '\t'));
        if (isLast)
        {
            return field;
        }
    }
}
} // namespace

PPluginNotes PPluginNotes::ofFile(const std::string& iPath)
{
    return PPluginNotes(PElfNotes::ofFile(iPath, kOwner));
}

PPluginNotes PPluginNotes::ofBytes(std::string_view iBytes)
{
    return PPluginNotes(PElfNotes::ofBytes(iBytes, kOwner));
}

PPluginNotes PPluginNotes::ofSegments(const std::vector<NoteSegment>& iSegments)
{
    return PPluginNotes(PElfNotes::ofSegments(iSegments, kOwner));
}

PPluginNotes::PPluginNotes(const PElfNotes& iNotes)
    : fFault(iNotes.fault()), fDamage(iNotes.damage())
{
    std::size_t number = 0;
    for (const ElfNote& note : iNotes.notes())
    {
        ++number;
        if (_isKnown(note.type))
        {
            add(note,
                "its note " + std::to_string(number) + " of type " + std::to_string(note.type));
        }
    }
}

const std::vector<PluginNote>& PPluginNotes::notes() const
{
    return fNotes;
}

const std::string& PPluginNotes::fault() const
{
    return fFault;
}

const std::vector<std::string>& PPluginNotes::damage() const
{
    return fDamage;
}

bool PPluginNotes::hasNewer() const
{
    return fHasNewer;
}

void PPluginNotes::add(const ElfNote& iNote, const std::string& iWhich)
{
    PluginNote note;
    note.type = iNote.type;
    std::string_view text = iNote.content;
    std::string found = "it does not end with a zero";
    if (!text.empty() && text.back() == '\0')
    {
        text.remove_suffix(1);
        found = parse(text, note);
    }
    if (!found.empty())
    {
        fDamage.emplace_back(iWhich + " is damaged: " + found);
    }
    if (!note.fields.empty())
    {
        fNotes.push_back(std::move(note));
    }
}

std::string PPluginNotes::parse(std::string_view iText, PluginNote& oNote)
{
    if (!isUtf8(iText) || iText.find('\0') != std::string_view::npos)
    {
        return "it is not a text in UTF-8";
    }
    const unsigned int format = _formatOf(_take(iText, '\n'));
    if (format == 0)
    {
        return "its first line is not the version of the format";
    }
    fHasNewer = fHasNewer || format > kFormat;
    std::string found;
    for (unsigned int number = 2; !iText.empty(); ++number)
    {
        const bool isCut = iText.find('\n') == std::string_view::npos;
        const std::string_view line = _take(iText, '\n');
        const bool isField = !isCut && line.find('\t') != std::string_view::npos && line[0] != '\t';
        if (isField)
        {
            oNote.fields.push_back(_fieldOf(line));
        }
        else if (found.empty() && format == kFormat)
        {
            found = "line " + std::to_string(number) + (isCut ? " is cut" : " is not a field");
        }
    }
    return found;
}
