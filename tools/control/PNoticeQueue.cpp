// SPDX-License-Identifier: MIT
#include "control/PNoticeQueue.h"

#include <utility>

namespace
{
std::size_t _sizeOf(const PNotice& iNotice)
{
    const std::size_t characters =
        std::size_t{iNotice.name.len()} + iNotice.key.len() + iNotice.attribute.len();
    return sizeof(PNotice) + characters * sizeof(wchar_t);
}
} // namespace

PNoticeQueue::PNoticeQueue(const std::shared_ptr<PWakeUp>& iWakeUp, std::size_t iLimit)
    : fWakeUp(iWakeUp), fLimit(iLimit)
{
}

void PNoticeQueue::add(PNotice iNotice)
{
    const std::size_t size = _sizeOf(iNotice);
    bool isFirst = false;
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        isFirst = fNotices.empty() && !fDropped;
        if (fSize + size > fLimit)
        {
            fDropped = true;
        }
        else
        {
            fNotices.push_back(std::move(iNotice));
            fSize += size;
        }
    }
    if (isFirst)
    {
        fWakeUp->ring();
    }
}

bool PNoticeQueue::take(std::deque<PNotice>& oNotices)
{
    oNotices.clear();
    const std::lock_guard<std::mutex> lock(fMutex);
    fNotices.swap(oNotices);
    fSize = 0;
    const bool dropped = fDropped;
    fDropped = false;
    return !dropped;
}
