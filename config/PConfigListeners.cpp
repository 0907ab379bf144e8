// SPDX-License-Identifier: MIT
#include "config/PConfigListeners.h"

#include "IEventDispatcher.h"
#include "Ixla.h"
#include "config/PConfigChanged.h"
#include "core/PHeldService.h"

#include <algorithm>
#include <utility>

int PConfigListeners::nl_addListener(const PLiteral& iID, const PLiteral& iTopic)
{
    const auto place = fListeners.lower_bound(iID);
    if (place == fListeners.end() || place->first != iID)
    {
        std::vector<PString> topics;
        topics.emplace_back(iTopic);
        fListeners.emplace_hint(place, iID, std::move(topics));
        return eIxlaOk;
    }
    std::vector<PString>& topics = place->second;
    if (std::find(topics.begin(), topics.end(), iTopic) != topics.end())
    {
        return eIxlaAlreadyRegistered;
    }
    topics.emplace_back(iTopic);
    return eIxlaOk;
}

int PConfigListeners::nl_removeListener(const PLiteral& iID, const PLiteral& iTopic)
{
    const auto listener = fListeners.find(iID);
    if (listener == fListeners.end())
    {
        return eIxlaNotFound;
    }
    std::vector<PString>& topics = listener->second;
    const auto topic = std::find(topics.begin(), topics.end(), iTopic);
    if (topic == topics.end())
    {
        return eIxlaNotFound;
    }
    topics.erase(topic);
    if (topics.empty())
    {
        fListeners.erase(listener);
    }
    return eIxlaOk;
}

void PConfigListeners::nl_prepareChange(IConfigChanged::EConfigChnagedType iType,
                                        const PLiteral& iID, const PLiteral& iKey,
                                        const PLiteral& iAttribute, Change& oChange) const
{
    const auto listener = fListeners.find(iID);
    if (listener != fListeners.end())
    {
        oChange.topics = listener->second;
        oChange.event =
            PBaseptr<IConfigChanged>::adopt(new PConfigChanged(iType, iID, iKey, iAttribute));
    }
}

void PConfigListeners::_announce(const Change& iChange)
{
    if (iChange.topics.empty())
    {
        return;
    }
    const PHeldService<IEventDispatcher> dispatcher(kIxlaEventDispatcherId);
    if (dispatcher.result() != eIxlaOk)
    {
        return;
    }
    for (const PString& topic : iChange.topics)
    {
        // An error on one topic must not stop the others.
        (void)dispatcher.get()->send(topic, iChange.event.get(), 0);
    }
}
