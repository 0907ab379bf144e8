// SPDX-License-Identifier: MIT
// Checks sizes against limits: of the core library, of a running core without plugins, and of each
// interface, key, listener and plugin. Fails when a limit is exceeded.
//
// The program itself is not linked with the core, so that the memory of a running core can be
// measured as the difference to a process without it. The difference includes the pages of the
// core's libraries, but not those of the library that starts it.

#include "sizes/SizeProbe.h"
#include "support/BenchDir.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace
{
constexpr long long kLibraryLimit = 250 * 1024;
constexpr long long kCoreLimit = 600 * 1024;
constexpr long long kWrittenLimit = 100 * 1024;
constexpr char kProbeFile[] = "/libsizeprobe.so";

/// What one of many takes. The highest count leaves the growth of containers out of the figure.
struct Sized
{
    const char* name;
    ESized what;
    int count;
    long long limit;
};
constexpr Sized kSized[] = {{"allocated for each registered interface", eInterfaces, 10000, 300},
                            {"allocated for each key of a loaded file", eKeys, 10000, 150},
                            {"allocated for each listener", eListeners, 10000, 33},
                            {"allocated for each plugin", ePlugins, 100, 2000}};

[[noreturn]] void _die(const char* iWhat)
{
    std::fprintf(stderr, "%s\n", iWhat);
    std::exit(2);
}

long long _strippedLibrary()
{
    const BenchDir dir(BenchDir::eMemory);
    const std::string stripped = dir.file("core.so");
    const std::string command = IXLAL_BENCH_STRIP " -o " + stripped + " " IXLAL_BENCH_CORE;
    if (std::system(command.c_str()) != 0)
    {
        _die("The library cannot be stripped");
    }
    return static_cast<long long>(std::filesystem::file_size(stripped));
}

/// The memory that the process does not share with others.
struct Private
{
    long long all = 0;
    long long written = 0;
};

bool _isMapping(const std::string& iLine)
{
    return iLine.find(':') > iLine.find(' ');
}

/// The kernel maps pages of files around one that is used, as far as they are cached. All of them
/// are mapped here, so that the figures do not depend on the cache.
void _mapFilePages()
{
    std::ifstream file("/proc/self/maps");
    const long pageSize = ::sysconf(_SC_PAGESIZE);
    for (std::string line; std::getline(file, line);)
    {
        char* end = nullptr;
        const std::uintptr_t first = std::strtoul(line.c_str(), &end, 16);
        const std::uintptr_t last = std::strtoul(end + 1, &end, 16);
        if (end[1] == 'r' && line.find('/') != std::string::npos)
        {
            for (std::uintptr_t page = first; page < last; page += pageSize)
            {
                (void)*reinterpret_cast<const volatile char*>(page);
            }
        }
    }
}

long long _bytes(const std::string& iLine)
{
    return std::stoll(iLine.substr(iLine.find(':') + 1)) * 1024;
}

Private _private()
{
    _mapFilePages();
    std::ifstream file("/proc/self/smaps");
    Private sum;
    bool ours = true;
    for (std::string line; std::getline(file, line);)
    {
        if (_isMapping(line))
        {
            ours = !line.ends_with(kProbeFile);
        }
        else if (ours && (line.starts_with("Private_Clean:") || line.starts_with("Private_Dirty:")))
        {
            sum.all += _bytes(line);
        }
        else if (ours && line.starts_with("Anonymous:"))
        {
            sum.written += _bytes(line);
        }
    }
    return sum;
}

SizeProbe* _loadProbe()
{
    void* const library =
        ::dlopen((std::string(IXLAL_BENCH_PLUGINS) + kProbeFile).c_str(), RTLD_NOW);
    void* const probe = library ? ::dlsym(library, kSizeProbe) : nullptr;
    if (!probe)
    {
        _die(::dlerror());
    }
    return reinterpret_cast<SizeProbe*>(probe);
}

bool _check(const char* iWhat, long long iBytes, long long iLimit)
{
    std::printf("%-46s %8lld bytes, limit %8lld\n", iWhat, iBytes, iLimit);
    return iBytes < iLimit;
}
} // namespace

int main()
{
    bool held = _check("core library, stripped", _strippedLibrary(), kLibraryLimit);

    const Private bare = _private();
    SizeProbe* const probe = _loadProbe();
    (void)probe(eInterfaces, 0);
    const Private started = _private();
    held = _check("private memory of a core without plugins", started.all - bare.all, kCoreLimit) &&
           held;
    held = _check("written by a core without plugins", started.written - bare.written,
                  kWrittenLimit) &&
           held;

    for (const Sized& sized : kSized)
    {
        const long long empty = probe(sized.what, 0);
        const long long all = probe(sized.what, sized.count) - empty;
        held = _check(sized.name, (all + sized.count - 1) / sized.count, sized.limit) && held;
    }
    return held ? 0 : 1;
}
