// SPDX-License-Identifier: MIT
// The notes of plugin libraries: a damaged file gives valid fields only, and each text in a whole
// file, of either word size, gives the fields of a model.
#include "fuzz/Check.h"
#include "fuzz/Texts.h"
#include "helpers/PluginNote.h"
#include "shared/PPluginNotes.h"
#include "shared/Utf8Text.h"

#include <algorithm>
#include <cstring>
#include <elf.h>

namespace
{
template <class TValue>
void _append(std::string& ioFile, const TValue& iValue)
{
    ioFile.append(reinterpret_cast<const char*>(&iValue), sizeof iValue);
}

std::string _noteOf(std::uint32_t iType, const std::string& iContent)
{
    std::string note;
    _append(note, Elf32_Nhdr{kIxlaNoteOwnerSize, static_cast<Elf32_Word>(iContent.size()), iType});
    note += "ixlal" + std::string(3, '\0') + iContent;
    note.resize((note.size() + 3) / 4 * 4);
    return note;
}

/// A file that has one segment, with these notes.
template <class THeader, class TSegment>
std::string _fileOf(unsigned char iClass, const std::string& iNotes)
{
    THeader header = {};
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = iClass;
    header.e_ident[EI_DATA] = ELFDATA2LSB;
    header.e_phoff = sizeof header;
    header.e_phentsize = sizeof(TSegment);
    header.e_phnum = 1;
    TSegment segment = {};
    segment.p_type = PT_NOTE;
    segment.p_offset = sizeof header + sizeof segment;
    segment.p_filesz = static_cast<decltype(segment.p_filesz)>(iNotes.size());
    segment.p_align = 4;
    std::string file;
    _append(file, header);
    _append(file, segment);
    return file + iNotes;
}

/// The lines that are fields; none for a text without a version.
std::vector<std::string> _expected(const std::string& iText)
{
    std::vector<std::string> fields;
    const std::vector<std::string_view> lines = split(iText, '\n');
    const std::string_view version = lines.front();
    const bool isVersion = version.find_first_not_of("0123456789") == std::string_view::npos &&
                           version.find_first_not_of('0') != std::string_view::npos &&
                           version.size() < 10;
    if (!isVersion || !isUtf8(iText) || iText.find('\0') != std::string::npos)
    {
        return fields;
    }
    // The last one has no line feed.
    for (std::size_t i = 1; i + 1 < lines.size(); ++i)
    {
        const std::size_t tab = lines[i].find('\t');
        if (tab != 0 && tab != std::string_view::npos)
        {
            fields.emplace_back(lines[i]);
        }
    }
    return fields;
}

std::vector<std::string> _linesOf(const PluginNote& iNote)
{
    std::vector<std::string> lines;
    for (const NoteField& field : iNote.fields)
    {
        std::string line = field.name;
        for (const std::string& value : field.values)
        {
            line += '\t' + value;
        }
        check(field.values.empty() == (line == field.name), "a field has a value");
        lines.push_back(line);
    }
    return lines;
}

void _checkValid(const PPluginNotes& iNotes)
{
    for (const PluginNote& note : iNotes.notes())
    {
        check(note.type == eIxlaNoteInfo || note.type == eIxlaNoteKeys, "the type is known");
        check(!note.fields.empty(), "a note has fields");
        for (const std::string& line : _linesOf(note))
        {
            check(isUtf8(line) && line.find_first_of(std::string("\0\n", 2)) == std::string::npos,
                  "a field is a line");
        }
    }
    check(iNotes.fault().empty() || iNotes.notes().empty(), "a fault leaves no notes");
}

void _checkText(const std::string& iText, const std::string& iFile)
{
    const PPluginNotes notes = PPluginNotes::ofBytes(iFile);
    _checkValid(notes);
    const std::vector<std::string> expected = _expected(iText);
    check(notes.fault().empty(), "the file is whole");
    check(notes.notes().size() == (expected.empty() ? 1U : 2U), "the last note is always found");
    check(expected.empty() || _linesOf(notes.notes().front()) == expected, "the fields are read");
    const std::vector<std::string> last = _linesOf(notes.notes().back());
    check(last == std::vector<std::string>{"id\tlast"}, "the last note is read");
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    const std::string bytes(bytesOf(iData, iSize));
    _checkValid(PPluginNotes::ofBytes(bytes));
    for (const std::string& text : {bytes, "1\n" + bytes})
    {
        const std::string notes = _noteOf(eIxlaNoteInfo, text + '\0') + _noteOf(7, bytes) +
                                  _noteOf(eIxlaNoteKeys, std::string("1\nid\tlast\n") + '\0');
        _checkText(text, _fileOf<Elf32_Ehdr, Elf32_Phdr>(ELFCLASS32, notes));
        _checkText(text, _fileOf<Elf64_Ehdr, Elf64_Phdr>(ELFCLASS64, notes));
        _checkValid(PPluginNotes::ofBytes(_fileOf<Elf32_Ehdr, Elf32_Phdr>(ELFCLASS32, bytes)));
    }
    return 0;
}
