// SPDX-License-Identifier: MIT
// PLibrary: shared libraries loaded while the process runs.
#ifndef IXLAL_PLIBRARY_H
#define IXLAL_PLIBRARY_H

#include "PExport.h"
#include "PString.h"

/// One loaded library. No member throws.
class IXLA_EXPORT PLibrary
{
public:
    /// Closes the library if it was loaded with iFreeOnDestroy; otherwise it stays mapped. The
    /// caller holds no lock that a constructor or destructor of some library may want.
    virtual ~PLibrary();

    PLibrary(const PLibrary&) = delete;
    PLibrary& operator=(const PLibrary&) = delete;

    /// Loads the library at iPath (never through the search path of the loader), binding all its
    /// symbols at once and offering them to nobody else. oLibrary is the caller's and is untouched
    /// on failure.
    /// Returns 0, the negated errno when the file cannot be opened, -8 when it is not a loadable
    /// library, -12 for lack of memory, -22 for a path with a zero character; the reason is then
    /// kept for getLoadError. A named pipe, a device, or any other file that is not regular is no
    /// loadable library and is not opened. Runs code of the library while the loader's own lock is
    /// held, as the destructor does. [any thread]
    static int load(const PLiteral& iPath, PLibrary*& oLibrary, bool iFreeOnDestroy) noexcept;

    /// Leaves the library mapped when this object goes, whatever it was loaded with.
    void keepLoaded() noexcept
    {
        fFreeOnDestroy = false;
    }

    /// What went wrong in the last failed load of the calling thread, mostly in the loader's words.
    /// Returns 0 or -12. [any thread]
    static int getLoadError(PString& oText) noexcept;

    /// The address of a symbol that the library itself defines, by its mangled name; null when
    /// there is none. What the libraries define that it needs does not count. [any thread]
    void* getFunction(const char* iSymbol) const noexcept;

    /// The path that it was loaded from. [any thread]
    const PString& getName() const noexcept;

    /// Turns a bare plugin name into the file name of its library: a name that ends in ".so" stays
    /// as it is; any other gets "lib" before it, unless it begins so, and ".so" behind it.
    /// Returns 0 or -12. [any thread]
    static int fixLibName(PString& ioName) noexcept;

private:
    PLibrary(void* iHandle, PString&& iName, bool iFreeOnDestroy);

    void* fHandle;
    PString fName;
    bool fFreeOnDestroy;
};

#endif
