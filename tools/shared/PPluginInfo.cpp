// SPDX-License-Identifier: MIT
#include "shared/PPluginInfo.h"

#include "helpers/PluginNote.h"

#include <algorithm>
#include <array>
#include <regex>
#include <set>

namespace
{
constexpr const char* kTextFields[] = {"name",    "version", "description", "author",
                                       "license", "url",     "core"};

typedef std::array<unsigned int, 3> Version;

/// The numbers of a version of the form 1.2.3, each with nine digits at most.
std::optional<Version> _versionOf(const std::string& iText)
{
    static const std::regex sForm("([0-9]{1,9})[.]([0-9]{1,9})[.]([0-9]{1,9})");
    std::smatch numbers;
    if (!std::regex_match(iText, numbers, sForm))
    {
        return std::nullopt;
    }
    Version version = {};
    for (std::size_t i = 0; i < version.size(); ++i)
    {
        version[i] = static_cast<unsigned int>(std::stoul(numbers[i + 1]));
    }
    return version;
}

std::string _damage(const std::string& iText)
{
    return "its plugin information " + iText;
}
} // namespace

std::optional<PPluginInfo> PPluginInfo::of(const PPluginNotes& iNotes,
                                           std::vector<std::string>& ioDamage)
{
    std::optional<PPluginInfo> info;
    std::size_t count = 0;
    for (const PluginNote& note : iNotes.notes())
    {
        count += note.type == eIxlaNoteInfo ? 1 : 0;
        if (note.type == eIxlaNoteInfo && !info)
        {
            info = PPluginInfo(note, ioDamage);
        }
    }
    if (count > 1)
    {
        ioDamage.push_back("it has " + std::to_string(count) +
                           " notes of plugin information; the first one counts");
    }
    return info;
}

PPluginInfo::PPluginInfo(const PluginNote& iNote, std::vector<std::string>& ioDamage)
{
    for (const NoteField& field : iNote.fields)
    {
        add(field, ioDamage);
    }
    checkTexts(ioDamage);
    checkIds(ioDamage);
}

std::string PPluginInfo::text(const std::string& iField) const
{
    const auto found = fTexts.find(iField);
    return found == fTexts.end() ? std::string() : found->second;
}

const std::vector<std::string>& PPluginInfo::offered() const
{
    return fOffered;
}

const std::vector<std::string>& PPluginInfo::required() const
{
    return fRequired;
}

const std::vector<std::string>& PPluginInfo::optional() const
{
    return fOptional;
}

bool PPluginInfo::worksWith(const std::string& iCore) const
{
    const std::optional<Version> oldest = _versionOf(text("core"));
    const std::optional<Version> core = _versionOf(iCore);
    return !oldest || !core || *oldest <= *core;
}

/// Fields with other names are those of newer tools.
void PPluginInfo::add(const NoteField& iField, std::vector<std::string>& ioDamage)
{
    if (std::vector<std::string>* const ids = idsOf(iField.name))
    {
        ids->push_back(iField.values.front());
        return;
    }
    const bool isText = std::find(std::begin(kTextFields), std::end(kTextFields), iField.name) !=
                        std::end(kTextFields);
    if (isText && !fTexts.emplace(iField.name, iField.values.front()).second)
    {
        ioDamage.push_back(
            _damage("has the field " + iField.name + " twice; the first one counts"));
    }
}

void PPluginInfo::checkTexts(std::vector<std::string>& ioDamage) const
{
    for (const char* const field : {"name", "version"})
    {
        if (text(field).empty())
        {
            ioDamage.push_back(_damage(std::string("has no ") + field));
        }
    }
    if (fTexts.count("core") > 0 && !_versionOf(text("core")))
    {
        ioDamage.push_back(_damage("has a version of the core that is not of the form 1.2.3"));
    }
}

void PPluginInfo::checkIds(std::vector<std::string>& ioDamage) const
{
    std::set<std::string> seen;
    for (const std::vector<std::string>* const ids : {&fOffered, &fRequired, &fOptional})
    {
        for (const std::string& id : *ids)
        {
            if (!seen.insert(id).second)
            {
                ioDamage.push_back(_damage("names the interface " + id + " twice"));
            }
        }
    }
    if (seen.count("") > 0)
    {
        ioDamage.push_back(_damage("has an empty interface ID"));
    }
}

std::vector<std::string>* PPluginInfo::idsOf(const std::string& iField)
{
    return iField == "offers"     ? &fOffered
           : iField == "requires" ? &fRequired
           : iField == "optional" ? &fOptional
                                  : nullptr;
}
