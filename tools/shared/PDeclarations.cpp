// SPDX-License-Identifier: MIT
#include "shared/PDeclarations.h"

#include "helpers/PluginNote.h"
#include "shared/PKeyNote.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace fs = std::filesystem;

namespace
{
/// Whether two declarations accept the same values and have the same default.
bool _isSame(const DeclaredKey& iLeft, const DeclaredKey& iRight)
{
    return acceptedText(iLeft) == acceptedText(iRight) && iLeft.byDefault == iRight.byDefault &&
           iLeft.changes == iRight.changes;
}
} // namespace

const DeclaredKey* DeclaredConfig::find(const std::string& iKey) const
{
    const auto found =
        std::find_if(keys.begin(), keys.end(),
                     [&](const DeclaredKey& iDeclared) { return iDeclared.name == iKey; });
    return found == keys.end() ? nullptr : &*found;
}

std::vector<std::string> DeclaredConfig::names() const
{
    std::vector<std::string> names;
    std::transform(keys.begin(), keys.end(), std::back_inserter(names),
                   [](const DeclaredKey& iKey) { return iKey.name; });
    return names;
}

std::string PDeclarations::add(const std::string& iPath)
{
    std::error_code failure;
    if (fs::is_directory(iPath, failure))
    {
        return addDirectory(iPath);
    }
    const PPluginNotes notes = PPluginNotes::ofFile(iPath);
    add(iPath, notes);
    return notes.fault();
}

/// Returns an empty text, or why the directory cannot be read.
std::string PDeclarations::addDirectory(const std::string& iPath)
{
    std::vector<std::string> libraries;
    std::error_code failure;
    fs::directory_iterator entry(iPath, failure);
    while (!failure && entry != fs::directory_iterator())
    {
        if (entry->path().extension() == ".so")
        {
            libraries.push_back(entry->path());
        }
        entry.increment(failure);
    }
    std::sort(libraries.begin(), libraries.end());
    for (const std::string& library : libraries)
    {
        add(library, PPluginNotes::ofFile(library));
    }
    return failure ? "cannot be read: " + failure.message() : "";
}

void PDeclarations::add(const std::string& iLibrary, const PPluginNotes& iNotes)
{
    for (const std::string& damage : iNotes.damage())
    {
        fDamage.push_back(std::string(iLibrary).append(": ").append(damage));
    }
    if (iNotes.hasNewer())
    {
        fDamage.push_back(iLibrary + ": a note is newer than this tool, which may skip keys");
    }
    for (const PluginNote& note : iNotes.notes())
    {
        if (note.type == eIxlaNoteKeys)
        {
            addKeys(iLibrary, note);
        }
    }
}

void PDeclarations::addKeys(const std::string& iLibrary, const PluginNote& iNote)
{
    const PKeyNote note(iNote);
    const std::string of = note.id().empty() ? "" : " of " + shownUtf8(note.id());
    const std::string begin = iLibrary + ": its note about keys" + of + " is damaged: ";
    for (const std::string& damage : note.damage())
    {
        fDamage.push_back(begin + damage);
    }
    if (note.id().empty())
    {
        return;
    }
    DeclaredConfig& config = fConfigs[note.id()];
    if (std::find(config.libraries.begin(), config.libraries.end(), iLibrary) ==
        config.libraries.end())
    {
        config.libraries.push_back(iLibrary);
    }
    for (const DeclaredKey& key : note.keys())
    {
        addKey(iLibrary, note.id(), key);
    }
}

/// A header that declares keys puts them into each source that includes it, so equal declarations
/// are one.
void PDeclarations::addKey(const std::string& iLibrary, const std::string& iID,
                           const DeclaredKey& iKey)
{
    DeclaredConfig& config = fConfigs[iID];
    const DeclaredKey* const first = config.find(iKey.name);
    if (!first)
    {
        config.keys.push_back(iKey);
    }
    else if (!_isSame(*first, iKey))
    {
        fDamage.push_back(iLibrary + ": key \"" + shownUtf8(iKey.name) + "\" of " + shownUtf8(iID) +
                          " has another declaration: " + summaryOf(iKey) +
                          "; the first one counts: " + summaryOf(*first));
    }
}

const DeclaredConfig* PDeclarations::find(const std::string& iID) const
{
    const auto found = fConfigs.find(iID);
    return found == fConfigs.end() ? nullptr : &found->second;
}

const DeclaredKey* PDeclarations::findKey(const std::string& iID, const std::string& iKey) const
{
    const DeclaredConfig* const config = find(iID);
    return config ? config->find(iKey) : nullptr;
}

std::vector<std::string> PDeclarations::ids() const
{
    std::vector<std::string> ids;
    std::transform(fConfigs.begin(), fConfigs.end(), std::back_inserter(ids),
                   [](const auto& iConfig) { return iConfig.first; });
    return ids;
}

const std::vector<std::string>& PDeclarations::damage() const
{
    return fDamage;
}
