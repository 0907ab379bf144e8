// SPDX-License-Identifier: MIT
#include "events/PEventDispatcher.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "core/PHeldService.h"
#include "logger/PLogger.h"
#include "logging/PLoggerImpl.h"
#include "portinglayer/PCancelGuard.h"
#include "portinglayer/PCodeOwner.h"
#include "portinglayer/PLockGuard.h"

#include <algorithm>

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
    if (fLogFile && fLogFile->isLogged(kTraceLevel)) [[unlikely]]
    {
        (void)fLogger->debug(kTraceLevel, iFormat, iArgs...);
    }
}

template <class... TArgs>
void PEventDispatcher::error(const wchar_t* iFormat, TArgs... iArgs) const
{
    if (fLogger)
    {
        (void)fLogger->error(0, iFormat, iArgs...);
    }
}

PEventDispatcher::Listeners::Listeners(const PEventDispatcher& iDispatcher)
    : fDispatcher(iDispatcher)
{
}

PEventDispatcher::Listeners::~Listeners()
{
    const PCancelGuard guard;
    for (PBaseptr<IEventListener>& listener : *this)
    {
        fDispatcher.release("send", listener);
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
    }
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
    // Declared before the lock, because a possible last reference is never released under the lock.
    PBaseptr<IEventListener> removed;
    PLockGuard lock(fMutex);
    if (lock.result() != 0)
    {
        return lockFailed("removeListener", lock.result());
    }
    const int result = nl_removeListener(iTopic, iListener, removed);
    if (const int code = lock.unlock())
    {
        return unlockFailed("removeListener", code);
    }
    release("removeListener", removed);
    debug(L"[EventDispatcher][removeListener] res: %d", result);
    return result;
}

int PEventDispatcher::send(const PLiteral& iTopic, IBase* iParam1, int iParam2)
{
    trace(L"[EventDispatcher][send] iTopic: %ls iParam1: %p iParam2: %d", iTopic.ptr(),
          _address(iParam1), iParam2);
    if (iTopic.len() == 0)
    {
        error(L"[EventDispatcher][send] Invalid topic!");
        return eIxlaInvalidArgument;
    }

    // Declared before the lock, so that it is destroyed without it: it may have the last reference
    // to a listener that was removed during the delivery.
    PPtr<Listeners> listeners;
    PLockGuard lock(fMutex);
    if (lock.result() != 0)
    {
        return lockFailed("send", lock.result());
    }
    const int result = nl_findListeners(iTopic, listeners);
    if (const int code = lock.unlock())
    {
        return unlockFailed("send", code);
    }
    if (result == eIxlaOk)
    {
        deliver(*listeners, iTopic, iParam1, iParam2);
    }
    trace(L"[EventDispatcher][send] res: %d", result);
    return result;
}

int PEventDispatcher::nl_addListener(const PLiteral& iTopic, IEventListener* iListener)
{
    const Topics::iterator topic = fListeners.find(iTopic);
    if (topic == fListeners.end())
    {
        return nl_addTopic(iTopic, iListener);
    }
    if (_findListener(*topic->second, iListener) != topic->second->end())
    {
        return eIxlaListenerExists;
    }
    return ixlaGuarded(
        [&]
        {
            // Emplaced, because a temporary holder would release, and perhaps destroy, the caller's
            // listener if there is no memory for the vector.
            nl_ownListeners(topic->second).emplace_back(iListener);
            return eIxlaOk;
        });
}

