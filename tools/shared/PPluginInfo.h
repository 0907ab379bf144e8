// SPDX-License-Identifier: MIT
// PPluginInfo: the plugin information of a library, as IXLA_PLUGIN_INFO gives it.
#ifndef IXLAL_TOOLS_PPLUGININFO_H
#define IXLAL_TOOLS_PPLUGININFO_H

#include "shared/PPluginNotes.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

/// Texts may have control characters.
class PPluginInfo
{
public:
    /// That of a library; none for a library without one. Appends a line to ioDamage for each part
    /// that is wrong.
    static std::optional<PPluginInfo> of(const PPluginNotes& iNotes,
                                         std::vector<std::string>& ioDamage);

    /// The value of a field that occurs once, such as "version"; empty without it.
    std::string text(const std::string& iField) const;

    /// The IDs of the interfaces that the plugin offers, needs, and uses if there are any.
    const std::vector<std::string>& offered() const;
    const std::vector<std::string>& required() const;
    const std::vector<std::string>& optional() const;

    /// Whether the plugin works with a core of this version. True for texts that are not of the
    /// form 1.2.3.
    bool worksWith(const std::string& iCore) const;

private:
    PPluginInfo(const PluginNote& iNote, std::vector<std::string>& ioDamage);

    void add(const NoteField& iField, std::vector<std::string>& ioDamage);
    void checkTexts(std::vector<std::string>& ioDamage) const;
    void checkIds(std::vector<std::string>& ioDamage) const;
    std::vector<std::string>* idsOf(const std::string& iField);

    std::map<std::string, std::string> fTexts;
    std::vector<std::string> fOffered;
    std::vector<std::string> fRequired;
    std::vector<std::string> fOptional;
};

#endif
