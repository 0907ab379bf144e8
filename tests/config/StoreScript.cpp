// SPDX-License-Identifier: MIT
#include "config/StoreScript.h"

#include "support/Texts.h"

namespace
{
constexpr unsigned int kKeys = 6;
constexpr unsigned int kAttributes = 3;
constexpr unsigned int kShort = 10;
constexpr unsigned int kLongest = 6000;
} // namespace

StoreModel StoreModel::marked()
{
    StoreModel model;
    model.entries.emplace("~|end", Entry{std::string(1, '.'), {}});
    return model;
}

std::string StoreModel::text() const
{
    std::string text;
    for (const auto& [key, entry] : entries)
    {
        text.append(key).append(" = ").append(entry.value).append("\n");
        for (const auto& [name, value] : entry.attributes)
        {
            text.append(key).append(":").append(name).append(" = ").append(value).append("\n");
        }
    }
    return text;
}

StoreScript::StoreScript(unsigned int iSeed) : fRandom(iSeed)
{
}

void StoreScript::next()
{
    ++fNumber;
    const unsigned int dice = draw(10);
    fKind = dice < 6 ? eStore : dice < 8 ? eStoreAttribute : dice < 9 ? eRemove : eRemoveAttribute;
    fKey = "k" + std::to_string(draw(kKeys));
    fAttribute = "a" + std::to_string(draw(kAttributes));
    // Also short ones, so that a file may end within a name.
    fText = std::to_string(fNumber) + std::string(draw(draw(2) == 0 ? kShort : kLongest), 'x');
}

int StoreScript::run(IConfigManager& ioManager) const
{
    const PString id = wide(kID);
    const PString key = wide(fKey);
    const PString attribute = wide(fAttribute);
    const PString text = wide(fText);
    switch (fKind)
    {
    case eStore:
        return ioManager.storeString(id, key, text);
    case eStoreAttribute:
        return ioManager.storeAttrString(id, key, attribute, text);
    case eRemove:
        return ioManager.removeStoredKey(id, key);
    default:
        return ioManager.removeStoredAttr(id, key, attribute);
    }
}

void StoreScript::apply(StoreModel& ioModel) const
{
    const std::string storeKey = std::string(kID) + "|" + fKey;
    const auto found = ioModel.entries.find(storeKey);
    if (fKind == eStore)
    {
        ioModel.entries[storeKey].value = fText;
    }
    else if (found == ioModel.entries.end())
    {
        return;
    }
    else if (fKind == eStoreAttribute)
    {
        found->second.attributes.emplace(fAttribute, fText);
    }
    else if (fKind == eRemove)
    {
        ioModel.entries.erase(found);
    }
    else
    {
        found->second.attributes.erase(fAttribute);
    }
}

unsigned int StoreScript::draw(unsigned int iBelow)
{
    return static_cast<unsigned int>(fRandom() % iBelow);
}
