// SPDX-License-Identifier: MIT
/// @file
/// PPtr: a smart pointer to a heap object or array, shared by counting its copies.
#ifndef IXLAL_PPTR_H
#define IXLAL_PPTR_H

#include <type_traits>

/// The kind of memory that a PPtr frees.
enum EPtrType
{
    ePtrObject = 0, ///< a single object, freed with delete
    ePtrArray = 1   ///< an array made with new[], freed with delete[]
};

/// Holds a heap object or array. A holder and its copies form a holder group with one holder count;
/// the object is freed when the last of them is destroyed or cleared.
///
/// Field order, field sizes and the slot order of the virtual members are part of the binary
/// interface. The holder count is atomic: several threads may make and destroy copies of one group
/// at once. Two threads must not change one PPtr object at once.
template <class T>
class PPtr
{
public:
    /// An empty holder; allocates nothing.
    PPtr() noexcept : fPtr(nullptr), fCounter(nullptr), fType(ePtrObject)
    {
    }

    /// Starts a new holder group over iPtr. A null iPtr gives an empty holder.
    /// Throws std::bad_alloc when the holder count cannot be allocated; the caller then still owns
    /// iPtr.
    explicit PPtr(T* iPtr, int iType = ePtrObject) : PPtr()
    {
        start(iPtr, iType);
    }

    /// Joins the holder group of iOther.
    PPtr(const PPtr& iOther) : PPtr()
    {
        join(iOther);
    }

    /// Takes the share of ioOther, which is empty afterwards.
    PPtr(PPtr&& ioOther) noexcept : PPtr()
    {
        take(ioOther);
    }

    /// Leaves the holder group; the last holder frees the object.
    virtual ~PPtr()
    {
        if (leave())
        {
            PPtr::freePtr();
            delete fCounter;
        }
    }

    /// Leaves the present group and joins that of iOther. Assigning a holder to itself does
    /// nothing.
    PPtr& operator=(const PPtr& iOther)
    {
        if (this != &iOther)
        {
            assign(iOther);
        }
        return *this;
    }

    /// Leaves the present group and starts a new one over iPtr of the same EPtrType. Assigning the
    /// pointer already held does nothing. Throws std::bad_alloc when the holder count cannot be
    /// allocated; nothing has changed then, and the caller still owns iPtr.
    PPtr& operator=(T* iPtr)
    {
        replace(iPtr);
        return *this;
    }

    /// As the constructor from a pointer, but always takes ownership: when the holder count cannot
    /// be allocated, iPtr is freed and std::bad_alloc is thrown.
    static PPtr adopt(T* iPtr, int iType = ePtrObject)
    {
        try
        {
            return PPtr(iPtr, iType);
        }
        catch (...)
        {
            PPtr doomed;
            doomed.fPtr = iPtr;
            doomed.fType = iType;
            doomed.freePtr();
            doomed.fPtr = nullptr;
            throw;
        }
    }

    /// Leaves the group and empties this holder. An exception of the freed object's destructor is
    /// passed to the caller; the holder is empty then, too.
    void clear()
    {
        release();
        fPtr = nullptr;
        fCounter = nullptr;
        fType = ePtrObject;
    }

    /// The held pointer, borrowed from the group; null when empty.
    T* get() const noexcept
    {
        return fPtr;
    }

    /// As get(). The holder must not be empty.
    T* operator->() const noexcept
    {
        return fPtr;
    }

    /// The held object. The holder must not be empty.
    T& operator*() const noexcept
    {
        return *fPtr;
    }

    /// Whether it holds an object.
    explicit operator bool() const noexcept
    {
        return fPtr != nullptr;
    }

    /// The number of holders in the group; 0 when empty. It is a snapshot, unless the caller can
    /// rule out that another thread copies or destroys a holder of the group. A caller that finds
    /// its holder alone sees what other threads did with the object before they released theirs.
    unsigned int holders() const noexcept
    {
        return fCounter ? __atomic_load_n(fCounter, __ATOMIC_ACQUIRE) : 0u;
    }

protected:
    /// Called when a new holder group starts.
    virtual void newCounter()
    {
    }

