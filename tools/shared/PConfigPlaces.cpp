// SPDX-License-Identifier: MIT
#include "shared/PConfigPlaces.h"

#include "shared/ToolTexts.h"

#include <new>

PConfigPlaces::PConfigPlaces(const PBaseptr<IConfig>& iCore) : fCore(iCore)
{
}

PString PConfigPlaces::pathOf(const PLiteral& iName) const
{
    return PCoreSettings::pathOf(iName, [this](const PLiteral& iKey, PString& oValue)
                                 { return fCore && fCore->getString(iKey, oValue) == 0; });
}

PString PConfigPlaces::managerPath() const
{
    return pathOf(kManagerFile);
}

int PConfigPlaces::readManagerFile(IConfigManager& ioManager)
{
    fManager.clear();
    return ioManager.loadByFile(managerPath(), fManager);
}

std::vector<PString> PConfigPlaces::listedIDs() const
{
    std::vector<PString> ids;
    if (fManager && fManager->getKeys(ids) != 0)
    {
        throw std::bad_alloc();
    }
    std::erase(ids, PString(kStoreFileKey));
    return ids;
}

std::vector<PString> PConfigPlaces::filesOf(const PLiteral& iID) const
{
    PString list;
    return fManager && fManager->getString(iID, list) == 0 ? namesOf(list) : std::vector<PString>();
}

PString PConfigPlaces::storeName() const
{
    PString name;
    if (fManager)
    {
        // The path stays empty without a name.
        static_cast<void>(fManager->getString(kStoreFileKey, name));
    }
    return name;
}

PString PConfigPlaces::storePath() const
{
    const PString name = storeName();
    return name.len() > 0 ? pathOf(name) : PString();
}
