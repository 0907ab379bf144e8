// SPDX-License-Identifier: MIT
#include "model/LoggerModel.h"

LoggerModel::LoggerModel(int iLevel, bool iEnabled, Fault iFault)
    : fLevel(iLevel), fEnabled(iEnabled), fFault(iFault)
{
}

void LoggerModel::restart()
{
    fSlots = {};
    fCache.clear();
    fDefault = make("ixlaplugins.log");
}

LoggerModel::Holder LoggerModel::make(const std::string& iName)
{
    if (fEnabled)
    {
        fLines[iName];
    }
    return std::make_shared<std::shared_ptr<Logger>>(
        std::make_shared<Logger>(Logger{iName, fLevel}));
}

void LoggerModel::getLogger(unsigned int iSlot, const std::string& iName)
{
    if (!fEnabled)
    {
        return;
    }
    const auto cached = fCache.find(iName);
    if (cached == fCache.end())
    {
        fSlots[iSlot] = make(iName);
        fCache[iName] = fSlots[iSlot];
    }
    else
    {
        fSlots[iSlot] = cached->second;
    }
    if (fFault != Fault::eLoggersKept)
    {
        purge();
    }
}

/// Removes loggers that no caller holds from the cache.
void LoggerModel::purge()
{
    std::erase_if(fCache, [](const auto& iEntry) { return iEntry.second.use_count() == 1; });
}

void LoggerModel::getDefault(unsigned int iSlot)
{
    fSlots[iSlot] = std::make_shared<std::shared_ptr<Logger>>(*fDefault);
}

void LoggerModel::copy(unsigned int iSlot, unsigned int iFrom)
{
    fSlots[iSlot] = Holder(fSlots[iFrom]);
}

void LoggerModel::wrap(unsigned int iSlot, unsigned int iFrom)
{
    if (!fSlots[iFrom])
    {
        fSlots[iSlot].reset();
        return;
    }
    fSlots[iSlot] = std::make_shared<std::shared_ptr<Logger>>(*fSlots[iFrom]);
}

void LoggerModel::drop(unsigned int iSlot)
{
    fSlots[iSlot].reset();
}

bool LoggerModel::holds(unsigned int iSlot) const
{
    return static_cast<bool>(fSlots[iSlot]);
}

void LoggerModel::setLevel(unsigned int iSlot, int iLevel)
{
    (*fSlots[iSlot])->level = iLevel;
}

void LoggerModel::write(unsigned int iSlot, char iKind, int iLevel, const std::string& iText)
{
    const Logger& logger = **fSlots[iSlot];
    const bool always = iKind == 'E' && fFault != Fault::eErrorsFiltered;
    const int level = fFault == Fault::eLevelExcluded ? iLevel + 1 : iLevel;
    if (fEnabled && (always || level <= logger.level))
    {
        fLines[logger.name] += std::string(1, iKind) + " pgs " + iText + "\n";
    }
}

std::string LoggerModel::lines(const std::string& iName) const
{
    const auto found = fLines.find(iName);
    return found == fLines.end() ? "no file" : found->second;
}

std::string LoggerModel::holders() const
{
    std::string holders;
    for (const Holder& slot : fSlots)
    {
        for (unsigned int first = 0; slot && first < fSlots.size(); ++first)
        {
            if (fSlots[first] && *fSlots[first] == *slot)
            {
                holders += std::to_string(first);
                break;
            }
        }
        holders += slot ? "" : "-";
    }
    return holders;
}
