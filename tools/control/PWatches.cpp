// SPDX-License-Identifier: MIT
#include "control/PWatches.h"

#include "control/PRequestError.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"

#include <utility>

namespace
{
void _require(int iResult, const PString& iName)
{
    if (iResult != eIxlaOk)
    {
        throw PRequestError(
            kFailed, "cannot watch " + ixlaNarrow(iName) + ": " + ixlaResultText(iResult), iResult);
    }
}

void _addChange(PNoticeQueue& ioQueue, const IConfigChanged& iChange)
{
    PNotice notice;
    notice.isChange = true;
    const bool complete = iChange.getID(notice.name) == eIxlaOk &&
                          iChange.getKey(notice.key) == eIxlaOk &&
                          iChange.getAttribute(notice.attribute) == eIxlaOk;
    if (complete)
    {
        ioQueue.add(std::move(notice));
    }
}
} // namespace

PWatches::PWatches(const std::shared_ptr<PWakeUp>& iWakeUp, std::size_t iLimit)
    : fQueue(std::make_shared<PNoticeQueue>(iWakeUp, iLimit))
{
}

void PWatches::checkRoom() const
{
    if (fConfigs.size() + fTopics.size() + fTails.size() >= kMost)
    {
        throw PRequestError(kTooMany,
                            "a connection has at most " + std::to_string(kMost) + " watches");
    }
}

void PWatches::watchConfig(IConfigManager& ioManager, const PString& iID)
{
    if (fConfigs.count(iID) > 0)
    {
        return;
    }
    checkRoom();
    ConfigWatch watch;
    _require(ioManager.loadByID(iID, watch.config), iID);
    const std::shared_ptr<PNoticeQueue> queue = fQueue;
    _require(watch.subscription.subscribe(iID, [queue](const IConfigChanged& iChange)
                                          { _addChange(*queue, iChange); }),
             iID);
    fConfigs.emplace(iID, std::move(watch));
}

void PWatches::watchEvents(const PString& iTopic)
{
    if (fTopics.count(iTopic) > 0)
    {
        return;
    }
    checkRoom();
    const std::shared_ptr<PNoticeQueue> queue = fQueue;
    PSubscription subscription;
    _require(
        subscription.subscribe(iTopic,
                               [queue](const PLiteral& iName, const IBase* iObject, int iNumber)
                               {
                                   PNotice notice;
                                   notice.name = iName;
                                   notice.number = iNumber;
                                   notice.hasObject = iObject != nullptr;
                                   queue->add(std::move(notice));
                               }),
        iTopic);
    fTopics.emplace(iTopic, std::move(subscription));
}

void PWatches::follow(PLogTail iTail)
{
    checkRoom();
    fTails.push_back(std::move(iTail));
}

bool PWatches::take(std::deque<PNotice>& oNotices)
{
    return fQueue->take(oNotices);
}

PBaseptr<IConfig> PWatches::configOf(const PString& iID) const
{
    const auto found = fConfigs.find(iID);
    return found == fConfigs.end() ? PBaseptr<IConfig>() : found->second.config;
}

std::deque<PLogTail>& PWatches::tails() noexcept
{
    return fTails;
}
