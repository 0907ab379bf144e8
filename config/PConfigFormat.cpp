// SPDX-License-Identifier: MIT
#include "config/PConfigFormat.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "config/PConfigRecords.h"
#include "config/PConfigResult.h"
#include "portinglayer/PFile.h"

#include <algorithm>
#include <cerrno>
#include <cwchar>

namespace
{
/// Allocates the piece of the arena where a line was read to its free memory, so that it is not
/// overwritten. Moves the parts if the piece is elsewhere. Throws std::bad_alloc.
void _keep(PConfigArena& ioArena, PConfigLine& ioParts)
{
    const wchar_t* const line = ioParts.key.text;
    const auto len = static_cast<std::size_t>(ioParts.value.text + ioParts.value.len + 1 - line);
    auto* const kept = static_cast<wchar_t*>(ioArena.take(len * sizeof(wchar_t)));
    if (kept != line)
    {
        std::wmemmove(kept, line, len);
    }
    for (PSpan* part : {&ioParts.key, &ioParts.attribute, &ioParts.value})
    {
        part->text = kept + (part->text - line);
    }
}

/// Adds a line that is in the free memory of the table's arena. Throws std::bad_alloc.
/// Inlined, because it runs for each line of a file.
[[gnu::always_inline]] inline int _appendLine(const PSpan& iLine, PConfigValues& ioValues)
{
    PConfigLine parts = {};
    const int result = PConfigFormat::_parseLine(iLine, parts);
    if (result != 0)
    {
        return result;
    }
    const PConfigName key(parts.key);
    const unsigned int hash = PConfigKey::_ofName(key);
    PConfigValue* const value = ioValues.find(key, hash);
    if (!value)
    {
        _keep(*ioValues.arena(), parts);
    }
    if (parts.attribute.len > 0)
    {
        return PConfigRecords::_addAttrValue(ioValues, PConfigName(parts.key),
                                             PConfigName(parts.attribute),
                                             PConfigName(parts.value));
    }
    if (value)
    {
        value->fValue = PConfigName(parts.value);
    }
    else
    {
        ioValues.insert(hash, parts.key, parts.value);
    }
    return eIxlaOk;
}
} // namespace

int PConfigFormat::_parseLine(const PSpan& iLine, PConfigLine& oParts) noexcept
{
    const auto between = [](const wchar_t* iBegin, const wchar_t* iEnd)
    {
        return PBlank::trimmed(iBegin, static_cast<unsigned int>(iEnd - iBegin));
    };
    const wchar_t* const end = iLine.text + iLine.len;
    const wchar_t* const equals = std::find(iLine.text, end, L'=');
    if (equals == end)
    {
        return eIxlaBadConfigLine;
    }
    const wchar_t* const colon = std::find(iLine.text, equals, L':');
    const PSpan key = between(iLine.text, colon);
    if (key.len == 0)
    {
        return eIxlaBadConfigLine;
    }
    oParts.key = key;
    oParts.attribute = between(colon != equals ? colon + 1 : equals, equals);
    oParts.value = between(equals + 1, end);
    return eIxlaOk;
}

int PConfigFormat::_checkAllowedChars(const PLiteral& iID, const PLiteral& iKey,
                                      const PLiteral& iAttribute) noexcept
{
    for (const PLiteral* name : {&iID, &iKey, &iAttribute})
    {
        const bool forbidden = std::any_of(
            name->ptr(), name->ptr() + name->len(),
            [](wchar_t iChar) { return iChar == L'=' || iChar == L':' || iChar == L'|'; });
        if (forbidden)
        {
            return eIxlaForbiddenCharacter;
        }
    }
    return eIxlaOk;
}

int PConfigFormat::_appendArgs(const PString* iArgs, std::size_t iCount,
                               PConfigValues& ioValues) noexcept
{
    return ixlaGuarded(
        [&]
        {
            int result = eIxlaOk;
            for (std::size_t i = 0; i < iCount && result == 0; ++i)
            {
                const unsigned int len = iArgs[i].len();
                wchar_t* const copy = ioValues.arena()->room(len).text;
                std::wmemcpy(copy, iArgs[i].ptr(), len);
                result = _appendLine({copy, len}, ioValues);
            }
            return result;
        });
}

int PConfigFormat::_appendLines(PFile& ioFile, PConfigValues& ioValues, PReadFault& ioFault)
{
    PConfigArena& arena = *ioValues.arena();
    int result = eIxlaOk;
    while (result == eIxlaOk)
    {
        ++ioFault.line;
        const PConfigArena::Room room = arena.room();
        PConfigText line(room.len, room.text);
        const int read = configResult(ioFile.preadLine(line));
        if (read != 0)
        {
            ioFault.code = read == -ENODATA ? 0 : read;
            return read == eIxlaNoMemory ? read : 0;
        }
        const PSpan text = PBlank::trimmed(line.ptr(), line.len());
        if (text.len > 0 && *text.text != L'#')
        {
            result = _appendLine(text, ioValues);
        }
    }
    return result;
}
