// SPDX-License-Identifier: MIT
// IHello: the interface of the minimal plugin's service.
#ifndef IXLAL_EXAMPLES_IHELLO_H
#define IXLAL_EXAMPLES_IHELLO_H

#include "IBase.h"

constexpr wchar_t kHelloId[] = L"com.example.ixla.hello";

class IHello : public IBase
{
public:
    /// Returns the greeting for call number iCount.
    virtual const wchar_t* greet(int iCount) = 0;
};

#endif
