// SPDX-License-Identifier: MIT
// PLibraryImage: checks a file before the loader opens it.
#ifndef IXLAL_PLIBRARYIMAGE_H
#define IXLAL_PLIBRARYIMAGE_H

/// Checks that the loader lacks. The loader opens any file, and opening a named pipe blocks until
/// another process writes to it. It maps the segments that a library's headers name without
/// comparing them with the size of the file; in a truncated file it then reads pages that do not
/// exist, and a signal ends the process.
struct PLibraryImage
{
    /// The reason why the loader must not open the file at iPath: it is not a regular file (and is
    /// not opened here either), or it is a library of this word size that ends before the last byte
    /// of its segments. Null for complete libraries and for files that the loader itself refuses.
    /// The result is valid until the file is replaced. [any thread]
    static const char* findFlaw(const char* iPath) noexcept;
};

#endif
