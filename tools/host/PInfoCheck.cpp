// SPDX-License-Identifier: MIT
#include "host/PInfoCheck.h"

#include "Ixla.h"
#include "helpers/Text.h"
#include "shared/PPluginNotes.h"
#include "shared/PluginFiles.h"
#include "shared/ToolTexts.h"

#include <algorithm>

namespace
{
EHostExit _codeOf(PPluginRelations::EKind iKind)
{
    switch (iKind)
    {
    case PPluginRelations::eMissing:
        return eExitRequirement;
    case PPluginRelations::eOfferedTwice:
        return eExitOfferedTwice;
    case PPluginRelations::eCircle:
        return eExitCircle;
    default:
        return eExitOldCore;
    }
}
} // namespace

PInfoCheck::PInfoCheck(const PHostOptions& iOptions)
{
    for (const std::string& path : pluginFiles(PCoreSettings(iOptions.fCoreArguments)))
    {
        read(path);
    }
}

/// The core reports a file that cannot be read.
void PInfoCheck::read(const std::string& iPath)
{
    const PPluginNotes notes = PPluginNotes::ofFile(iPath);
    const std::string shown = shownUtf8(iPath);
    std::vector<std::string> damage = notes.damage();
    fLibraries.push_back({iPath, PPluginInfo::of(notes, damage)});
    for (const std::string& text : damage)
    {
        fDamage.push_back(
            {eExitDamagedInfo, shown + ": " + shownUtf8(text) + "; build the plugin again"});
    }
    if (notes.hasNewer())
    {
        fNewer.push_back(shown + ": a note is newer than this host, which reads what it knows");
    }
}

std::vector<PDegradation> PInfoCheck::beforeStart() const
{
    std::vector<PDegradation> found;
    for (const PPluginRelations::Finding& finding :
         PPluginRelations(fLibraries).check(IXLAL_VERSION))
    {
        found.push_back({_codeOf(finding.kind), finding.text});
    }
    found.insert(found.end(), fDamage.begin(), fDamage.end());
    return found;
}

const std::vector<std::string>& PInfoCheck::newer() const
{
    return fNewer;
}

std::vector<PDegradation> PInfoCheck::afterStart() const
{
    const PPluginRelations relations(fLibraries);
    std::vector<PDegradation> found;
    if (relations.isEachKnown())
    {
        return found; // nothing was in doubt
    }
    for (const PPluginRelations::Finding& finding : relations.missing())
    {
        if (!ixlaIsInterfaceAvailable(ixlaWide(finding.id)))
        {
            found.push_back({_codeOf(finding.kind), finding.text});
        }
    }
    return found;
}
