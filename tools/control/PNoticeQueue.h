// SPDX-License-Identifier: MIT
// PNoticeQueue: what the listeners of a connection have seen.
#ifndef IXLAL_TOOLS_PNOTICEQUEUE_H
#define IXLAL_TOOLS_PNOTICEQUEUE_H

#include "portinglayer/PString.h"
#include "shared/PWakeUp.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>

/// An event, or a change of a configuration.
struct PNotice
{
    bool isChange = false;
    PString name;      ///< the topic, or the configuration ID
    PString key;       ///< of a change
    PString attribute; ///< of a change; empty for the value
    int number = 0;    ///< of an event
    bool hasObject = false;
};

/// Listeners add notices on any thread; the control thread takes them. Nothing is done with the
/// mutex held but moving a notice. The number of bytes is limited: later notices are dropped.
class PNoticeQueue
{
public:
    PNoticeQueue(const std::shared_ptr<PWakeUp>& iWakeUp, std::size_t iLimit);

    /// [any thread]
    void add(PNotice iNotice);

    /// Replaces oNotices by those since the last call. False when some were dropped.
    bool take(std::deque<PNotice>& oNotices);

private:
    const std::shared_ptr<PWakeUp> fWakeUp;
    const std::size_t fLimit;

    std::mutex fMutex;
    std::deque<PNotice> fNotices; ///< guarded by fMutex
    std::size_t fSize = 0;        ///< guarded by fMutex
    bool fDropped = false;        ///< guarded by fMutex
};

#endif
