// SPDX-License-Identifier: MIT
#include "ScratchDir.h"

#include <filesystem>
#include <system_error>

#include <stdlib.h>

namespace schedules
{
std::string ScratchDir::sRoot;
std::string ScratchDir::sPath;
std::string ScratchDir::sSpare;

ScratchDir::ScratchDir()
{
    std::error_code error;
    const std::filesystem::path memory = "/dev/shm";
    const std::filesystem::path parent = std::filesystem::is_directory(memory, error)
                                             ? memory
                                             : std::filesystem::temp_directory_path();
    std::string pattern = parent / "ixlal-schedules-XXXXXX";
    if (!mkdtemp(pattern.data()))
    {
        throw std::system_error(errno, std::generic_category(), pattern);
    }
    sRoot = pattern;
    sPath = sRoot + "/files";
    sSpare = sRoot + "/spare";
    std::filesystem::create_directory(sPath);
    std::filesystem::create_directory(sSpare);
}

ScratchDir::~ScratchDir()
{
    std::error_code error;
    std::filesystem::remove_all(sRoot, error);
}

const char* ScratchDir::path()
{
    return sPath.c_str();
}

const char* ScratchDir::spare()
{
    return sSpare.c_str();
}
} // namespace schedules
