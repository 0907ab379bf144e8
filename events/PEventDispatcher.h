// SPDX-License-Identifier: MIT
// PEventDispatcher: the event hub of the process.
#ifndef IXLAL_PEVENTDISPATCHER_H
#define IXLAL_PEVENTDISPATCHER_H

#include "IEventDispatcher.h"
#include "ILogger.h"
#include "PBaseptr.h"
#include "portinglayer/PCounterSync.h"
#include "portinglayer/PMutex.h"
#include "portinglayer/PString.h"
#include "portinglayer/PTextHash.h"

#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

class PLogger;

/// Stores the listeners of each topic and delivers events to them (see IEventDispatcher). Create it
/// on the heap and call init() once before any other operation.
///
/// The lock is held while the table is read or changed. Listeners are called and released without
/// it, except in the destructor, when no other thread can use the dispatcher.
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
    /// The listeners of a topic in the order of subscription, each once. A delivery may have the
    /// last reference to a listener.
    class Listeners : public std::vector<PBaseptr<IEventListener>>
    {
    public:
        explicit Listeners(const PEventDispatcher& iDispatcher);
        Listeners(const Listeners& iOther) = default;
        Listeners& operator=(const Listeners&) = delete;

        /// Releases the listeners; the thread is not cancelled in the destructor of one.
        ~Listeners();

    private:
        const PEventDispatcher& fDispatcher;
    };
    /// The table contains a topic only while it has a listener. Deliveries in progress share its
    /// list, and a shared list is not changed but replaced.
    typedef std::map<PString, PPtr<Listeners>, PLiteralLess> Topics;
    /// Pointers to the lists of a Topics.
    typedef std::unordered_map<PLiteral, const PPtr<Listeners>*, PTextHash, PTextEqual> Index;

    int nl_addListener(const PLiteral& iTopic, IEventListener* iListener) IXLA_REQUIRES(fMutex);
    int nl_addTopic(const PLiteral& iTopic, IEventListener* iListener) IXLA_REQUIRES(fMutex);
    int nl_removeListener(const PLiteral& iTopic, IEventListener* iListener,
                          PBaseptr<IEventListener>& oRemoved) IXLA_REQUIRES(fMutex);
    int nl_findListeners(const PLiteral& iTopic, PPtr<Listeners>& oListeners) const
        IXLA_REQUIRES(fMutex);
    static void _hold(std::unique_ptr<Listeners> iListeners, PPtr<Listeners>& oHolder);
    static Listeners& nl_ownListeners(PPtr<Listeners>& ioListeners);

    static Listeners::iterator _findListener(Listeners& ioListeners,
                                             const IEventListener* iListener);

    void deliver(const Listeners& iListeners, const PLiteral& iTopic, IBase* iParam1,
                 int iParam2) const;
    [[gnu::cold]] void releaseListeners(Topics& ioTopics) const;
    /// Clears a holder; logs an exception of the listener.
    void release(const char* iOperation, PBaseptr<IEventListener>& ioListener) const;

    ///@{
    /// Logs a failed mutex operation in iOperation; returns iCode.
    [[gnu::cold]] int lockFailed(const char* iOperation, int iCode) const;
    [[gnu::cold]] int unlockFailed(const char* iOperation, int iCode) const;
    ///@}

    template <class... TArgs>
    void debug(const wchar_t* iFormat, TArgs... iArgs) const;
    /// Writes a line about an event. Few logs have them, so the level is checked before the call.
    template <class... TArgs>
    void trace(const wchar_t* iFormat, TArgs... iArgs) const;
    template <class... TArgs>
    [[gnu::cold]] void error(const wchar_t* iFormat, TArgs... iArgs) const;

    PCounterSync fRefCount;
    PMutex fMutex;
    Topics fListeners IXLA_GUARDED_BY(fMutex);
    /// The lists of fListeners by topic, for the lookup of a delivery.
    Index fIndex IXLA_GUARDED_BY(fMutex);
    PBaseptr<ILogger> fLogger; ///< constant after construction; may be empty
    const PLogger* fLogFile;   ///< of fLogger; may be null
};

#endif
