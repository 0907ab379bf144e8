// SPDX-License-Identifier: MIT
#include "validate/InformationCheck.h"

#include "shared/PPluginInfo.h"

namespace
{
/// One line for all differences; empty for none.
std::string _differences(const PPluginInfo& iInfo, const std::set<std::string>& iOffered)
{
    std::string text;
    std::set<std::string> unnamed = iOffered;
    for (const std::string& id : iInfo.offered())
    {
        unnamed.erase(id);
        if (iOffered.count(id) == 0)
        {
            text.append(text.empty() ? "" : "; ")
                .append("its plugin information names \"" + id + "\", which it does not offer");
        }
    }
    for (const std::string& id : unnamed)
    {
        text.append(text.empty() ? "" : "; ")
            .append("offers \"" + id + "\", which its plugin information does not name");
    }
    return text;
}
} // namespace

PVerdict judgeInformation(const std::string& iPlugin, const std::set<std::string>& iOffered)
{
    const PPluginNotes notes = PPluginNotes::ofFile(iPlugin);
    std::vector<std::string> damage = notes.damage();
    const std::optional<PPluginInfo> info = PPluginInfo::of(notes, damage);
    if (!damage.empty())
    {
        return PVerdict::fail(damage.front(), "write it with IXLA_PLUGIN_INFO");
    }
    const std::string differences = info ? _differences(*info, iOffered) : "";
    return differences.empty()
               ? PVerdict::pass("")
               : PVerdict::fail(differences,
                                "name the same interfaces in IXLA_INFO_OFFERS and offer");
}
