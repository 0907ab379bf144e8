// SPDX-License-Identifier: MIT
// IHello: the service of the minimal plugin, as its users see it.
#ifndef IXLAL_EXAMPLES_IHELLO_H
#define IXLAL_EXAMPLES_IHELLO_H

#include "IBase.h"

constexpr wchar_t kHelloId[] = L"com.example.ixla.hello";

class IHello : public IBase
{
public:
    /// Returns what somebody who calls for the iCount-th time is told.
    virtual const wchar_t* greet(int iCount) = 0;
};

#endif