int PEventDispatcher::nl_addTopic(const PLiteral& iTopic, IEventListener* iListener)
{
    // Built outside the table, so that the table never contains a topic without a listener. merge
    // moves the entry without changing its address.
    Topics fresh;
    Index* const index = &fIndex;
    const int result = ixlaGuarded(
        [&]
        {
            const auto topic = fresh.emplace(PString(iTopic), PPtr<Listeners>()).first;
            _hold(std::make_unique<Listeners>(*this), topic->second);
            index->emplace(topic->first, &topic->second);
            // Emplaced last, so that no later failure releases the listener of the caller.
            topic->second->emplace_back(iListener);
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
                                        PBaseptr<IEventListener>& oRemoved)
{
    const Topics::iterator topic = fListeners.find(iTopic);
    if (topic == fListeners.end())
    {
        return eIxlaNoListener;
    }
    const Listeners::iterator found = _findListener(*topic->second, iListener);
    if (found == topic->second->end())
    {
        return eIxlaNoListener;
    }
    oRemoved = *found;
    if (topic->second->size() == 1)
    {
        fIndex.erase(topic->first);
        fListeners.erase(topic);
        return eIxlaOk;
    }
    const auto place = found - topic->second->begin();
    return ixlaGuarded(
        [&]
        {
            Listeners& listeners = nl_ownListeners(topic->second);
            listeners.erase(listeners.begin() + place);
            return eIxlaOk;
        });
}

int PEventDispatcher::nl_findListeners(const PLiteral& iTopic, PPtr<Listeners>& oListeners) const
{
    const auto found = fIndex.find(iTopic);
    if (found == fIndex.end())
    {
        return eIxlaNoListener;
    }
    oListeners = *found->second;
    return eIxlaOk;
}

void PEventDispatcher::_hold(std::unique_ptr<Listeners> iListeners, PPtr<Listeners>& oHolder)
{
    oHolder = iListeners.get();
    // The holder owns the list now.
    static_cast<void>(iListeners.release());
}

/// The list, used by the table only: replaced by a copy if deliveries share it.
PEventDispatcher::Listeners& PEventDispatcher::nl_ownListeners(PPtr<Listeners>& ioListeners)
{
    if (ioListeners.holders() > 1)
    {
        _hold(std::make_unique<Listeners>(*ioListeners), ioListeners);
    }
    return *ioListeners;
}

PEventDispatcher::Listeners::iterator
PEventDispatcher::_findListener(Listeners& ioListeners, const IEventListener* iListener)
{
    return std::find_if(ioListeners.begin(), ioListeners.end(),
                        [iListener](const PBaseptr<IEventListener>& iEntry)
                        { return iEntry.get() == iListener; });
}

IXLA_PASSES_THREAD_END void PEventDispatcher::deliver(const Listeners& iListeners,
                                                      const PLiteral& iTopic, IBase* iParam1,
                                                      int iParam2) const
{
    for (auto entry = iListeners.rbegin(); entry != iListeners.rend(); ++entry)
    {
        trace(L"[EventDispatcher][send] Notify listener: %p", _address(entry->get()));
        try
        {
            // The result is ignored: a listener must not affect the delivery to the others.
            (void)(*entry)->handleEvent(iTopic, iParam1, iParam2);
        }
        catch (PThreadEnd&)
        {
            error(L"[EventDispatcher][send] Listener ended its thread: %p", _address(entry->get()));
            throw;
        }
        catch (...)
        {
            error(L"[EventDispatcher][send] Listener threw an exception: %p",
                  _address(entry->get()));
        }
    }
}

void PEventDispatcher::releaseListeners(Topics& ioTopics) const
{
    for (auto& [topic, listeners] : ioTopics)
    {
        debug(L"[EventDispatcher][destructor] Not removed listeners for topic: %ls", topic.ptr());
        for (const PBaseptr<IEventListener>& listener : *listeners)
        {
            debug(L"[EventDispatcher][destructor] Not removed listener: %p",
                  _address(listener.get()));
        }
        for (PBaseptr<IEventListener>& listener : *listeners)
        {
            release("destructor", listener);
        }
        listeners.clear();
    }
}

void PEventDispatcher::release(const char* iOperation, PBaseptr<IEventListener>& ioListener) const
{
    const void* const listener = _address(ioListener.get());
    if (!listener)
    {
        return;
    }
    const PCodeOwner owner(listener);
    if (!ixlaReleased(ioListener))
    {
        PString library;
        // After a failure the line has no library name.
        (void)owner.getPath(library);
        error(L"[EventDispatcher][%s] Listener threw an exception when it was released: %p "
              L"library: %ls",
              iOperation, listener, library.ptr());
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
