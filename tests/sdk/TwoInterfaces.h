// SPDX-License-Identifier: MIT
// IFirst, ISecond, PBoth: a service with two interfaces.
#ifndef IXLAL_TESTS_TWOINTERFACES_H
#define IXLAL_TESTS_TWOINTERFACES_H

#include "helpers/PService.h"

constexpr wchar_t kFirstInterfaceId[] = L"test.interfaces.first";
constexpr wchar_t kSecondInterfaceId[] = L"test.interfaces.second";

class IFirst : public IBase
{
public:
    virtual int first() = 0;
};

class ISecond : public IBase
{
public:
    virtual int second() = 0;
};

/// Returns 1 from first() and 2 from second().
class PBoth : public PService<IFirst, ISecond>
{
public:
    int first() override
    {
        return 1;
    }

    int second() override
    {
        return 2;
    }
};

#endif
