// PLibraryImage: whether a library file is whole.
#ifndef IXLAL_PLIBRARYIMAGE_H
#define IXLAL_PLIBRARYIMAGE_H

/// The loader maps what the headers of a library name without comparing it with the size of the
/// file. Of a file that was cut short, it then reads pages that are not there, and the process
/// dies of it.
struct PLibraryImage
{
    /// True when the file at iPath is a library of this word size that ends before the last byte
    /// that it wants mapped. False for whole libraries, and for all that the loader refuses by
    /// itself. [any thread]
    static bool isCutShort(const char* iPath) noexcept;
};

#endif
