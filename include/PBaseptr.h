// SPDX-License-Identifier: MIT
// PBaseptr: the smart pointer to reference-counted interfaces.
#ifndef IXLAL_PBASEPTR_H
#define IXLAL_PBASEPTR_H

#include "PPtr.h"

/// Holds an object that counts its own references (see IBase). One holder group adds exactly one
/// reference to the object, however many copies the group has.
///
/// Wrapping a pointer shares the object: the group adds its own reference to those that exist.
/// Wrap a borrowed pointer, such as that of ixlaGetInstance, to keep it. PPtr says which threads
/// may use a holder.
template <class T>
class PBaseptr : public PPtr<T>
{
public:
    /// An empty holder.
    PBaseptr() noexcept
    {
    }

    /// Starts a new holder group over iPtr and adds one reference to it. A null iPtr gives an
    /// empty holder. Throws std::bad_alloc when the holder count cannot be allocated; iPtr is
    /// then untouched.
    explicit PBaseptr(T* iPtr, int iType = ePtrObject)
    {
        this->start(iPtr, iType);
    }

    /// Joins the holder group of iOther; adds no reference to the object.
    PBaseptr(const PBaseptr& iOther) : PPtr<T>()
    {
        this->join(iOther);
    }

    /// Takes the share of ioOther, which is empty afterwards.
    PBaseptr(PBaseptr&& ioOther) noexcept : PPtr<T>(static_cast<PPtr<T>&&>(ioOther))
    {
    }

    /// Leaves the holder group; the last holder drops the group's reference.
    ~PBaseptr() override
    {
        if (this->leave())
        {
            PBaseptr::freePtr();
            delete this->fCounter;
        }
        this->fPtr = nullptr;
        this->fCounter = nullptr;
    }

    /// Leaves the present group and joins that of iOther.
    PBaseptr& operator=(const PBaseptr& iOther)
    {
        PPtr<T>::operator=(iOther);
        return *this;
    }

    /// Leaves the present group and starts a new one over iPtr. Assigning the pointer already
    /// held does nothing and adds no reference.
    PBaseptr& operator=(T* iPtr)
    {
        this->replace(iPtr);
        return *this;
    }

    /// Wraps a new object, whose count is 0, and always takes ownership: when the holder count
    /// cannot be allocated, the object is destroyed and std::bad_alloc is thrown.
    static PBaseptr adopt(T* iPtr)
    {
        try
        {
            return PBaseptr(iPtr);
        }
        catch (...)
        {
            if (iPtr)
            {
                iPtr->incRef();
                iPtr->decRef();
            }
            throw;
        }
    }

protected:
    void newCounter() override
    {
        if (this->fPtr)
        {
            this->fPtr->incRef();
        }
    }

    void freePtr() override
    {
        if (this->fPtr)
        {
            this->fPtr->decRef();
        }
    }
};

#endif
