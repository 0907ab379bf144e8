// SPDX-License-Identifier: MIT
#include "events/PEventDispatcher.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "core/PHeldService.h"
#include "logger/PLogger.h"
#include "logging/PLoggerImpl.h"
#include "portinglayer/PCancelGuard.h"
#include "portinglayer/PLockGuard.h"

#include <utility>

namespace
{
/// The level of lines that are written for each event.
constexpr int kTraceLevel = 1000;

const void* _address(const IBase* iObject)
{
    return iObject;
}
} // namespace

template <class... TArgs>
void PEventDispatcher::debug(const wchar_t* iFormat, TArgs... iArgs) const
{
    if (fLogger)
    {
        // The log itself counts a line that it cannot write.
        (void)fLogger->debug(0, iFormat, iArgs...);
    }
}

template <class... TArgs>
void PEventDispatcher::trace(const wchar_t* iFormat, TArgs... iArgs) const
{
    (void)fLogger->debug(kTraceLevel, iFormat, iArgs...);
}

bool PEventDispatcher::isTraced() const noexcept
{
    return fLogFile && fLogFile->isLogged(kTraceLevel);
}

template <class... TArgs>
void PEventDispatcher::error(const wchar_t* iFormat, TArgs... iArgs) const
{
    if (fLogger)
    {
        (void)fLogger->error(0, iFormat, iArgs...);
    }
}

PEventDispatcher::PEventDispatcher() : fRefCount(0), fLogFile(nullptr)
{
    // The core's own plugin offers this ID; a second plugin with it is refused.
    const PHeldService<PLoggerImpl> logger(kIxlaLoggerId);
    fLogger = logger.get();
    if (logger.get())
    {
        fLogFile = logger.get()->file();
    }
    debug(L"[EventDispatcher] Create instance: %p", _address(this));
}

PEventDispatcher::~PEventDispatcher()
{
    const PCancelGuard guard;
    debug(L"[EventDispatcher][destructor] Destroy instance: %p", _address(this));

    // While a listener is released here it may take and drop a reference to the dispatcher, which
    // must not destroy it again. It may also unsubscribe, which needs a consistent table: it is
    // empty.
    ++fRefCount;
    if (const int code = fMutex.lock())
    {
        lockFailed("destructor", code);
    }
    Topics topics;
    topics.swap(fListeners);
    fIndex.clear();
    releaseListeners(topics);
    if (const int code = fMutex.unlock())
    {
        unlockFailed("destructor", code);
    }
    if (const int code = fMutex.close())
    {
        error(L"[EventDispatcher][destructor] Failed to close mutex err: %d", code);
    }
}

int PEventDispatcher::init() noexcept
{
    const int result = fMutex.init(true);
    if (result != 0)
    {
        error(L"[EventDispatcher][init] Failed to init mutex err: %d", result);
        return result;
    }
    fReaders.init();
    return result;
}

int PEventDispatcher::incRef() noexcept
{
    return ++fRefCount;
}

int PEventDispatcher::decRef() noexcept
{
    const int count = fRefCount.change(-1);
    if (count == 0)
    {
        delete this;
    }
    return count;
}

int PEventDispatcher::addListener(const PLiteral& iTopic, IEventListener* iListener) noexcept
{
    debug(L"[EventDispatcher][addListener] iTopic: %ls iListener: %p", iTopic.ptr(),
          _address(iListener));
    if (iTopic.len() == 0 || !iListener)
    {
        error(L"[EventDispatcher][addListener] Invalid topic or listener!");
        return eIxlaInvalidArgument;
    }

    PLockGuard lock(fMutex);
    if (lock.result() != 0)
    {
        return lockFailed("addListener", lock.result());
    }
    const int result = nl_addListener(iTopic, iListener);
    if (const int code = lock.unlock())
    {
        return unlockFailed("addListener", code);
    }
    debug(L"[EventDispatcher][addListener] res: %d", result);
    return result;
}

