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
    // The results depend on the state of the core; the test only needs the calls to return. The
    // second one takes the core's lock, which the lookup of an initialised plugin does not.
    (void)ixlaGetInstance(kIxlaLoggerId, instance);
    (void)ixlaUnloadPlugin(nullptr);
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
