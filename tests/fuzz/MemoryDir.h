// SPDX-License-Identifier: MIT
// MemoryDir: a directory in memory for the files of one target.
#ifndef IXLAL_TESTS_FUZZ_MEMORYDIR_H
#define IXLAL_TESTS_FUZZ_MEMORYDIR_H

#include "portinglayer/PString.h"

#include <string>
#include <string_view>

/// Stands in /dev/shm unless TMPDIR names another place, and goes with the object.
class MemoryDir
{
public:
    MemoryDir();
    ~MemoryDir();

    MemoryDir(const MemoryDir&) = delete;
    MemoryDir& operator=(const MemoryDir&) = delete;

    const std::string& path() const
    {
        return fPath;
    }

    std::string file(const std::string& iName) const;
    PString wideFile(const std::string& iName) const;

    void write(const std::string& iName, std::string_view iBytes) const;

    /// The bytes of a file, empty when there is none.
    std::string read(const std::string& iName) const;

    bool exists(const std::string& iName) const;
    void remove(const std::string& iName) const;

private:
    std::string fPath;
};

#endif
