// SPDX-License-Identifier: MIT
// BenchDir: a directory that its object creates and removes.
#ifndef IXLAL_BENCHMARKS_BENCHDIR_H
#define IXLAL_BENCHMARKS_BENCHDIR_H

#include <filesystem>
#include <string>

class BenchDir
{
public:
    enum EPlace
    {
        eMemory, ///< tmpfs
        eDisk    ///< the build directory
    };

    explicit BenchDir(EPlace iPlace);
    ~BenchDir();

    BenchDir(const BenchDir&) = delete;
    BenchDir& operator=(const BenchDir&) = delete;

    const std::filesystem::path& path() const
    {
        return fPath;
    }

    /// The path of an entry; the entry need not exist.
    std::string file(const std::string& iName) const;

    void write(const std::string& iName, const std::string& iText) const;

private:
    std::filesystem::path fPath;
};

#endif
