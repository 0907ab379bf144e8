// SPDX-License-Identifier: MIT
#include "shared/PPluginRelations.h"

#include "Ixla.h"
#include "helpers/Text.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <deque>
#include <set>

namespace
{
bool _isOfCore(const std::string& iId)
{
    const PString id = ixlaWide(iId);
    return id == kIxlaConfigManagerId || id == kIxlaEventDispatcherId || id == kIxlaLoggerId;
}
} // namespace

PPluginRelations::PPluginRelations(const std::vector<PluginLibrary>& iLibraries)
    : fLibraries(iLibraries)
{
    for (std::size_t i = 0; i < fLibraries.size(); ++i)
    {
        if (fLibraries[i].info)
        {
            for (const std::string& id : fLibraries[i].info->offered())
            {
                fOwners.emplace(id, i);
            }
        }
    }
}

std::vector<PPluginRelations::Finding> PPluginRelations::check(const std::string& iCore) const
{
    std::vector<Finding> found = isEachKnown() ? missing() : std::vector<Finding>();
    checkOffers(found);
    checkCircles(found);
    checkCores(iCore, found);
    return found;
}

std::vector<PPluginRelations::Finding> PPluginRelations::missing() const
{
    std::vector<Finding> found;
    for (const PluginLibrary& library : fLibraries)
    {
        for (const std::string& id :
             library.info ? library.info->required() : std::vector<std::string>())
        {
            if (fOwners.count(id) == 0 && !_isOfCore(id))
            {
                found.push_back({eMissing, id,
                                 shownUtf8(library.name) + " requires " + shownUtf8(id) +
                                     ", which no plugin offers; add the plugin that offers it"});
            }
        }
    }
    return found;
}

bool PPluginRelations::isEachKnown() const
{
    return std::all_of(fLibraries.begin(), fLibraries.end(),
                       [](const PluginLibrary& iLibrary) { return iLibrary.info.has_value(); });
}

void PPluginRelations::checkOffers(std::vector<Finding>& ioFound) const
{
    for (std::size_t i = 0; i < fLibraries.size(); ++i)
    {
        for (const std::string& id :
             fLibraries[i].info ? fLibraries[i].info->offered() : std::vector<std::string>())
        {
            const std::size_t owner = fOwners.at(id);
            if (owner != i || _isOfCore(id))
            {
                ioFound.push_back(
                    {eOfferedTwice, id,
                     shownUtf8(fLibraries[i].name) + " offers " + shownUtf8(id) + ", which " +
                         (_isOfCore(id) ? "the core itself" : shownUtf8(fLibraries[owner].name)) +
                         " offers already; the core does not start with both; remove one"});
            }
        }
    }
}

void PPluginRelations::checkCircles(std::vector<Finding>& ioFound) const
{
    std::set<std::size_t> reported;
    for (std::size_t i = 0; i < fLibraries.size(); ++i)
    {
        const std::vector<std::size_t> circle = circleOf(i);
        const bool isNew =
            std::none_of(circle.begin(), circle.end(),
                         [&](std::size_t iMember) { return reported.count(iMember) > 0; });
        if (!circle.empty() && isNew)
        {
            reported.insert(circle.begin(), circle.end());
            ioFound.push_back({eCircle, "", textOf(circle)});
        }
    }
}

void PPluginRelations::checkCores(const std::string& iCore, std::vector<Finding>& ioFound) const
{
    for (const PluginLibrary& library : fLibraries)
    {
        if (library.info && !library.info->worksWith(iCore))
        {
            ioFound.push_back({eOldCore, "",
                               shownUtf8(library.name) + " needs version " +
                                   shownUtf8(library.info->text("core")) +
                                   " of the core, which is " + iCore +
                                   "; install a newer core, or an older plugin"});
        }
    }
}

std::map<std::size_t, std::string> PPluginRelations::needsOf(std::size_t iLibrary) const
{
    std::map<std::size_t, std::string> needs;
    const std::optional<PPluginInfo>& info = fLibraries[iLibrary].info;
    for (const std::string& id : info ? info->required() : std::vector<std::string>())
    {
        const auto owner = fOwners.find(id);
        if (owner != fOwners.end())
        {
            needs.emplace(owner->second, id);
        }
    }
    return needs;
}

std::vector<std::size_t> PPluginRelations::circleOf(std::size_t iLibrary) const
{
    std::map<std::size_t, std::size_t> from; // by library: the one that needs it
    std::deque<std::size_t> waiting{iLibrary};
    while (!waiting.empty() && from.count(iLibrary) == 0)
    {
        for (const auto& [needed, id] : needsOf(waiting.front()))
        {
            if (from.emplace(needed, waiting.front()).second)
            {
                waiting.push_back(needed);
            }
        }
        waiting.pop_front();
    }
    std::vector<std::size_t> circle;
    if (from.count(iLibrary) > 0)
    {
        circle.push_back(iLibrary);
        for (std::size_t at = from.at(iLibrary); at != iLibrary; at = from.at(at))
        {
            circle.insert(circle.begin() + 1, at);
        }
    }
    return circle;
}

std::string PPluginRelations::textOf(const std::vector<std::size_t>& iCircle) const
{
    std::string text = shownUtf8(fLibraries[iCircle.front()].name);
    for (std::size_t i = 0; i < iCircle.size(); ++i)
    {
        const std::size_t next = iCircle[(i + 1) % iCircle.size()];
        text += (i > 0 ? ", which requires " : " requires ") +
                shownUtf8(needsOf(iCircle[i]).at(next)) + " of " + shownUtf8(fLibraries[next].name);
    }
    return text + ": a circle, in which no plugin can initialise; make one requirement optional";
}
