// SPDX-License-Identifier: MIT
#include "config/PPluginKeys.h"

#include "config/PToolError.h"
#include "portinglayer/PUtils.h"
#include "shared/PCoreSettings.h"
#include "shared/SimilarName.h"
#include "shared/ToolTexts.h"

#include <iostream>

namespace
{
/// The directory of the plugins in the property file; empty if it is not known.
std::string _pluginsDir(const ConfigOptions& iOptions)
{
    PString path;
    if (PCoreSettings(wideTexts(iOptions.core)).find(L"core.plugins.dir", path))
    {
        PUtils::fixFileSeparator(path);
    }
    return utf8Text(path);
}
} // namespace

PPluginKeys::PPluginKeys(const ConfigOptions& iOptions) : fIsKnown(!iOptions.plugins.empty())
{
    for (const std::string& path : iOptions.plugins)
    {
        std::string fault = fDeclarations.add(path);
        if (!fault.empty())
        {
            fault += "; --plugins is a directory of plugin libraries, or a library";
            throw PToolError(std::string(path).append(": ").append(fault));
        }
    }
    if (!fIsKnown)
    {
        const std::string path = _pluginsDir(iOptions);
        // The path may belong to another working directory; without it, keys are not known.
        fIsKnown = !path.empty() && fDeclarations.add(path).empty();
    }
    for (const std::string& damage : fDeclarations.damage())
    {
        std::cerr << "ixla-config: warning: " << damage << '\n';
    }
}

bool PPluginKeys::isKnown() const
{
    return fIsKnown;
}

const PDeclarations& PPluginKeys::declarations() const
{
    return fDeclarations;
}

const DeclaredConfig& PPluginKeys::require(const std::string& iID) const
{
    const DeclaredConfig* const config = fDeclarations.find(iID);
    if (!config)
    {
        const std::string similar = similarName(iID, fDeclarations.ids());
        throw PToolError(shownUtf8(iID) + ": no plugin declares keys of this ID; " +
                         (similar.empty() ? "`ixla-config describe` lists those that are declared"
                                          : "did you mean " + shownUtf8(similar) + "?"));
    }
    return *config;
}

void PPluginKeys::requireKnown(const std::string& iCommand) const
{
    if (!fIsKnown)
    {
        throw PToolError(iCommand + " needs --plugins, the directory of the plugin libraries, or "
                                    "--core core.prs.file=FILE with a core.plugins.dir",
                         eExitUsage);
    }
}
