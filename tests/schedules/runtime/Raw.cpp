// SPDX-License-Identifier: MIT
#include "Raw.h"

#include <cstdlib>
#include <initializer_list>

namespace schedules
{
namespace
{
template <class F>
void _find(F*& oFunction, const char* iName)
{
    oFunction = reinterpret_cast<F*>(Raw::find(iName));
}

// dlsym itself is replaced, and its version differs between processors.
void* _dlsym()
{
    for (const char* version : {"GLIBC_2.34", "GLIBC_2.4", "GLIBC_2.2.5", "GLIBC_2.0"})
    {
        if (void* found = dlvsym(RTLD_NEXT, "dlsym", version))
        {
            return found;
        }
    }
    std::abort();
}

Raw _all()
{
    Raw raw{};
    raw.dlsym = reinterpret_cast<void* (*)(void*, const char*)>(_dlsym());
    _find(raw.dlopen, "dlopen");
    _find(raw.dlclose, "dlclose");
    _find(raw.dladdr, "dladdr");
    _find(raw.dladdr1, "dladdr1");
    _find(raw.dlinfo, "dlinfo");
    _find(raw.pthreadCreate, "pthread_create");
    _find(raw.pthreadJoin, "pthread_join");
    _find(raw.pthreadDetach, "pthread_detach");
    _find(raw.syscall, "syscall");
    _find(raw.fork, "fork");
    _find(raw.pread, "pread64");
    // Under the names that the headers give them for 64-bit sizes and times.
    _find(raw.stat, "__stat64_time64");
    _find(raw.fstat, "__fstat64_time64");
    _find(raw.mkdir, "mkdir");
    return raw;
}
} // namespace

void* Raw::find(const char* iName)
{
    static void* (*const sDlsym)(void*, const char*) =
        reinterpret_cast<void* (*)(void*, const char*)>(_dlsym());
    void* found = sDlsym(RTLD_NEXT, iName);
    if (!found)
    {
        std::abort();
    }
    return found;
}

const Raw& Raw::get()
{
    static const Raw sRaw = _all();
    return sRaw;
}
} // namespace schedules
