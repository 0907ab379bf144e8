// SPDX-License-Identifier: MIT
// PListeners: the listeners of a topic.
#ifndef IXLAL_PLISTENERS_H
#define IXLAL_PLISTENERS_H

#include "IEventListener.h"
#include "events/PListenerFilter.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

class ILogger;

/// A share in a subscription. The list of a topic and the copies of it that deliveries still use
/// have a share each; the last one to be released drops the reference to the listener.
struct PListenerShare
{
    IEventListener* listener = nullptr;
    std::atomic<unsigned int>* shares = nullptr; ///< in the order of a reference count
};

/// The listeners of a topic in the order of subscription, each once. The table and some deliveries
/// hold references to it; the other deliveries use it through a PDeliverySlots. It is changed only
/// while no delivery uses it.
class PListeners
{
public:
    /// Drops a reference to a list.
    struct Leave
    {
        void operator()(PListeners* iListeners) const noexcept
        {
            iListeners->leave();
        }
    };
    typedef std::unique_ptr<PListeners, Leave> Holder;

    /// An empty list with one reference. The log gets the exceptions of listeners that are
    /// released; it is borrowed and may be null.
    explicit PListeners(ILogger* iLogger) noexcept;

    /// A copy with one reference; it shares the subscriptions. Throws std::bad_alloc.
    PListeners(const PListeners& iOther);

    PListeners& operator=(const PListeners&) = delete;

    /// Releases the shares; the thread is not cancelled in the destructor of a listener.
    ~PListeners();

    /// Adds a reference for a delivery.
    void enter() noexcept
    {
        fReferences.fetch_add(1, std::memory_order_relaxed);
    }

    /// Drops a reference; the last one destroys the list.
    void leave() noexcept
    {
        if (fReferences.fetch_sub(1, std::memory_order_acq_rel) == 1)
        {
            delete this;
        }
    }

    /// Whether a delivery has a reference. The caller excludes new ones.
    bool isShared() const noexcept
    {
        return fReferences.load(std::memory_order_acquire) != 1;
    }

    const PListenerShare* begin() const noexcept
    {
        return fShares.data() + fFirst;
    }

    const PListenerShare* end() const noexcept
    {
        return fShares.data() + fShares.size();
    }

    std::size_t size() const noexcept
    {
        return fShares.size() - fFirst;
    }

    /// The entry of iListener, or end(). Finds the first and the last one at once.
    const PListenerShare* find(const IEventListener* iListener) const noexcept;

    /// Whether iListener is in the list. Takes the same time for most listeners that are not.
    bool has(const IEventListener* iListener) const noexcept
    {
        return fFilter.passes(iListener) && find(iListener) != end();
    }

    /// Takes a reference to iListener, which is not in the list. Throws std::bad_alloc; nothing
    /// has changed then.
    void add(IEventListener& iListener);

    /// Removes an entry and returns its share. Moves the entries on the shorter side.
    PListenerShare remove(const PListenerShare* iEntry) noexcept;

    /// Another share of an entry.
    static PListenerShare share(const PListenerShare& iEntry) noexcept;

    /// Releases a share; logs an exception of the listener in iOperation. Does nothing for an empty
    /// one.
    static void release(const char* iOperation, const PListenerShare& iShare, ILogger* iLogger);

private:
    void makeRoom();
    void refillFilter();

    std::vector<PListenerShare> fShares;
    std::size_t fFirst; ///< entries before it are removed
    /// All listeners of a long list, unless it is empty. Deliveries do not use it.
    PListenerFilter fFilter;
    /// Relaxed order to add one; acquire and release order to drop one, so that the last user sees
    /// that the others are done.
    std::atomic<unsigned int> fReferences;
    ILogger* const fLogger;
};

#endif
