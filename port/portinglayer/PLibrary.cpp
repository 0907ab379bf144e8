// SPDX-License-Identifier: MIT
#include "PLibrary.h"

#include "PCancelGuard.h"
#include "PDescriptor.h"
#include "PErrno.h"
#include "PLibraryImage.h"
#include "PPathBytes.h"
#include "PUtf8.h"

#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <memory>
#include <new>
#include <utility>

namespace
{
/// The reason of the calling thread's last failed load; only load sets it. The size is fixed, so
/// that storing the reason cannot fail.
thread_local char sError[1024];

int _fail(int iCode, const char* iReason) noexcept
{
    // Truncates a long reason.
    static_cast<void>(std::snprintf(sError, sizeof sError, "%s", iReason ? iReason : ""));
    return iCode;
}

/// The code for a file that the loader refused: the error of opening it, or -8.
int _refusal(const char* iPath) noexcept
{
    const PDescriptor file(iPath, O_RDONLY | O_NONBLOCK);
    return file.result() != 0 ? file.result() : PErrno::code(ENOEXEC);
}

/// Whether an address is in the library of a handle, and not in another one that it needs.
bool _isOwn(void* iHandle, const void* iAddress) noexcept
{
    Dl_info symbol = {};
    void* home = nullptr;
    link_map* own = nullptr;
    return dladdr1(iAddress, &symbol, &home, RTLD_DL_LINKMAP) != 0 &&
           dlinfo(iHandle, RTLD_DI_LINKMAP, &own) == 0 && home == own;
}

/// A prefix for a name without "/", which the loader would otherwise look up in its search path.
const char* _prefix(const PLiteral& iPath) noexcept
{
    unsigned int slash = 0;
    return iPath.chr(L'/', slash) ? "" : "./";
}
} // namespace

PLibrary::PLibrary(void* iHandle, PString&& iName, bool iFreeOnDestroy)
    : fHandle(iHandle), fName(std::move(iName)), fFreeOnDestroy(iFreeOnDestroy)
{
}

PLibrary::~PLibrary()
{
    if (fHandle && fFreeOnDestroy)
    {
        const PCancelGuard guard;
        // After a failure the library stays mapped, and a destructor cannot report that.
        dlclose(fHandle);
    }
}

int PLibrary::load(const PLiteral& iPath, PLibrary*& oLibrary, bool iFreeOnDestroy) noexcept
{
    // Covers the constructors of the library, too: a thread that ends in one leaves the loader
    // locked.
    const PCancelGuard guard;
    const PPathBytes path(iPath, _prefix(iPath));
    if (path.result() != 0)
    {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): glibc has one text per thread
        return _fail(path.result(), std::strerror(-path.result()));
    }
    if (const char* const flaw = PLibraryImage::findFlaw(path.get()))
    {
        return _fail(PErrno::code(ENOEXEC), flaw);
    }
    try
    {
        // Created first, because nothing may fail after the library has been loaded.
        std::unique_ptr<PLibrary> library(new PLibrary(nullptr, PString(iPath), iFreeOnDestroy));
        library->fHandle = dlopen(path.get(), RTLD_NOW | RTLD_LOCAL);
        if (!library->fHandle)
        {
            _fail(0, dlerror()); // NOLINT(concurrency-mt-unsafe): glibc has one per thread
            return _refusal(path.get());
        }
        oLibrary = library.release();
        return 0;
    }
    catch (const std::bad_alloc&)
    {
        return _fail(PErrno::code(ENOMEM), "out of memory");
    }
}

int PLibrary::getLoadError(PString& oText) noexcept
{
    wchar_t text[sizeof sError];
    const std::size_t len = PUtf8::decodeLine(sError, std::strlen(sError), text);
    return oText.set(text, static_cast<unsigned int>(len));
}

void* PLibrary::getFunction(const char* iSymbol) const noexcept
{
    // dlsym also searches the libraries that this one needs.
    void* const address = iSymbol ? dlsym(fHandle, iSymbol) : nullptr;
    return address && _isOwn(fHandle, address) ? address : nullptr;
}

const PString& PLibrary::getName() const noexcept
{
    return fName;
}

int PLibrary::fixLibName(PString& ioName) noexcept
{
    if (ioName.endsWith(L".so"))
    {
        return 0;
    }
    PString name;
    int res = name.reserve(ioName.len() + 6);
    if (res == 0 && !ioName.startsWith(L"lib"))
    {
        res = name.cat(L"lib");
    }
    if (res == 0)
    {
        res = name.cat(ioName);
    }
    if (res == 0)
    {
        res = name.cat(L".so");
    }
    return res == 0 ? ioName.set(name) : res;
}
