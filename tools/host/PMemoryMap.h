// SPDX-License-Identifier: MIT
// PMemoryMap: the mapped files of this process.
#ifndef IXLAL_TOOLS_PMEMORYMAP_H
#define IXLAL_TOOLS_PMEMORYMAP_H

#include "shared/PFileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Reads /proc/self/maps, region by region. All members are async-signal-safe.
class PMemoryMap
{
public:
    struct Region
    {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        std::uintptr_t base = 0; ///< the begin of the first region of the file
        bool isReadable = false;
        bool isExecutable = false;
        std::string_view name; ///< the file without its directory; valid until the next region

        bool contains(std::uintptr_t iAddress) const
        {
            return iAddress >= begin && iAddress < end;
        }
    };

    PMemoryMap();

    /// Returns false after the last region, and if the map cannot be read.
    bool next(Region& oRegion);

private:
    enum : std::size_t
    {
        eBlock = 1024,
        eLine = 512 ///< the beginning of a line that is longer is dropped
    };

    bool nextByte(char& oByte);
    bool nextLine();
    void parse(Region& oRegion);

    const PFileDescriptor fFile;
    std::size_t fAt = 0;
    std::size_t fFilled = 0;
    char fBlock[eBlock] = {};
    std::size_t fLength = 0;
    char fLine[eLine] = {};
    unsigned long long fInode = 0; ///< of the last region of a file
    std::uintptr_t fBase = 0;
};

#endif