int PEventDispatcher::removeListener(const PLiteral& iTopic, IEventListener* iListener) noexcept
{
    debug(L"[EventDispatcher][removeListener] iTopic: %ls iListener: %p", iTopic.ptr(),
          _address(iListener));
    if (iTopic.len() == 0 || !iListener)
    {
        error(L"[EventDispatcher][removeListener] Invalid topic or listener!");
        return eIxlaInvalidArgument;
    }

    const PCancelGuard guard;
    PListenerShare removed;
    PLockGuard lock(fMutex);
    if (lock.result() != 0)
    {
        return lockFailed("removeListener", lock.result());
    }
    const int result = nl_removeListener(iTopic, iListener, removed);
    const int code = lock.unlock();
    PListeners::release("removeListener", removed, fLogger.get());
    if (code != 0)
    {
        return unlockFailed("removeListener", code);
    }
    debug(L"[EventDispatcher][removeListener] res: %d", result);
    return result;
}

int PEventDispatcher::send(const PLiteral& iTopic, IBase* iParam1, int iParam2)
{
    const bool traced = isTraced();
    if (traced) [[unlikely]]
    {
        trace(L"[EventDispatcher][send] iTopic: %ls iParam1: %p iParam2: %d", iTopic.ptr(),
              _address(iParam1), iParam2);
    }
    if (iTopic.len() == 0)
    {
        error(L"[EventDispatcher][send] Invalid topic!");
        return eIxlaInvalidArgument;
    }

    PDeliverySlots::Use listeners;
    const int result = findListeners(iTopic, listeners);
    if (result == eIxlaOk)
    {
        deliver(*listeners, traced, iTopic, iParam1, iParam2);
    }
    else if (result != eIxlaNoListener)
    {
        return result;
    }
    if (traced) [[unlikely]]
    {
        trace(L"[EventDispatcher][send] res: %d", result);
    }
    return result;
}

// The analysis does not know that a reader may read the table.
int PEventDispatcher::findListeners(const PLiteral& iTopic,
                                    PDeliverySlots::Use& oListeners) IXLA_NO_THREAD_SAFETY_ANALYSIS
{
    {
        const PReaderLock::Reader reader(fReaders);
        if (reader.isInside())
        {
            const auto found = fIndex.find(iTopic);
            if (found == fIndex.end())
            {
                return eIxlaNoListener;
            }
            if (oListeners.take(fSlots, **found->second))
            {
                return eIxlaOk;
            }
        }
    }
    return findLocked(iTopic, oListeners);
}

int PEventDispatcher::findLocked(const PLiteral& iTopic, PDeliverySlots::Use& oListeners)
{
    PLockGuard lock(fMutex);
    if (lock.result() != 0)
    {
        return lockFailed("send", lock.result());
    }
    const auto found = fIndex.find(iTopic);
    const int result = found == fIndex.end() ? eIxlaNoListener : eIxlaOk;
    if (result == eIxlaOk)
    {
        oListeners.refer(**found->second);
    }
    const int code = lock.unlock();
    return code != 0 ? unlockFailed("send", code) : result;
}

int PEventDispatcher::nl_addListener(const PLiteral& iTopic, IEventListener* iListener)
{
    const Topics::iterator topic = fListeners.find(iTopic);
    if (topic == fListeners.end())
    {
        return nl_addTopic(iTopic, iListener);
    }
    if (topic->second->has(iListener))
    {
        return eIxlaListenerExists;
    }
    return ixlaGuarded(
        [&]
        {
            const PReaderLock::Writer writer(fReaders);
            nl_ownListeners(topic->second).add(*iListener);
            return eIxlaOk;
        });
}