    /// Frees the held object. Called when the last holder leaves the group.
    virtual void freePtr()
    {
        // A polymorphic class without a virtual destructor cannot be destroyed through its base:
        // only the memory is freed.
        typedef typename std::conditional<std::is_polymorphic<T>::value &&
                                              !std::has_virtual_destructor<T>::value,
                                          MemoryOnly, Destroyed>::type Destruction;
        if (fPtr)
        {
            freeAs(Destruction());
        }
    }

    /// Starts a group over iPtr. This holder must be empty.
    void start(T* iPtr, int iType)
    {
        if (iPtr)
        {
            fCounter = new unsigned int(0);
        }
        fPtr = iPtr;
        fType = iType;
        if (iPtr)
        {
            newCounter();
            enter();
        }
    }

    /// Joins the group of iOther. This holder must be empty.
    void join(const PPtr& iOther)
    {
        fPtr = iOther.fPtr;
        fCounter = iOther.fCounter;
        fType = iOther.fType;
        if (!fPtr)
        {
            return;
        }
        if (!fCounter)
        {
            fCounter = new unsigned int(0);
            newCounter();
        }
        enter();
    }

    /// Leaves the group and joins that of iOther. Joins first, because freeing the old object may
    /// destroy iOther.
    void assign(const PPtr& iOther)
    {
        PPtr incoming(iOther.fPtr, iOther.fCounter, iOther.fType);
        const bool starts = incoming.fPtr && !incoming.fCounter;
        if (starts)
        {
            incoming.fCounter = new unsigned int(0);
        }
        if (incoming.fPtr)
        {
            incoming.enter();
        }
        release();
        take(incoming);
        if (starts)
        {
            newCounter();
        }
    }

    /// Leaves the group and starts one over iPtr, unless it already holds iPtr.
    void replace(T* iPtr)
    {
        if (iPtr == fPtr)
        {
            return;
        }
        PPtr incoming(nullptr, iPtr ? new unsigned int(0) : nullptr, fType);
        const Count unused(incoming);
        release();
        fPtr = iPtr;
        fCounter = incoming.fCounter;
        incoming.fCounter = nullptr;
        if (iPtr)
        {
            newCounter();
            enter();
        }
    }

    /// Takes the share of ioOther, which is empty afterwards.
    void take(PPtr& ioOther) noexcept
    {
        fPtr = ioOther.fPtr;
        fCounter = ioOther.fCounter;
        fType = ioOther.fType;
        ioOther.fPtr = nullptr;
        ioOther.fCounter = nullptr;
        ioOther.fType = ePtrObject;
    }

    /// Removes this holder from the count; true when it was the last one.
    bool leave() noexcept
    {
        return fPtr && fCounter && __atomic_sub_fetch(fCounter, 1u, __ATOMIC_ACQ_REL) == 0;
    }

    /// Removes this holder from the count; the last holder frees the object.
    void release()
    {
        if (leave())
        {
            const Count last(*this);
            freePtr();
        }
    }

    T* fPtr;                ///< null when empty
    unsigned int* fCounter; ///< the number of holders in the group
    int fType;              ///< an EPtrType

private:
    /// Deletes the count of a holder and empties the holder at the end of a scope, because freeing
    /// the object may throw.
    struct Count
    {
        explicit Count(PPtr& ioHolder) noexcept : fHolder(ioHolder)
        {
        }

        ~Count()
        {
            delete fHolder.fCounter;
            fHolder.fCounter = nullptr;
            fHolder.fPtr = nullptr;
        }

        PPtr& fHolder;
    };
    struct Destroyed
    {
    };
    struct MemoryOnly
    {
    };

    PPtr(T* iPtr, unsigned int* iCounter, int iType) noexcept
        : fPtr(iPtr), fCounter(iCounter), fType(iType)
    {
    }

    void enter() noexcept
    {
        __atomic_add_fetch(fCounter, 1u, __ATOMIC_RELAXED);
    }

    void freeAs(Destroyed)
    {
        if (fType == ePtrObject)
        {
            delete fPtr;
        }
        else if (fType == ePtrArray)
        {
            delete[] fPtr;
        }
    }

    void freeAs(MemoryOnly)
    {
        if (fType == ePtrObject)
        {
            ::operator delete(static_cast<void*>(fPtr));
        }
        else if (fType == ePtrArray)
        {
            ::operator delete[](static_cast<void*>(fPtr));
        }
    }
};

#if defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ == 4
static_assert(sizeof(PPtr<int>) == 16, "PPtr is part of the binary interface");
#endif

#endif
