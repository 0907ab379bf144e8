// SPDX-License-Identifier: MIT
#include "host/PForeignExit.h"

#include "host/EHostExit.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <execinfo.h>
#include <iterator>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <utility>

namespace
{
std::atomic<const PForeignExit*> sActive{nullptr};

std::string _fileOf(const void* iAddress)
{
    Dl_info found = {};
    if (dladdr(iAddress, &found) == 0 || !found.dli_fname)
    {
        return std::string();
    }
    const std::string path = found.dli_fname;
    return path.substr(path.rfind('/') + 1);
}

/// The library that has called exit: the first one on the stack that is neither this program nor
/// the C library.
std::string _caller()
{
    const std::string own = _fileOf(reinterpret_cast<const void*>(&_fileOf));
    const std::string runtime = _fileOf(reinterpret_cast<const void*>(&_exit));
    void* frames[32];
    const int count = backtrace(frames, std::size(frames));
    for (int i = 0; i < count; ++i)
    {
        std::string file = _fileOf(frames[i]);
        if (!file.empty() && file != own && file != runtime)
        {
            return file;
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
    : fCleanUp(std::move(iCleanUp)), fProcess(getpid())
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
            _caller().c_str(), iCall);
    fCleanUp();
    static_cast<void>(std::fflush(stdout)); // what the plugin has written
    _exit(eExitByPlugin);
}

const PForeignExit* PForeignExit::active()
{
    const PForeignExit* const active = sActive;
    return active && active->fProcess == getpid() ? active : nullptr;
}