int PEventDispatcher::nl_addTopic(const PLiteral& iTopic, IEventListener* iListener)
{
    // Built outside the table, so that the table never contains a topic without a listener. merge
    // moves the entry without changing its address.
    Topics fresh;
    Index* const index = &fIndex;
    const PReaderLock::Writer writer(fReaders);
    const int result = ixlaGuarded(
        [&]
        {
            const auto topic = fresh.emplace(PString(iTopic), PListeners::Holder()).first;
            topic->second.reset(new PListeners(fLogger.get()));
            index->emplace(topic->first, &topic->second);
            // Added last, so that no later failure releases the listener of the caller.
            topic->second->add(*iListener);
            return eIxlaOk;
        });
    if (result != eIxlaOk)
    {
        fIndex.erase(iTopic);
        return result;
    }
    fListeners.merge(fresh);
    return eIxlaOk;
}

int PEventDispatcher::nl_removeListener(const PLiteral& iTopic, IEventListener* iListener,
                                        PListenerShare& oRemoved)
{
    const Topics::iterator topic = fListeners.find(iTopic);
    if (topic == fListeners.end())
    {
        return eIxlaNoListener;
    }
    const PListenerShare* const found = topic->second->find(iListener);
    if (found == topic->second->end())
    {
        return eIxlaNoListener;
    }
    const PReaderLock::Writer writer(fReaders);
    if (topic->second->size() == 1)
    {
        oRemoved = PListeners::share(*found);
        fSlots.share(*topic->second);
        fIndex.erase(topic->first);
        fListeners.erase(topic);
        return eIxlaOk;
    }
    return ixlaGuarded(
        [&]
        {
            PListeners& listeners = nl_ownListeners(topic->second);
            oRemoved = listeners.remove(listeners.find(iListener));
            return eIxlaOk;
        });
}

/// The list, used by the table only: replaced by a copy if deliveries use it. The reader lock is
/// closed.
PListeners& PEventDispatcher::nl_ownListeners(PListeners::Holder& ioListeners)
{
    if (ioListeners->isShared() || fSlots.isUsed(*ioListeners))
    {
        PListeners::Holder copy(new PListeners(*ioListeners));
        fSlots.share(*ioListeners);
        ioListeners = std::move(copy);
    }
    return *ioListeners;
}

IXLA_PASSES_THREAD_END void PEventDispatcher::deliver(const PListeners& iListeners, bool iTraced,
                                                      const PLiteral& iTopic, IBase* iParam1,
                                                      int iParam2) const
{
    const PListenerShare* const first = iListeners.begin();
    for (const PListenerShare* entry = iListeners.end(); entry != first;)
    {
        --entry;
        if (iTraced) [[unlikely]]
        {
            trace(L"[EventDispatcher][send] Notify listener: %p", _address(entry->listener));
        }
        try
        {
            // The result is ignored: a listener must not affect the delivery to the others.
            (void)entry->listener->handleEvent(iTopic, iParam1, iParam2);
        }
        catch (PThreadEnd&)
        {
            error(L"[EventDispatcher][send] Listener ended its thread: %p",
                  _address(entry->listener));
            throw;
        }
        catch (...)
        {
            error(L"[EventDispatcher][send] Listener threw an exception: %p",
                  _address(entry->listener));
        }
    }
}

void PEventDispatcher::releaseListeners(Topics& ioTopics) const
{
    for (auto& [topic, listeners] : ioTopics)
    {
        debug(L"[EventDispatcher][destructor] Not removed listeners for topic: %ls", topic.ptr());
        for (const PListenerShare& entry : *listeners)
        {
            debug(L"[EventDispatcher][destructor] Not removed listener: %p",
                  _address(entry.listener));
        }
        while (listeners->size() != 0)
        {
            PListeners::release("destructor", listeners->remove(listeners->begin()), fLogger.get());
        }
    }
}

int PEventDispatcher::lockFailed(const char* iOperation, int iCode) const
{
    error(L"[EventDispatcher][%s] Failed to lock err: %d", iOperation, iCode);
    return iCode;
}

int PEventDispatcher::unlockFailed(const char* iOperation, int iCode) const
{
    error(L"[EventDispatcher][%s] Failed to unlock err: %d", iOperation, iCode);
    return iCode;
}
