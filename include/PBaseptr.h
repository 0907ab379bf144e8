// SPDX-License-Identifier: MIT
// PBaseptr: the holder of reference-counted interfaces.
#ifndef IXLAL_PBASEPTR_H
#define IXLAL_PBASEPTR_H

#include "PPtr.h"

/// Holds an object that counts its own references (see IBase). One holder group adds exactly one
/// reference to the object, however many copies the group has.
///
/// Wrapping a pointer shares the object: the group's reference comes on top of those that exist.
/// A borrowed pointer, such as ixlaGetInstance hands out, is kept by wrapping it. Threads: see
/// PPtr.
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

    /// Takes over the share of iOther, which is empty afterwards.
    PBaseptr(PBaseptr&& ioOther) noexcept : PPtr<T>(static_cast<PPtr<T>&&>(ioOther))
    {
    }

    /// Leaves the holder group; the last one to leave drops the group's reference.
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
    /// held does nothing, so it adds no reference either.
    PBaseptr& operator=(T* iPtr)
    {
        this->replace(iPtr);
        return *this;
    }

    /// Wraps a new object, whose count is 0, and takes it over in every case: when the holder
    /// count cannot be allocated the object is destroyed before std::bad_alloc goes on.
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
