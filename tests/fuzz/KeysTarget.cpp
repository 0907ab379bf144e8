// SPDX-License-Identifier: MIT
// Declared keys: whatever is in a note, the keys that are read can be written to a file, have a
// default that they accept, and are described in one line.
#include "fuzz/Check.h"
#include "fuzz/Texts.h"
#include "helpers/Text.h"
#include "shared/PConfigFile.h"
#include "shared/PKeyNote.h"
#include "shared/ToolTexts.h"

#include <set>

namespace
{
/// The lines as fields. The last one, without a line feed, is a field, too.
PluginNote _noteOf(std::string_view iText)
{
    PluginNote note;
    for (std::string_view line : split(iText, '\n'))
    {
        NoteField field;
        field.name = takeField(line, '\t');
        for (const std::string_view value : split(line, '\t'))
        {
            field.values.emplace_back(value);
        }
        note.fields.push_back(field);
    }
    return note;
}

bool _isLine(const std::string& iText)
{
    return iText.find_first_of("\n\r\t\x1b") == std::string::npos;
}

void _checkKey(const DeclaredKey& iKey, std::string_view iBytes)
{
    check(refusalOf(iKey, ixlaWide(iKey.byDefault)).empty(), "the default is accepted");
    check(_isLine(summaryOf(iKey)) && !summaryOf(iKey).empty(), "a summary is a line");
    check(_isLine(shownUtf8(iKey.description)), "a description is a line");
    check(isNumber(iKey.type) || iKey.type != DeclaredKey::eChoice || !iKey.choices.empty(),
          "a choice has words");
    const std::string refusal = refusalOf(iKey, ixlaWide(std::string(iBytes)));
    check(refusal.empty() || (_isLine(refusal) && refusal.rfind("not ", 0) == 0),
          "a refusal is a line");
}

/// Whether a file can have the key.
void _checkName(const std::string& iName)
{
    const ConfigLine line = PConfigFile::split(ixlaWide(iName + " = 1"));
    check(line.kind == ConfigLine::eEntry && line.key.text == ixlaWide(iName), "a file can have it");
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    const std::string_view bytes = bytesOf(iData, iSize);
    const PKeyNote note(_noteOf(bytes));
    check(!note.id().empty() || (note.keys().empty() && !note.damage().empty()),
          "keys belong to an ID");
    std::set<std::string> names;
    for (const DeclaredKey& key : note.keys())
    {
        check(names.insert(key.name).second, "a key is declared once");
        _checkName(key.name);
        _checkKey(key, bytes);
    }
    for (const std::string& line : note.damage())
    {
        check(_isLine(line), "damage is a line");
    }
    return 0;
}
