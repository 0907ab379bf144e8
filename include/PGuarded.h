// SPDX-License-Identifier: MIT
/// @file
/// PGuarded: converts the exceptions of an interface operation to result codes.
#ifndef IXLAL_PGUARDED_H
#define IXLAL_PGUARDED_H

#include "Ixla.h"
#include "portinglayer/PThreadEnd.h"

#include <new>

/// Runs iFunction, which returns a result code, and returns its result. std::bad_alloc becomes
/// -501, any other exception iOtherwise. Only the unwinding of a thread that ends inside iFunction
/// is passed on.
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

/// Clears a holder. False when the release threw an exception; the holder is empty then, too. Only
/// the unwinding of a thread that ends during the release is passed on.
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
