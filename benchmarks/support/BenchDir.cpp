// SPDX-License-Identifier: MIT
#include "support/BenchDir.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

BenchDir::BenchDir(EPlace iPlace)
{
    fs::create_directories(IXLAL_BENCH_DISK);
    std::string name = iPlace == eMemory ? "/dev/shm/ixlal-bench-XXXXXX"
                                         : std::string(IXLAL_BENCH_DISK) + "/bench-XXXXXX";
    if (!::mkdtemp(name.data()))
    {
        throw std::system_error(errno, std::generic_category(), name);
    }
    fPath = name;
}

BenchDir::~BenchDir()
{
    std::error_code ignored; // files that cannot be removed stay
    fs::remove_all(fPath, ignored);
}

std::string BenchDir::file(const std::string& iName) const
{
    return fPath / iName;
}

void BenchDir::write(const std::string& iName, const std::string& iText) const
{
    std::ofstream stream(fPath / iName, std::ios::binary);
    stream << iText;
    stream.close();
    if (!stream)
    {
        throw std::system_error(EIO, std::generic_category(), fPath / iName);
    }
}
