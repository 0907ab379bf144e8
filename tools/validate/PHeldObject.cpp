// SPDX-License-Identifier: MIT
#include "validate/PHeldObject.h"

#include <algorithm>

namespace
{
/// More than a plugin takes during a check.
constexpr int kReferences = 1000;
} // namespace

PHeldObject::PHeldObject(IBase& ioObject) : fObject(&ioObject)
{
    change(*fObject, kReferences);
}

int PHeldObject::others() const
{
    const int count = fObject->incRef();
    static_cast<void>(fObject->decRef());
    return count - 1 - kReferences;
}

bool PHeldObject::sharesCount(const PHeldObject& iOther) const
{
    const int before = fObject->incRef();
    change(*iOther.fObject, kReferences);
    const int after = fObject->incRef();
    change(*iOther.fObject, -kReferences);
    change(*fObject, -2);
    return after - before > kReferences / 2; // other threads may change the count meanwhile
}

void PHeldObject::drop()
{
    change(*fObject, -kReferences - std::min(others(), 0));
}

void PHeldObject::change(IBase& ioObject, int iReferences)
{
    for (; iReferences > 0; --iReferences)
    {
        static_cast<void>(ioObject.incRef());
    }
    for (; iReferences < 0; ++iReferences)
    {
        static_cast<void>(ioObject.decRef());
    }
}
