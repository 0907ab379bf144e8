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
    /// caller must not hold a lock that a constructor or destructor of a library may take.
    virtual ~PLibrary();

    PLibrary(const PLibrary&) = delete;
    PLibrary& operator=(const PLibrary&) = delete;

    /// Loads the library at iPath, never through the search path of the loader. All its symbols are
    /// bound at once and are not visible to other libraries. The caller owns oLibrary, which is
    /// unchanged on failure.
    /// Returns 0, the negated errno when the file cannot be opened, -8 when it is not a loadable
    /// library, -12 for lack of memory, -22 for a path with a zero character; getLoadError then has
    /// the reason. A named pipe, a device, or any other file that is not regular is not a loadable
    /// library and is not opened. Runs code of the library while the loader's own lock is held, as
    /// the destructor does. [any thread]
    static int load(const PLiteral& iPath, PLibrary*& oLibrary, bool iFreeOnDestroy) noexcept;

    /// Leaves the library mapped when this object is destroyed, also if it was loaded with
    /// iFreeOnDestroy.
    void keepLoaded() noexcept
    {
        fFreeOnDestroy = false;
    }

    /// The reason of the calling thread's last failed load, usually the loader's message. Returns 0
    /// or -12. [any thread]
    static int getLoadError(PString& oText) noexcept;

    /// The address of a symbol that the library itself defines, by its mangled name. Null when
    /// there is none, also if a library that it needs defines one. [any thread]
    void* getFunction(const char* iSymbol) const noexcept;

    /// The path of the library, as passed to load. [any thread]
    const PString& getName() const noexcept;

    /// Converts a bare plugin name to the file name of its library. A name that ends with ".so" is
    /// unchanged; any other gets the suffix ".so", and the prefix "lib" unless it has that already.
    /// Returns 0 or -12. [any thread]
    static int fixLibName(PString& ioName) noexcept;

private:
    PLibrary(void* iHandle, PString&& iName, bool iFreeOnDestroy);

    void* fHandle;
    PString fName;
    bool fFreeOnDestroy;
};

#endif
