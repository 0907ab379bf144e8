// SPDX-License-Identifier: MIT
// The loader: its own lock is stood for by one that the scheduler sees, so that a thread that runs
// a library's constructors can be left without blocking the process.

#include "Export.h"
#include "Locks.h"
#include "Race.h"
#include "Raw.h"

#include <dlfcn.h>
#include <link.h>

using namespace schedules;

namespace
{
/// The loader's lock, for the rest of a block.
class LoaderLock
{
public:
    explicit LoaderLock(std::uintptr_t iFrom) : fThread(Scheduler::current())
    {
        if (fThread)
        {
            const Scheduler::Location location(*fThread, iFrom);
            Locks::lock(Locks::loader(), true, false);
        }
    }
    ~LoaderLock()
    {
        if (fThread)
        {
            Locks::unlock(Locks::loader());
        }
    }
    LoaderLock(const LoaderLock&) = delete;
    LoaderLock& operator=(const LoaderLock&) = delete;

private:
    Thread* fThread;
};

struct Segments
{
    static constexpr unsigned kMost = 16;

    std::uintptr_t base;
    std::uintptr_t begins[kMost];
    std::size_t sizes[kMost];
    unsigned count;
    bool found;
};

int _visit(dl_phdr_info* iInfo, std::size_t, void* oSegments)
{
    Segments& segments = *static_cast<Segments*>(oSegments);
    if (iInfo->dlpi_addr != segments.base)
    {
        return 0;
    }
    segments.found = true;
    segments.count = 0;
    for (unsigned i = 0; i < iInfo->dlpi_phnum && segments.count < Segments::kMost; ++i)
    {
        const ElfW(Phdr)& header = iInfo->dlpi_phdr[i];
        if (header.p_type == PT_LOAD)
        {
            segments.begins[segments.count] = segments.base + header.p_vaddr;
            segments.sizes[segments.count++] = header.p_memsz;
        }
    }
    return 1;
}

/// Another library may be mapped where this one was.
void _forget(Segments& ioSegments)
{
    ioSegments.found = false;
    Segments now = ioSegments;
    dl_iterate_phdr(_visit, &now);
    if (now.found)
    {
        return;
    }
    for (unsigned i = 0; i < ioSegments.count; ++i)
    {
        Race::forget(ioSegments.begins[i], ioSegments.sizes[i]);
    }
}
} // namespace

SCHEDULES_EXPORT void* dlopen(const char* iPath, int iFlags)
{
    const LoaderLock lock(SCHEDULES_CALLER);
    return Raw::get().dlopen(iPath, iFlags);
}

SCHEDULES_EXPORT int dlclose(void* ioLibrary)
{
    const LoaderLock lock(SCHEDULES_CALLER);
    if (!Scheduler::current())
    {
        return Raw::get().dlclose(ioLibrary);
    }
    Segments segments{};
    segments.base = static_cast<const link_map*>(ioLibrary)->l_addr;
    dl_iterate_phdr(_visit, &segments);
    const int result = Raw::get().dlclose(ioLibrary);
    _forget(segments);
    return result;
}

SCHEDULES_EXPORT void* dlsym(void* iLibrary, const char* iName)
{
    const LoaderLock lock(SCHEDULES_CALLER);
    return Raw::get().dlsym(iLibrary, iName);
}

SCHEDULES_EXPORT int dladdr(const void* iAddress, Dl_info* oInfo)
{
    const LoaderLock lock(SCHEDULES_CALLER);
    return Raw::get().dladdr(iAddress, oInfo);
}

SCHEDULES_EXPORT int dladdr1(const void* iAddress, Dl_info* oInfo, void** oExtra, int iFlags)
{
    const LoaderLock lock(SCHEDULES_CALLER);
    return Raw::get().dladdr1(iAddress, oInfo, oExtra, iFlags);
}

SCHEDULES_EXPORT int dlinfo(void* iLibrary, int iRequest, void* oInfo)
{
    const LoaderLock lock(SCHEDULES_CALLER);
    return Raw::get().dlinfo(iLibrary, iRequest, oInfo);
}
