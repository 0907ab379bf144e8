// SPDX-License-Identifier: MIT
#include "config/PConfigFormat.h"

#include "Ixla.h"
#include "config/PConfigRecords.h"
#include "config/PConfigResult.h"
#include "portinglayer/PBlank.h"
#include "portinglayer/PFile.h"

#include <algorithm>
#include <cerrno>
#include <cwchar>

namespace
{
/// The parts of a line.
struct LineParts
{
    PSpan key;
    PSpan attribute; ///< empty for a value
    PSpan value;
};

/// Splits a line as _parseLine does, without copying its parts.
int _split(const PSpan& iLine, LineParts& oParts) noexcept
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

/// Allocates the piece of the arena where a line was read to its free memory, so that it is not
/// overwritten. Moves the parts if the piece is elsewhere. Throws std::bad_alloc.
void _keep(PConfigArena& ioArena, LineParts& ioParts)
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

/// The parts of an argument. Their buffers are reused for the next argument.
struct Entry
{
    PString key;
    PString attribute;
    PString value;
};

int _appendArg(const PLiteral& iLine, Entry& ioEntry, PConfigValues& ioValues) noexcept
{
    const int result =
        PConfigFormat::_parseLine(iLine, ioEntry.key, ioEntry.attribute, ioEntry.value);
    if (result != 0)
    {
        return result;
    }
    return ioEntry.attribute.len() == 0
               ? PConfigRecords::_addValue(ioValues, ioEntry.key, ioEntry.value)
               : PConfigRecords::_addAttrValue(ioValues, ioEntry.key, ioEntry.attribute,
                                               ioEntry.value);
}

/// Adds a line that was read to the free memory of the table's arena. Throws std::bad_alloc.
int _appendReadLine(const PSpan& iLine, PConfigValues& ioValues)
{
    LineParts parts = {};
    const int result = _split(iLine, parts);
    if (result != 0)
    {
        return result;
    }
    const PConfigText key(parts.key);
    const unsigned int hash = PConfigKey::_ofName(key);
    PConfigValue* const value = ioValues.find(key, hash);
    if (!value)
    {
        _keep(*ioValues.arena(), parts);
    }
    if (parts.attribute.len > 0)
    {
        return PConfigRecords::_addAttrValue(ioValues, PConfigText(parts.key),
                                             PConfigText(parts.attribute),
                                             PConfigText(parts.value));
    }
    if (value)
    {
        value->fValue = PConfigText(parts.value);
    }
    else
    {
        ioValues.insert(hash, parts.key, parts.value);
    }
    return eIxlaOk;
}
} // namespace

int PConfigFormat::_parseLine(const PLiteral& iLine, PString& oKey, PString& oAttribute,
                              PString& oValue) noexcept
{
    LineParts parts = {};
    const int result = _split({iLine.ptr(), iLine.len()}, parts);
    if (result != 0)
    {
        return result;
    }
    const bool copied = oAttribute.set(parts.attribute.text, parts.attribute.len) == 0 &&
                        oValue.set(parts.value.text, parts.value.len) == 0 &&
                        oKey.set(parts.key.text, parts.key.len) == 0;
    return copied ? eIxlaOk : eIxlaNoMemory;
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
    Entry entry;
    int result = eIxlaOk;
    for (std::size_t i = 0; i < iCount && result == 0; ++i)
    {
        result = _appendArg(iArgs[i], entry, ioValues);
    }
    return result;
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
            result = _appendReadLine(text, ioValues);
        }
    }
    return result;
}
