// SPDX-License-Identifier: MIT
// PGuarded: keeps exceptions inside an interface operation.
#ifndef IXLAL_PGUARDED_H
#define IXLAL_PGUARDED_H

#include "Ixla.h"
#include "portinglayer/PThreadEnd.h"

#include <new>

/// Runs iFunction, which returns a result code, and returns its result. Lack of memory becomes
/// -501, any other exception iOtherwise. Only a thread that ends inside iFunction passes through.
template <class TFunction>
IXLA_PASSES_THREAD_END int ixlaGuarded(const TFunction& iFunction, int iOtherwise = eIxlaNoMemory)
{
    try
    {
        return iFunction();
    }
    catch (const std::bad_alloc&)
    {
        return eIxlaNoMemory;
    }
    catch (PThreadEnd&)
    {
        passThreadEnd();
    }
    catch (...)
    {
        return iOtherwise;
    }
}

/// Empties a holder. False when what it held threw an exception while it was released; the holder
/// is empty all the same. Only a thread that ends meanwhile passes through.
template <class THolder>
bool ixlaReleased(THolder& ioHolder)
{
    try
    {
        ioHolder.clear();
        return true;
    }
    catch (PThreadEnd&)
    {
        passThreadEnd();
    }
    catch (...)
    {
        return false;
    }
}

#endif
