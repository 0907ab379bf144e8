// SPDX-License-Identifier: MIT
// PLibraryImage: whether a file may be given to the loader.
#ifndef IXLAL_PLIBRARYIMAGE_H
#define IXLAL_PLIBRARYIMAGE_H

/// What the loader does not look at before it is too late. It opens whatever stands at a path, and
/// the opening of a named pipe blocks until somebody writes to it. It maps what the headers of a
/// library name without comparing it with the size of the file; of one that was cut short it then
/// reads pages that are not there, and the process dies of it.
struct PLibraryImage
{
    /// Why the loader must not get the file at iPath: that it is not a regular file (which is then
    /// not opened here either), or that it is a library of this word size that ends before the last
    /// byte that it wants mapped. Null for whole libraries, and for all that the loader refuses by
    /// itself. The answer holds for as long as nobody replaces the file. [any thread]
    static const char* findFlaw(const char* iPath) noexcept;
};

#endif
