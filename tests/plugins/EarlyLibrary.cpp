// SPDX-License-Identifier: MIT
// A library that calls the core while the loader maps it, and again while the loader unmaps it.

#include "Ixla.h"

extern "C" int ixlalTestStep(const char* iStep);

namespace
{
void _call(const char* iBefore, const char* iAfter)
{
    ixlalTestStep(iBefore);
    IBase* instance = nullptr;
    // The result depends on the state of the core; the test only needs the call to return.
    (void)ixlaGetInstance(kIxlaLoggerId, instance);
    ixlalTestStep(iAfter);
}

struct Caller
{
    Caller()
    {
        _call("early.mapping", "early.mapped");
    }

    ~Caller()
    {
        _call("early.unmapping", "early.unmapped");
    }
};

const Caller sCaller;
} // namespace
