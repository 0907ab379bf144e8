// SPDX-License-Identifier: MIT
// MemoryDir: a directory in memory for the files of one target.
#ifndef IXLAL_TESTS_FUZZ_MEMORYDIR_H
#define IXLAL_TESTS_FUZZ_MEMORYDIR_H

#include "portinglayer/PString.h"

#include <string>
#include <string_view>

/// Created in /dev/shm, unless TMPDIR names another directory; the destructor removes it. In a
/// fuzzer the files exist in the process only; see MemoryFiles.cpp.
class MemoryDir
{
public:
    /// The begin of its name.
    static constexpr char kName[] = "/ixlal-fuzz-";

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

    /// The bytes of a file; empty if it does not exist.
    std::string read(const std::string& iName) const;

    bool exists(const std::string& iName) const;
    void remove(const std::string& iName) const;

private:
    std::string fPath;
};

#endif
