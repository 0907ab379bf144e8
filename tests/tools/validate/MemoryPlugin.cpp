// SPDX-License-Identifier: MIT
// A plugin with the memory errors that FLAW in the environment names; without one it has none.

#include "helpers/PPlugin.h"

#include <climits>
#include <cstdlib>
#include <cstring>

namespace
{
// Volatile: the compiler must neither drop nor report the errors.
char* volatile sBytes;
volatile char sByte;
volatile int sNumber = INT_MAX;

bool _has(const char* iFlaw)
{
    const char* const flaw = std::getenv("FLAW");
    return flaw && std::strstr(flaw, iFlaw);
}

void _overflow()
{
    sBytes = new char[3];
    char* const bytes = sBytes;
    bytes[3] = 1;
    delete[] bytes;
}

void _useFreed()
{
    sBytes = new char[3];
    char* const bytes = sBytes;
    delete[] bytes;
    sByte = sBytes[0];
}

void _useUninitialised()
{
    sBytes = new char[3];
    if (sBytes[1] == 3)
    {
        sByte = 1;
    }
    delete[] sBytes;
}

void _overflowNumber()
{
    sNumber = sNumber + 1;
}

void _leak()
{
    sBytes = new char[77];
    sBytes = nullptr;
}

class Service : public PService<IBase>
{
public:
    int onInit() override
    {
        if (_has("uninitialised"))
        {
            _useUninitialised();
        }
        if (_has("overflow"))
        {
            _overflow();
        }
        if (_has("number"))
        {
            _overflowNumber();
        }
        if (_has("freed"))
        {
            _useFreed();
        }
        if (_has("leak"))
        {
            _leak();
        }
        return 0;
    }
};

class MemoryPlugin : public PPlugin
{
public:
    MemoryPlugin()
    {
        offer<Service>(L"test.memory");
    }
};
} // namespace

IXLA_PLUGIN(MemoryPlugin)
