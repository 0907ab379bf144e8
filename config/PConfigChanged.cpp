// SPDX-License-Identifier: MIT
#include "config/PConfigChanged.h"

#include "config/PConfigResult.h"

PConfigChanged::PConfigChanged(EConfigChnagedType iType, const PLiteral& iID, const PLiteral& iKey,
                               const PLiteral& iAttribute)
    : fRefCount(0), fType(iType), fID(iID), fKey(iKey), fAttribute(iAttribute)
{
}

int PConfigChanged::incRef() noexcept
{
    return ++fRefCount;
}

int PConfigChanged::decRef() noexcept
{
    const int count = fRefCount.change(-1);
    if (count == 0)
    {
        delete this;
    }
    return count;
}

IConfigChanged::EConfigChnagedType PConfigChanged::getType() const noexcept
{
    return fType;
}

int PConfigChanged::getID(PString& oID) const noexcept
{
    return configResult(oID.set(fID));
}

int PConfigChanged::getKey(PString& oKey) const noexcept
{
    return configResult(oKey.set(fKey));
}

int PConfigChanged::getAttribute(PString& oAttribute) const noexcept
{
    return configResult(oAttribute.set(fAttribute));
}
