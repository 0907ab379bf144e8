// SPDX-License-Identifier: MIT
#include "shared/PKeyNote.h"

#include "helpers/Text.h"
#include "portinglayer/PBlank.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <utility>

namespace
{
constexpr char kChanges[] = "run-time";
constexpr char kFixed[] = "start";

/// The words between the bars.
std::vector<std::string> _choicesOf(const std::string& iText)
{
    std::vector<std::string> choices;
    std::size_t begin = 0;
    while (begin <= iText.size())
    {
        const std::size_t end = std::min(iText.find('|', begin), iText.size());
        if (end > begin)
        {
            choices.push_back(iText.substr(begin, end - begin));
        }
        begin = end + 1;
    }
    return choices;
}

/// Whether a file can have a key of this name.
bool _isName(const std::string& iName)
{
    const PString name = ixlaWide(iName);
    return !iName.empty() && iName.front() != '#' &&
           iName.find_first_of("=:|") == std::string::npos &&
           PBlank::trimmed(name.ptr(), name.len()).len == name.len();
}
/// Whether the limits of a number are numbers of its type.
bool _hasLimits(const DeclaredKey& iKey)
{
    DeclaredKey unlimited = iKey;
    unlimited.low.clear();
    unlimited.high.clear();
    return refusalOf(unlimited, ixlaWide(iKey.low)).empty() &&
           refusalOf(unlimited, ixlaWide(iKey.high)).empty();
}
} // namespace

PKeyNote::PKeyNote(const PluginNote& iNote)
{
    for (const NoteField& field : iNote.fields)
    {
        if (field.name == "id" && fID.empty())
        {
            fID = field.values.front();
        }
        else if (field.name == "key")
        {
            endKey();
            beginKey(field);
        }
        else if (fHasKey)
        {
            describeKey(field);
        }
    }
    endKey();
    if (fID.empty())
    {
        fKeys.clear();
        fDamage.emplace_back("it has no configuration ID");
    }
}

const std::string& PKeyNote::id() const
{
    return fID;
}

const std::vector<DeclaredKey>& PKeyNote::keys() const
{
    return fKeys;
}

const std::vector<std::string>& PKeyNote::damage() const
{
    return fDamage;
}

/// The values are the name, the type, and when changes have an effect.
void PKeyNote::beginKey(const NoteField& iField)
{
    fKey = DeclaredKey();
    fHasKey = true;
    fHasDefault = false;
    fFault.clear();
    fKey.name = iField.values[0];
    if (iField.values.size() < 3)
    {
        fFault = "has no type, or not when it changes";
        return;
    }
    fKey.type = typeOfName(iField.values[1]);
    fKey.changes = iField.values[2] == kChanges;
    if (!fKey.changes && iField.values[2] != kFixed)
    {
        fFault = "changes neither at the start nor at run time";
    }
}

void PKeyNote::describeKey(const NoteField& iField)
{
    const std::string& value = iField.values.front();
    if (iField.name == "default")
    {
        fKey.byDefault = value;
        fHasDefault = true;
    }
    else if (iField.name == "range")
    {
        fKey.low = value;
        fKey.high = iField.values.back();
    }
    else if (iField.name == "choices")
    {
        fKey.choices = _choicesOf(value);
    }
    else if (iField.name == "unit")
    {
        fKey.unit = value;
    }
    else if (iField.name == "description")
    {
        fKey.description = value;
    }
}

void PKeyNote::endKey()
{
    if (!fHasKey)
    {
        return;
    }
    const std::string fault = faultOfKey();
    if (fault.empty())
    {
        fKeys.push_back(std::move(fKey));
    }
    else
    {
        fDamage.push_back("its key \"" + shownUtf8(fKey.name) + "\" " + fault);
    }
    fHasKey = false;
}

std::string PKeyNote::faultOfKey() const
{
    if (!fFault.empty())
    {
        return fFault;
    }
    if (!_isName(fKey.name))
    {
        return "has a name that no file can have";
    }
    const auto isSame = [this](const DeclaredKey& iKey)
    {
        return iKey.name == fKey.name;
    };
    if (std::any_of(fKeys.begin(), fKeys.end(), isSame))
    {
        return "is declared twice";
    }
    if (!fHasDefault)
    {
        return "has no default";
    }
    if (isNumber(fKey.type) && !_hasLimits(fKey))
    {
        return "has a range that is not two numbers of its type";
    }
    const std::string refusal = refusalOf(fKey, ixlaWide(fKey.byDefault));
    return refusal.empty() ? "" : "has a default that is " + refusal;
}
