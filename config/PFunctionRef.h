// SPDX-License-Identifier: MIT
// PFunctionRef: refers to a function object of any type.
#ifndef IXLAL_PFUNCTIONREF_H
#define IXLAL_PFUNCTIONREF_H

#include "portinglayer/PThreadSafety.h"

#include <utility>

template <class TSignature>
class PFunctionRef;

/// Lets one ordinary function take function objects of all types, so that its code exists once. It
/// borrows the function object, which must outlive it: use it for arguments only.
template <class TResult, class... TArgument>
class PFunctionRef<TResult(TArgument...)>
{
public:
    template <class TFunction>
    // cppcheck-suppress noExplicitConstructor ; function objects convert when they are passed
    PFunctionRef(const TFunction& iFunction) noexcept
        : fFunction(&iFunction), fCall(&_call<TFunction>)
    {
    }

    TResult operator()(TArgument... iArguments) const
    {
        return fCall(fFunction, std::forward<TArgument>(iArguments)...);
    }

private:
    // The function that takes the reference holds the locks that the function object needs.
    template <class TFunction>
    static TResult _call(const void* iFunction,
                         TArgument... iArguments) IXLA_NO_THREAD_SAFETY_ANALYSIS
    {
        return (*static_cast<const TFunction*>(iFunction))(std::forward<TArgument>(iArguments)...);
    }

    const void* fFunction;
    TResult (*fCall)(const void*, TArgument...);
};

#endif
