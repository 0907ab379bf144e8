// SPDX-License-Identifier: MIT
#include "config/PConfigPlaces.h"

#include "Ixla.h"
#include "config/PToolError.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "portinglayer/PUtils.h"
#include "shared/PCoreSettings.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <filesystem>

namespace
{
constexpr wchar_t kManagerFile[] = L"ixlap.configmanager.prs";
constexpr wchar_t kPropertyFileKey[] = L"core.prs.file";

void _checkDirectory(const std::string& iDir)
{
    std::error_code error;
    if (!std::filesystem::is_directory(iDir, error))
    {
        throw PToolError(iDir + ": " + (error ? error.message() : "not a directory") +
                         "; --dir is the directory that core.plugins.config.dir names");
    }
}

void _appendPropertyFile(IConfigManager& ioManager, const PBaseptr<IConfig>& ioConfig)
{
    PString file;
    if (ioConfig->getString(kPropertyFileKey, file) != 0 || file.len() == 0)
    {
        return;
    }
    PUtils::fixFileSeparator(file);
    const int result = ioManager.appendByFile(file, ioConfig);
    if (result != 0)
    {
        throw PToolError(utf8Text(file) + ": the core's property file: " + ixlaResultText(result));
    }
}
} // namespace

PConfigPlaces::PConfigPlaces(IConfigManager& ioManager, const std::string& iDir,
                             const std::vector<std::string>& iArguments)
{
    _checkDirectory(iDir);
    std::vector<PString> arguments;
    std::transform(iArguments.begin(), iArguments.end(), std::back_inserter(arguments), &ixlaWide);
    arguments.push_back(ixlaWide("core.plugins.config.dir=" + iDir));
    int result = ioManager.loadByArgs(arguments, fCore);
    if (result == 0)
    {
        // Arguments take precedence over the file, and later ones over earlier ones.
        _appendPropertyFile(ioManager, fCore);
        result = ioManager.appendByArgs(arguments, fCore);
    }
    if (result != 0)
    {
        throw PToolError("--core: the core refuses the arguments: " + ixlaResultText(result));
    }
}

PString PConfigPlaces::pathOf(const PLiteral& iName) const
{
    return PCoreSettings::pathOf(iName, [this](const PLiteral& iKey, PString& oValue)
                                 { return fCore->getString(iKey, oValue) == 0; });
}

PString PConfigPlaces::managerPath() const
{
    return pathOf(kManagerFile);
}

void PConfigPlaces::readManagerFile(IConfigManager& ioManager)
{
    const PString path = managerPath();
    const int result = ioManager.loadByFile(path, fManager);
    if (result == eIxlaBadConfigLine)
    {
        throw PToolError(utf8Text(path) + ": the core cannot read it: " + ixlaResultText(result) +
                         "; `ixla-config check` shows the line");
    }
    if (result != 0)
    {
        throw PToolError(utf8Text(path) + ": " + ixlaResultText(result) +
                         "; this file says which files make up each ID, so --dir must hold it");
    }
}

std::vector<PString> PConfigPlaces::listedIDs() const
{
    std::vector<PString> ids;
    if (fManager->getKeys(ids) != 0)
    {
        throw std::bad_alloc();
    }
    std::erase(ids, PString(kStoreFileKey));
    return ids;
}

std::vector<PString> PConfigPlaces::filesOf(const PLiteral& iID) const
{
    std::vector<PString> names;
    PString list;
    if (fManager->getString(iID, list) != 0)
    {
        return names;
    }
    PString name;
    while (PLiteral::getNextToken(list, name, L',') == 0)
    {
        names.push_back(name);
    }
    return names;
}

PString PConfigPlaces::storeName() const
{
    PString name;
    // The path stays empty without a name.
    static_cast<void>(fManager->getString(kStoreFileKey, name));
    return name;
}

PString PConfigPlaces::storePath() const
{
    const PString name = storeName();
    return name.len() > 0 ? pathOf(name) : PString();
}

const wchar_t* PConfigPlaces::managerFile()
{
    return kManagerFile;
}
