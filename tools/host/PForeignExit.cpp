// SPDX-License-Identifier: MIT
#include "host/PForeignExit.h"

#include "host/EHostExit.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <execinfo.h>
#include <iterator>
#include <link.h>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <utility>

namespace
{
std::atomic<const PForeignExit*> sActive{nullptr};

int _addLibrary(dl_phdr_info* iLibrary, std::size_t, void* oLibraries)
{
    static_cast<std::vector<std::uintptr_t>*>(oLibraries)->push_back(iLibrary->dlpi_addr);
    return 0;
}

/// The addresses of the program and of the libraries that are loaded.
std::vector<std::uintptr_t> _libraries()
{
    std::vector<std::uintptr_t> libraries;
    dl_iterate_phdr(&_addLibrary, &libraries);
    return libraries;
}

/// The library that has called exit: the first one on the stack that was loaded later than iOwn.
std::string _caller(const std::vector<std::uintptr_t>& iOwn)
{
    void* frames[32];
    const int count = backtrace(frames, std::size(frames));
    for (int i = 0; i < count; ++i)
    {
        Dl_info found = {};
        const bool isKnown = dladdr(frames[i], &found) != 0 && found.dli_fname;
        const auto base = reinterpret_cast<std::uintptr_t>(found.dli_fbase);
        if (isKnown && std::find(iOwn.begin(), iOwn.end(), base) == iOwn.end())
        {
            const std::string path = found.dli_fname;
            return path.substr(path.rfind('/') + 1);
        }
    }
    return "a plugin";
}

extern "C" void _onExit(int iCode, void*)
{
    if (const PForeignExit* const active = PForeignExit::active())
    {
        active->end(("exit(" + std::to_string(iCode) + ")").c_str());
    }
}

extern "C" void _onQuickExit()
{
    if (const PForeignExit* const active = PForeignExit::active())
    {
        active->end("quick_exit");
    }
}
} // namespace

PForeignExit::PForeignExit(std::function<void()> iCleanUp)
    : fCleanUp(std::move(iCleanUp)), fProcess(getpid()), fLibraries(_libraries())
{
    if (on_exit(&_onExit, nullptr) != 0 || std::at_quick_exit(&_onQuickExit) != 0)
    {
        throw std::runtime_error("no memory to observe the end of the process");
    }
    sActive = this;
}

PForeignExit::~PForeignExit()
{
    sActive = nullptr;
}

void PForeignExit::end(const char* iCall) const
{
    // The end of the process must not wait for a stream that another thread has locked.
    dprintf(STDERR_FILENO,
            "ixla-host: %s has called %s, which ends the host; a plugin must return a result "
            "code instead\n",
            _caller(fLibraries).c_str(), iCall);
    fCleanUp();
    static_cast<void>(std::fflush(stdout)); // what the plugin has written
    _exit(eExitByPlugin);
}

const PForeignExit* PForeignExit::active()
{
    const PForeignExit* const active = sActive;
    return active && active->fProcess == getpid() ? active : nullptr;
}
