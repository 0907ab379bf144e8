// SPDX-License-Identifier: MIT
#include "events/PListeners.h"

#include "ILogger.h"
#include "PGuarded.h"
#include "portinglayer/PCancelGuard.h"
#include "portinglayer/PCodeOwner.h"

#include <algorithm>

namespace
{
/// Shorter lists are searched without a filter.
constexpr std::size_t kLongList = 32;

/// A reference to a listener that clear() drops.
struct Reference
{
    void clear() const
    {
        listener->decRef();
    }

    IEventListener* listener;
};
} // namespace

PListeners::PListeners(ILogger* iLogger) noexcept : fFirst(0), fReferences(1), fLogger(iLogger)
{
}

PListeners::PListeners(const PListeners& iOther)
    : fShares(iOther.begin(), iOther.end()), fFirst(0), fReferences(1), fLogger(iOther.fLogger)
{
    for (const PListenerShare& entry : *this)
    {
        (void)share(entry);
    }
}

PListeners::~PListeners()
{
    const PCancelGuard guard;
    for (const PListenerShare& entry : *this)
    {
        release("send", entry, fLogger);
    }
}

const PListenerShare* PListeners::find(const IEventListener* iListener) const noexcept
{
    const PListenerShare* last = end();
    for (const PListenerShare* first = begin(); first < last; ++first)
    {
        if (first->listener == iListener)
        {
            return first;
        }
        --last;
        if (last->listener == iListener)
        {
            return last;
        }
    }
    return end();
}

// The reference is taken last, so that no failure releases the caller's listener.
void PListeners::add(IEventListener& iListener)
{
    auto shares = std::make_unique<std::atomic<unsigned int>>(1);
    makeRoom();
    if (size() >= kLongList && fFilter.isFull())
    {
        refillFilter();
    }
    iListener.incRef();
    fShares.push_back({&iListener, shares.release()});
    fFilter.add(&iListener);
}

// With room for as many additions as it takes steps.
void PListeners::refillFilter()
{
    fFilter.clear(2 * size());
    for (const PListenerShare& entry : *this)
    {
        fFilter.add(entry.listener);
    }
}

// Entries are moved over removed ones only if there are as many of them, so that a move pays for
// many additions.
void PListeners::makeRoom()
{
    if (fFirst > size() && fShares.size() == fShares.capacity())
    {
        fShares.erase(fShares.begin(), fShares.end() - static_cast<std::ptrdiff_t>(size()));
        fFirst = 0;
    }
    if (fShares.size() == fShares.capacity())
    {
        fShares.reserve(fShares.size() + fShares.size() / 2 + 1);
    }
}

PListenerShare PListeners::remove(const PListenerShare* iEntry) noexcept
{
    const PListenerShare removed = *iEntry;
    const auto first = fShares.begin() + static_cast<std::ptrdiff_t>(fFirst);
    const auto place = first + (iEntry - begin());
    if (place - first < fShares.end() - place)
    {
        std::move_backward(first, place, place + 1);
        ++fFirst;
    }
    else
    {
        fShares.erase(place);
    }
    return removed;
}

PListenerShare PListeners::share(const PListenerShare& iEntry) noexcept
{
    iEntry.shares->fetch_add(1, std::memory_order_relaxed);
    return iEntry;
}

void PListeners::release(const char* iOperation, const PListenerShare& iShare, ILogger* iLogger)
{
    if (!iShare.listener || iShare.shares->fetch_sub(1, std::memory_order_acq_rel) != 1)
    {
        return;
    }
    delete iShare.shares;
    const PCodeOwner owner(iShare.listener);
    const void* const address = iShare.listener;
    Reference reference{iShare.listener};
    if (ixlaReleased(reference) || !iLogger)
    {
        return;
    }
    PString library;
    // After a failure the line has no library name.
    (void)owner.getPath(library);
    (void)iLogger->error(0,
                         L"[EventDispatcher][%s] Listener threw an exception when it was released: "
                         L"%p library: %ls",
                         iOperation, address, library.ptr());
}
