// SPDX-License-Identifier: MIT
// PEventDispatcher: the event hub of the process.
#ifndef IXLAL_PEVENTDISPATCHER_H
#define IXLAL_PEVENTDISPATCHER_H

#include "IEventDispatcher.h"
#include "ILogger.h"
#include "PBaseptr.h"
#include "core/PReaderLock.h"
#include "events/PDeliverySlots.h"
#include "events/PListeners.h"
#include "portinglayer/PCounterSync.h"
#include "portinglayer/PMutex.h"
#include "portinglayer/PString.h"
#include "portinglayer/PTextHash.h"

#include <map>
#include <unordered_map>

class PLogger;

/// Stores the listeners of each topic and delivers events to them (see IEventDispatcher). Create it
/// on the heap and call init() once before any other operation.
///
/// The lock is held while the table is changed. A delivery reads it as a reader of the reader lock,
/// and with the lock only while a change closes the reader lock, or when the slots of its thread
/// are taken. Deliveries share a list, which is then replaced instead of changed. Listeners are
/// called and released without locks, except in the destructor, when no other thread can use the
/// dispatcher.
class PEventDispatcher : public IEventDispatcher
{
public:
    /// Looks up the plugins' log; works without it if the core has none. Throws std::bad_alloc.
    PEventDispatcher();

    PEventDispatcher(const PEventDispatcher&) = delete;
    PEventDispatcher& operator=(const PEventDispatcher&) = delete;

    /// Opens the mutex. Returns 0 or the mutex's code.
    int init() noexcept;

    int incRef() noexcept override;
    int decRef() noexcept override;

    int addListener(const PLiteral& iTopic, IEventListener* iListener) noexcept override;
    int removeListener(const PLiteral& iTopic, IEventListener* iListener) noexcept override;
    int send(const PLiteral& iTopic, IBase* iParam1, int iParam2) override;

    /// Logs every remaining subscription and releases its listener.
    [[gnu::cold]] virtual ~PEventDispatcher();

private:
    /// The table contains a topic only while it has a listener.
    typedef std::map<PString, PListeners::Holder, PLiteralLess> Topics;
    /// Pointers to the lists of a Topics.
    typedef std::unordered_map<PLiteral, const PListeners::Holder*, PTextHash, PTextEqual> Index;

    int nl_addListener(const PLiteral& iTopic, IEventListener* iListener) IXLA_REQUIRES(fMutex);
    int nl_addTopic(const PLiteral& iTopic, IEventListener* iListener) IXLA_REQUIRES(fMutex);
    int nl_removeListener(const PLiteral& iTopic, IEventListener* iListener,
                          PListenerShare& oRemoved) IXLA_REQUIRES(fMutex);
    PListeners& nl_ownListeners(PListeners::Holder& ioListeners);

    int findListeners(const PLiteral& iTopic, PDeliverySlots::Use& oListeners);
    [[gnu::noinline]] int findLocked(const PLiteral& iTopic, PDeliverySlots::Use& oListeners);
    void deliver(const PListeners& iListeners, bool iTraced, const PLiteral& iTopic, IBase* iParam1,
                 int iParam2) const;
    [[gnu::cold]] void releaseListeners(Topics& ioTopics) const;

    ///@{
    /// Logs a failed mutex operation in iOperation; returns iCode.
    [[gnu::cold]] int lockFailed(const char* iOperation, int iCode) const;
    [[gnu::cold]] int unlockFailed(const char* iOperation, int iCode) const;
    ///@}

    template <class... TArgs>
    void debug(const wchar_t* iFormat, TArgs... iArgs) const;
    /// Writes a line about an event. The caller asks once for each event whether it is traced.
    template <class... TArgs>
    void trace(const wchar_t* iFormat, TArgs... iArgs) const;
    bool isTraced() const noexcept;
    template <class... TArgs>
    [[gnu::cold]] void error(const wchar_t* iFormat, TArgs... iArgs) const;

    PCounterSync fRefCount;
    PMutex fMutex;
    PReaderLock fReaders; ///< closed with fMutex held
    PDeliverySlots fSlots;
    Topics fListeners IXLA_GUARDED_BY(fMutex);
    /// The lists of fListeners by topic, for the lookup of a delivery. Read with fMutex held or as
    /// a reader; changed, as the lists, with fMutex held and fReaders closed.
    Index fIndex IXLA_GUARDED_BY(fMutex);
    PBaseptr<ILogger> fLogger; ///< constant after construction; may be empty
    const PLogger* fLogFile;   ///< of fLogger; may be null
};

#endif
